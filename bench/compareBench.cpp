/// What it costs to compare two versions of a long cut: of values that share structure against one deep comparison, of
/// trees that share nothing against one deep copy; how that grows, and what it holds meanwhile. What patches and merges
/// cost beside that, which no limit is promised for but that they grow as it does.
#include "zrDocuments.h"
#include "zrRatio.h"

#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>

namespace
{

std::atomic<long long> held{0};
std::atomic<long long> most{0};

} // namespace

// Not inlined: where g++ sees free() beside the library's own new (std::nothrow), it takes the two for a mismatch.

[[gnu::noinline]] void* operator new(std::size_t size)
{
    void* const memory = std::malloc(size ? size : 1);
    if (!memory)
        throw std::bad_alloc();
    const long long now = held += static_cast<long long>(malloc_usable_size(memory));
    if (now > most)
        most = now;
    return memory;
}
[[gnu::noinline]] void operator delete(void* memory) noexcept
{
    held -= static_cast<long long>(malloc_usable_size(memory));
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t /*size*/) noexcept
{
    operator delete(memory);
}

namespace
{

using Tree = CoSharedPtr<DmRoot>;

void need(const DmStatus& status)
{
    if (status.ok())
        return;
    std::fprintf(stderr, "%s\n", dmUtf8(status.info()).c_str());
    std::exit(1);
}

Tree copyOf(const Tree& root)
{
    return DM::dynamicPointerCast<DmRoot>(CoSharedPtr<DmTreeNode>(DmTreeTool::deepClone(root)));
}

/// Which kinds it found, so that nobody measures a comparison that found nothing.
int changesBetween(const Tree& before, const Tree& after)
{
    return static_cast<int>(DmDiff::between(before.get(), after.get()).changes().size());
}

/// Ten edits far apart, the first of which ripples all behind it.
void sharing(int segments)
{
    const Tree tree = zrDocuments::make(segments);
    const Tree other = copyOf(tree);
    const DmTimeline before = DmTimeline::publish(tree);
    DmEdit edit(before);
    need(edit.rippleTrim({0, 0, 0}, DM_TAIL, -3));
    for (int i = 1; i < 10; ++i)
        need(edit.slip({0, 0, segments / 10 * i * 2}, 2));
    const DmTimeline after = edit.timeline();
    const DmDiff diff = DmDiff::between(before, after);
    std::printf("%d segments, ten edited: %s\n", segments, diff.stat().c_str());
    const double ratio = zrRatio::of(
        [&]
        {
            if (DmDiff::between(before, after).isSame())
                std::abort();
        },
        [&]
        {
            if (bool equal = false; dmDeepEqual(*tree, *other, equal) != DM_NO_ERROR || !equal)
                std::abort();
        },
        9);
    std::printf("diff of values that share / comparing two trees: ratio %.4f (limit 0.01)\n", ratio);
}

/// As from files: one in a hundred segments is another.
void reading(int segments)
{
    const Tree before = zrDocuments::make(segments);
    const Tree after = copyOf(before);
    DmTreeNode* const layer = after->getChild(0)->getChild(0)->getChild(0);
    for (int i = 0; i < segments; i += 100)
    {
        DmSegmentNode* const segment = layer->getChild(2 * i)->asSegment();
        if (i % 200 == 0)
            zrDocuments::must(segment->setName(L"Beach"));
        else
            zrDocuments::must(segment->setRecLength(segment->getRecLength() - 1.0));
    }
    std::printf("one in a hundred of %d changed: %d changes\n", segments, changesBetween(before, after));
    zrRatio::print(
        "diff of trees that share nothing / a deep copy", 3.0, [&] { changesBetween(before, after); },
        [&] { copyOf(before); }, 3);
    const double start = static_cast<double>(mallinfo2().uordblks);
    const Tree copy = copyOf(before);
    const double tree = static_cast<double>(mallinfo2().uordblks) - start;
    const long long heldBefore = held;
    most = heldBefore;
    changesBetween(before, after);
    zrRatio::print("memory of that diff / one tree", 0.3, static_cast<double>(most - heldBefore) / tree);
}

/// What one editor did to every hundredth segment, from `first` on: half of it trims, half of it names.
Tree editedBy(const Tree& base, int first, const wchar_t* name)
{
    const Tree copy = copyOf(base);
    DmTreeNode* const layer = copy->getChild(0)->getChild(0)->getChild(0);
    for (int i = first; 2 * i < layer->getNbChildren(); i += 100)
    {
        DmSegmentNode* const segment = layer->getChild(2 * i)->asSegment();
        zrDocuments::must(i % 200 < 100 ? segment->setName(name) : segment->setComment(name));
    }
    return copy;
}

/// Two editors, who changed one segment in a hundred each, and never the same.
void puttingTogether(int segments)
{
    const Tree base = zrDocuments::make(segments);
    const Tree ours = editedBy(base, 10, L"Beach");
    const Tree theirs = editedBy(base, 60, L"Coast");
    const auto merge = [&]
    {
        const DmMerge merged = DmMerge::merge(base.get(), *ours, *theirs);
        if (!merged.result() || !merged.conflicts().empty())
            std::abort();
    };
    DmPatch patch;
    need(DmPatch::make(*base, *ours, patch));
    const auto apply = [&]
    {
        Tree result;
        DmPatchReport report;
        need(patch.apply(*base, result, report));
    };
    const auto copy = [&] { copyOf(base); };
    std::printf("merge of %d, one in a hundred changed by each / a deep copy: ratio %.1f\n", segments,
                zrRatio::of(merge, copy, 3));
    std::printf("making that patch / a deep copy: ratio %.1f\n", zrRatio::of(
                                                                     [&]
                                                                     {
                                                                         DmPatch made;
                                                                         need(DmPatch::make(*base, *ours, made));
                                                                     },
                                                                     copy, 3));
    std::printf("patching / a deep copy: ratio %.1f\n", zrRatio::of(apply, copy, 3));
}

/// A cut of `segments` pieces, one clip again and again or each of its own range; forwards or backwards.
Tree plain(int segments, bool oneClip, bool backwards)
{
    const Tree root = DmRoot::create();
    const auto composition = DmCompositionNode::create(L"cut", dmFcmText(DM::FCM_25), nullptr);
    DmLayerBuilder builder(0, DM_MEDIA_VIDEO);
    for (int i = 0; i < segments; ++i)
    {
        const int number = backwards ? segments - 1 - i : i;
        const auto input = DmSourceNode::MediaInput::create(1e6, 0.0, DmSourceInfo::create(), dmFcmText(DM::FCM_25),
                                                            DM_MEDIA_VIDEO, true);
        zrDocuments::must(input->setName(L"A001"));
        const auto shot = DmSourceNode::create(input, 0.0, 10.0, oneClip ? 0.0 : 20.0 * number, false, false);
        zrDocuments::must(builder.append(shot));
    }
    const auto track = DmTrackNode::create(1, DM_MEDIA_VIDEO);
    track->addChild(builder.finish());
    composition->addChild(track);
    root->addChild(composition);
    return root;
}

void growth()
{
    // Four times as many, with their logarithm.
    const double limit = 4.0 * 16.61 / 14.61;
    constexpr int rounds = 3; // the first of which finds no memory that another has left
    const struct
    {
        const char* name;
        bool oneClip;
        bool backwards;
    } rows[] = {{"a cut sorted backwards", false, true}, {"one clip used each time", true, false}};
    for (const auto& row : rows)
    {
        const auto pairOf = [&](int segments)
        { return std::pair(plain(segments, row.oneClip, false), plain(segments, row.oneClip, row.backwards)); };
        const auto [small, smallAfter] = pairOf(25'000);
        const auto [large, largeAfter] = pairOf(100'000);
        const std::string name = std::string("diff of 100000 / of 25000: ") + row.name;
        zrRatio::print(
            name.c_str(), limit, [one = large, other = largeAfter] { changesBetween(one, other); },
            [one = small, other = smallAfter] { changesBetween(one, other); }, rounds);
        const auto patched = [](const Tree& one, const Tree& other)
        {
            DmPatch patch;
            Tree result;
            DmPatchReport report;
            need(DmPatch::make(*one, *other, patch));
            need(patch.apply(*one, result, report));
        };
        const auto merged = [](const Tree& one, const Tree& other)
        {
            const Tree third = editedBy(one, 50, L"Coast");
            if (!DmMerge::merge(one.get(), *third, *other).result())
                std::abort();
        };
        zrRatio::print((std::string("patch of 100000 / of 25000: ") + row.name).c_str(), limit,
                       [&, one = large, other = largeAfter] { patched(one, other); },
                       [&, one = small, other = smallAfter] { patched(one, other); }, rounds);
        zrRatio::print((std::string("merge of 100000 / of 25000: ") + row.name).c_str(), limit,
                       [&, one = large, other = largeAfter] { merged(one, other); },
                       [&, one = small, other = smallAfter] { merged(one, other); }, rounds);
    }
}

} // namespace

int main()
{
    sharing(100'000);
    reading(100'000);
    puttingTogether(10'000);
    growth();
    return 0;
}
