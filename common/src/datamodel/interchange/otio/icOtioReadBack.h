/// Whether reading what is written for a node gives just that node: then nothing of it has to stand under our own key,
/// and the object can be written as it is told. So it is with nearly all nodes; a "no" is always safe, and leads to
/// reading the object back (icOtioKeep.h).
///
/// For sources of this library only.
#pragma once

#include "icOtioKeep.h"

#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace interchange::otio
{

class ReadBack
{
public:
    explicit ReadBack(Items& items)
        : _items(items)
    {
    }

    /// `length`: what is written to play. `difference`: the leftover of the node, null for none. The id is not looked
    /// at.
    bool isSame(const DmSegmentNode& node, Trim trim, double length, const Value& difference);
    bool isSame(const DmTrxEffectNode& node, const Value& difference);

private:
    /// As readers make them, of one media type.
    struct Fresh
    {
        CoSharedPtr<DmSourceNode> clip;
        CoSharedPtr<DmSegmentNode> gap;
        CoSharedPtr<DmCueMark> mark;
        CoSharedPtr<DmTrxEffectNode> mix;
    };

    const Fresh& fresh(eDmTreeMediaType mediaType);
    bool isSource(const DmSourceNode& node, const DmSourceNode& fresh, Trim trim, double length);
    bool isInfo(const DmSourceInfo& info, const DmSourceInfo& fresh);
    bool areMarks(const DmSegmentNode& node, const DmCueMark& fresh, double base);
    bool isBlob(const DmTreeNode& node, const Value& difference) const;
    bool comesBack(const DmString& text);
    /// Times at the rate of the composition come back as they are.
    bool isExact() const { return _items.isOwnRate(_items.rate()); }

    Items& _items;
    std::array<Fresh, 3> _fresh;
    std::string _text;
};

/// Hands on what it hears, and tells beside it what a leftover adds.
class Adder final : public Listener
{
public:
    Adder(Listener& to, const Value& difference)
        : _to(to)
        , _next(&difference)
    {
    }

    void beginObject() override;
    void endObject() override;
    void beginList() override;
    void endList() override;
    void name(std::string_view name) override;
    void time(std::string_view name, double rate, double frames) override;
    void range(std::string_view name, double rate, double start, double length) override;
    void text(std::string_view text) override { _to.text(text); }
    void number(double number) override { _to.number(number); }
    void integer(std::int64_t number) override { _to.integer(number); }
    void integer(std::uint64_t number) override { _to.integer(number); }
    void flag(bool flag) override { _to.flag(flag); }
    void nothing() override { _to.nothing(); }

private:
    struct Level
    {
        const Value* difference; ///< null for none
        bool isMetadata;
        std::vector<std::string> told; ///< names, where there is a difference
    };

    /// The member of that name is told.
    void take(std::string_view name);
    /// Whether the file says more inside the member of that name.
    bool hasInside(std::string_view name) const;

    Listener& _to;
    const Value* _next; ///< of the object that may come
    bool _isMetadata = false;
    std::vector<Level> _levels;
};

} // namespace interchange::otio
