/// The memory of a clip, as the allocator counts it: a source with a media input and a source info, without text and
/// with the text that clips have.
#include "dmSetTools.h"
#include "dmSourceInput.h"

#include <malloc.h>

#include <cstdio>
#include <vector>

namespace
{

using MediaInput = DmSourceNode::MediaInput;

constexpr std::size_t limit = 1250;
constexpr std::size_t limitBesideText = 550;

/// What `make` allocates for each of many objects.
template <class Make>
std::size_t bytesOf(const Make& make)
{
    constexpr std::size_t count = 2000;
    std::vector<DmPropertySetPtr> kept;
    kept.reserve(count);
    static_cast<void>(make()); // the class's table and the shared defaults
    const std::size_t before = mallinfo2().uordblks;
    for (std::size_t i = 0; i < count; ++i)
        kept.emplace_back(make());
    return (mallinfo2().uordblks - before) / count;
}

CoSharedPtr<DmSourceInfo> tapeInfo()
{
    auto info = DmSourceInfo::create();
    static_cast<void>(info->setSourceType(DmSourceInfo::Files));
    static_cast<void>(info->setName(L"A003_C012_0412XK"));
    static_cast<void>(info->setReelName(L"A003"));
    static_cast<void>(info->setPath(L"/projects/harbour/rushes/day_04/A003_C012_0412XK.mov"));
    static_cast<void>(info->setSourceUID(L"060a2b34-0101-0105-0101-0f12-13000000"));
    return info;
}

CoSharedPtr<DmSourceNode> clip(const CoSharedPtr<DmSourceInfo>& info, const wchar_t* name, const wchar_t* fcm)
{
    const auto input = MediaInput::create(1250, 90000, info, fcm, DM_MEDIA_VIDEO, true);
    static_cast<void>(input->setName(name));
    auto source = DmSourceNode::create(input, 100, 50, 12, false, false);
    static_cast<void>(source->setName(name));
    return source;
}

void print(const char* name, std::size_t bytes)
{
    std::printf("%s: %zu bytes\n", name, bytes);
}

void printRatio(const char* name, std::size_t bytes, std::size_t most)
{
    std::printf("%s, %zu bytes of %zu: ratio %.2f (limit 1.00)\n", name, bytes, most,
                static_cast<double>(bytes) / static_cast<double>(most));
}

/// The texts that a set and what it holds keep of their own, four bytes a character.
class TextSize final : public DmPropertyWalker
{
public:
    DmWalkStep property(const DmPropertyPath& path) override
    {
        const DmPropertyDef& def = path.def();
        const bool isShared = def._rare && !path.owner->isPropertyRelevant(path.index);
        if (def._type == DM_STRING && !isShared)
            if (const auto& text = *static_cast<const DmString*>(path.field()); !text.isKept())
                bytes += (text.length() + 1) * sizeof(wchar_t);
        return DmWalkStep::Into;
    }
    DmWalkStep held(const DmPropertyPath&, const DmPropertySet& set) override
    {
        return set.isSharedDefault() ? DmWalkStep::Over : DmWalkStep::Into;
    }

    std::size_t bytes = 0;
};

std::size_t textOf(const DmPropertySet& set)
{
    TextSize size;
    static_cast<void>(dmWalk(set, size));
    return size.bytes;
}

} // namespace

int main()
{
    print("source node", bytesOf([] { return DmSourceNode::create(); }));
    print("media input", bytesOf([] { return MediaInput::create(); }));
    print("source info", bytesOf([] { return DmSourceInfo::create(); }));
    print("source with a media input and a source info",
          bytesOf([info = DmSourceInfo::create()] { return clip(info, L"untitled", L"???"); }));
    const auto named = [info = tapeInfo()] { return clip(info, L"A003_C012_0412XK", L"25 fps"); };
    const std::size_t bytes = bytesOf(named);
    printRatio("the same with names, a path and an id", bytes, limit);
    printRatio("the same beside its text", bytes - textOf(*named()), limitBesideText);
}
