/// JSON as it is written to a file, indented, in pieces.
///
/// For sources of this library only.
#pragma once

#include "icFormat.h"
#include "icOtioListener.h"

#include <string>
#include <string_view>
#include <vector>

namespace interchange::otio
{

class JsonText final : public Listener
{
public:
    explicit JsonText(Sink& sink);

    void beginObject() override { open('{'); }
    void endObject() override { close('}'); }
    void beginList() override { open('['); }
    void endList() override { close(']'); }
    void name(std::string_view name) override;
    void text(std::string_view text) override;
    void number(double number) override;
    void integer(std::int64_t number) override;
    void integer(std::uint64_t number) override;
    void flag(bool flag) override { raw(flag ? "true" : "false"); }
    void nothing() override { raw("null"); }

    /// Ends the text. False where not all of it was taken.
    [[nodiscard]] bool finish();

private:
    static constexpr std::size_t pieceSize = 1 << 16;

    struct Level
    {
        bool isList;
        bool isEmpty = true;
    };

    void open(char bracket);
    void close(char bracket);
    /// What stands in front of a value, or of a name.
    void begin();
    void beginLine();
    void raw(std::string_view text);
    void quote(std::string_view text);
    void flush();

    Sink& _sink;
    std::string _held;
    std::vector<Level> _levels;
    bool _isNamed = false; ///< the value of a member comes next
    bool _isGood = true;
};

} // namespace interchange::otio
