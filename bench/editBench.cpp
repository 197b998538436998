/// Edits of long cuts, each with its publication, against copying the list of the layer's children; what a long history
/// holds, and what undo allocates; and walking a published timeline against walking the tree that it was.
#include "zrAllocations.h"
#include "zrDocuments.h"
#include "zrRatio.h"

#include <malloc.h>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <random>
#include <string>
#include <vector>

namespace
{

double allocated()
{
    return static_cast<double>(mallinfo2().uordblks);
}

void edits(int elements)
{
    CoSharedPtr<DmTreeNode> root = zrDocuments::make(elements / 2);
    std::vector<CoSharedPtr<DmPropertySet>> children;
    const DmTreeNode* const layer = root->getChild(0)->getChild(0)->getChild(0);
    for (int i = 0; i < layer->getNbChildren(); ++i)
        children.emplace_back(layer->getChild(i));
    const auto copyList = [&]
    {
        auto copy = children;
        benchmark::DoNotOptimize(copy.data());
    };
    const DmTimeline start = DmTimeline::takeOver(CoSharedPtr<DmTreeNode>(DmTreeTool::deepClone(root)));
    const auto edit = [&](auto operation)
    {
        return [&start, operation]
        {
            DmEdit session(start);
            if (const DmStatus status = operation(session); !status.ok())
                std::printf("%s\n", dmUtf8(status.info()).c_str());
            benchmark::DoNotOptimize(session.timeline());
        };
    };
    const std::string of = " of " + std::to_string(elements) + " elements / copying the list of children";
    const int middle = elements / 4 * 2;
    zrRatio::print(("a trim" + of).c_str(), 0.05,
                   edit(
                       [&](DmEdit& e) {
                           return e.trim({0, 0, middle}, DM_TAIL, -1);
                       }),
                   copyList, 21);
    zrRatio::print(("a ripple at the front" + of).c_str(), 0.05,
                   edit(
                       [](DmEdit& e) {
                           return e.rippleTrim({0, 0, 0}, DM_TAIL, -1);
                       }),
                   copyList, 21);
}

void history(int elements)
{
    const double empty = allocated();
    CoSharedPtr<DmTreeNode> root = zrDocuments::make(elements / 2);
    const double document = allocated() - empty;
    DmHistory steps(DmTimeline::takeOver(std::move(root)));
    const double start = allocated();
    std::mt19937 random(1);
    for (int i = 0; i < 1000; ++i)
    {
        DmEdit edit(steps.current());
        const DmElementPlace place{0, 0, static_cast<int>(random() % unsigned(elements / 2)) * 2};
        const DmStatus status =
            i % 2 == 0 ? edit.rippleTrim(place, DM_TAIL, i % 4 == 0 ? -1 : 1) : edit.slip(place, i % 4 == 1 ? -1 : 1);
        if (status.ok())
            steps.add(L"step", edit);
    }
    std::printf("a history of %zu steps on %d elements / the document: ratio %.2f (limit 0.20)\n", steps.count(),
                elements, (allocated() - start) / document);
}

/// How often an undo, and the redo behind it, allocate, on a short cut and on a long one.
void undoing()
{
    long counts[2] = {};
    for (const int elements : {1'000, 100'000})
    {
        DmHistory steps(DmTimeline::takeOver(zrDocuments::make(elements / 2)));
        DmEdit edit(steps.current());
        if (edit.rippleTrim({0, 0, 0}, DM_TAIL, -1).ok())
            steps.add(L"step", edit);
        counts[elements > 1'000] = zrAllocations::of([&] { steps.undo() && steps.redo(); });
    }
    std::printf("undo and redo on 100000 elements: allocations %ld (limit %ld)\n", counts[1], counts[0]);
}

void walking(int elements)
{
    const CoSharedPtr<DmRoot> root = zrDocuments::make(elements / 2);
    DmEdit edit(DmTimeline::publish(root));
    if (const DmStatus status = edit.rippleTrim({0, 0, elements / 4 * 2}, DM_TAIL, -1); !status.ok())
        std::printf("%s\n", dmUtf8(status.info()).c_str());
    const DmTimeline timeline = edit.timeline();
    const auto walk = [](const CoSharedPtr<DmCompositionNode>& composition)
    {
        double sum = 0.0;
        const DmTreeNode* const layer = composition->getChild(0)->getChild(0);
        for (int i = 0; i < layer->getNbChildren(); ++i)
            if (const DmSegmentNode* const segment = layer->getChild(i)->asSegment())
                sum += segment->getRecIn();
        benchmark::DoNotOptimize(sum);
    };
    const auto plain = CoSharedPtr<DmCompositionNode>(static_cast<DmCompositionNode*>(root->getChild(0)));
    const auto unedited = DmTimeline::publish(root).composition();
    zrRatio::print(
        "walking a published timeline / walking the tree", 1.2, [&] { walk(unedited); }, [&] { walk(plain); }, 31);
    const auto rippled = timeline.composition();
    walk(rippled); // what a ripple moved is made once a version
    zrRatio::print(
        "walking one that was rippled / walking the tree", 1.2, [&] { walk(rippled); }, [&] { walk(plain); }, 31);
    zrRatio::print(
        "asking a rippled one for an element / copying the list of children", 0.05,
        [&]
        {
            DmEdit more(timeline);
            static_cast<void>(more.rippleTrim({0, 0, 0}, DM_TAIL, -1));
            benchmark::DoNotOptimize(more.timeline().composition()->getChild(0)->getChild(0)->getChild(elements / 2));
        },
        [&]
        {
            std::vector<DmPropertySetPtr> copy;
            for (DmTreeNode* const child : static_cast<DmLayerNode*>(plain->getChild(0)->getChild(0))->getChildren())
                copy.emplace_back(child);
            benchmark::DoNotOptimize(copy.data());
        },
        31);
}

} // namespace

int main()
{
    edits(100'000);
    edits(1'000'000);
    history(100'000);
    undoing();
    walking(100'000);
    return 0;
}
