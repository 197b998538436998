/// Whether a file's object is what is written for its node: most are, but for members that only the file has. That is
/// told here member by member, without making the other object; for what differs in another way there is differenceOf.
///
/// For sources of this library only.
#pragma once

#include "icOtioListener.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace interchange::otio
{

/// Whether a file's value is that time and no more.
bool isTimeOf(const Value& value, double rate, double frames);

class Matcher final : public Listener
{
public:
    /// `leavesChildren`: as of differenceOf.
    Matcher(const Value& theirs, bool leavesChildren)
        : _theirs(theirs)
        , _leavesChildren(leavesChildren)
    {
    }

    /// The file says all that was told here, and no more but members of its own.
    bool isMatch() const { return !_hasFailed; }
    /// What it says beyond that, as differenceOf has it; null for nothing.
    Value difference(Allocator& allocator) const;

    void beginObject() override;
    void endObject() override;
    void beginList() override;
    void endList() override;
    void name(std::string_view name) override;
    void text(std::string_view text) override;
    void number(double number) override;
    void integer(std::int64_t number) override { this->number(static_cast<double>(number)); }
    void integer(std::uint64_t number) override { this->number(static_cast<double>(number)); }
    void flag(bool flag) override;
    void nothing() override;
    void time(std::string_view name, double rate, double frames) override;

private:
    struct Level
    {
        const Value* value = nullptr;
        const Value* name = nullptr; ///< under which it stands; null for the object itself
        bool isExact = false;        ///< in a list, where the file may have nothing more
        json::SizeType next = 0;     ///< where the next member or element is looked for
        std::uint64_t told = 0;      ///< of the members
    };
    struct Addition
    {
        std::vector<const Value*> path; ///< names
        const Value* name;
        const Value* value;
    };
    static constexpr json::SizeType most = 64; ///< members of an object
    static constexpr std::size_t deepest = 16; ///< of what is told

    /// The value in the file that is told next; null where there is none.
    const Value* take();
    void open(bool isObject);
    /// Whether the member of that name is the children that are left to other nodes.
    bool leaves(const Value* name) const;
    void fail() { _hasFailed = true; }
    Level& innermost() { return _levels[_depth - 1]; }
    void addRest(const Level& level);

    const Value& _theirs;
    bool _leavesChildren;
    bool _hasFailed = false;
    const Value* _at = nullptr;
    const Value* _name = nullptr;
    std::array<Level, deepest> _levels; ///< those that are open, the innermost last
    std::size_t _depth = 0;
    std::vector<Addition> _additions;
};

} // namespace interchange::otio
