/// Work on whole timelines: validation, look-ups, copies and comparison, against the walk or the objects beneath them.
#include "zrAllocations.h"
#include "zrRatio.h"

#include "dmCutNode.h"
#include "dmPlayListIterator.h"
#include "dmRecordSearch.h"
#include "dmSegmentIndex.h"
#include "dmSourceInput.h"
#include "dmTrackBuilder.h"
#include "dmTreeIterator.h"
#include "dmTreeTool.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace
{

constexpr double clipLength = 25;

CoSharedPtr<DmSourceNode::MediaInput> someMedia()
{
    return DmSourceNode::MediaInput::create(100000, 90000, nullptr, L"25 fps", DM_MEDIA_VIDEO, true);
}

DmString idOf(int clip)
{
    return DmString((L"060a2b34-0101-0105-0101-" + std::to_wstring(1000000000 + clip)).c_str());
}

/// One track and one layer of clips with cuts between them; ten clips in a row play the same media.
CoSharedPtr<DmCompositionNode> makeTimeline(int elements)
{
    auto composition = DmCompositionNode::create(L"timeline", L"25 fps", nullptr);
    DmTrackBuilder track(1, DM_MEDIA_VIDEO);
    CoSharedPtr<DmSourceNode::MediaInput> media;
    for (int clip = 0; clip < elements / 2; ++clip)
    {
        if (clip % 10 == 0)
            media = someMedia();
        const auto source = DmSourceNode::create(media, 0, clipLength, clip % 100, false, false);
        static_cast<void>(source->setSegmentId(idOf(clip)));
        static_cast<void>(track.append(source));
    }
    static_cast<void>(track.addTo(*composition));
    static_cast<void>(composition->setOrigin(DM_ORIGIN_STRICT));
    return composition;
}

void walk(const CoSharedPtr<DmCompositionNode>& composition)
{
    DmTreeVisitor visitor("empty");
    benchmark::DoNotOptimize(DmPreIt(composition).apply(visitor));
}

void validate(const CoSharedPtr<DmCompositionNode>& composition)
{
    if (!DmTreeTool::isValidTree(composition))
        std::abort(); // it would have stopped before the end
}

const DmLayerNode& layerOf(const CoSharedPtr<DmCompositionNode>& composition)
{
    return static_cast<const DmLayerNode&>(*composition->getChild(0)->getChild(0));
}

/// What the elements of such a timeline are made of, without contents.
std::vector<DmPropertySetPtr> makeBare(int elements)
{
    std::vector<DmPropertySetPtr> made;
    for (int clip = 0; clip < elements / 2; ++clip)
    {
        if (clip % 10 == 0)
            made.emplace_back(DmSourceNode::MediaInput::create());
        made.emplace_back(DmSourceNode::create());
        made.emplace_back(DmCutNode::create());
    }
    return made;
}

/// How many times are compared to find one in a layer, at worst.
int comparisonsIn(const DmLayerNode& layer)
{
    int worst = 0;
    for (int time = 0; time < layer.getLayerLength(); time += 997)
    {
        int comparisons = 0;
        const auto recIn = [&](int position) -> std::optional<double>
        {
            const DmSegmentNode* const segment = layer.getChild(position)->asSegment();
            comparisons += segment ? 1 : 0;
            return segment ? std::optional<double>(segment->getRecIn()) : std::nullopt;
        };
        benchmark::DoNotOptimize(dmLastBegun(layer.getNbChildren(), time, false, recIn));
        worst = std::max(worst, comparisons);
    }
    return worst;
}

void measureValidation(const CoSharedPtr<DmCompositionNode>& small, const CoSharedPtr<DmCompositionNode>& large)
{
    const auto perWalk = [](const CoSharedPtr<DmCompositionNode>& timeline, int rounds)
    { return zrRatio::of([&] { validate(timeline); }, [&] { walk(timeline); }, rounds); };
    // In turns: the two share what the machine is busy with.
    constexpr int rounds = 21;
    std::vector<double> ofSmall;
    std::vector<double> ofLarge;
    std::vector<double> growths;
    for (int i = 0; i < rounds; ++i)
    {
        ofSmall.push_back(perWalk(small, 5));
        ofLarge.push_back(perWalk(large, 1));
        growths.push_back(ofLarge.back() / ofSmall.back());
    }
    zrRatio::print("validate 100 000 elements / an empty visitor's walk", 8.0, zrRatio::median(ofSmall));
    zrRatio::print("validate 1 000 000 elements / an empty visitor's walk", 8.0, zrRatio::median(ofLarge));
    // The walk is linear, and pays for memory that no cache holds as validation does.
    zrRatio::print("growth of validation with ten times the elements / of the walk", std::log(1e6) / std::log(1e5),
                   zrRatio::median(growths));
}

void measureLookups(const CoSharedPtr<DmCompositionNode>& timeline)
{
    const DmLayerNode& layer = layerOf(timeline);
    std::printf("find an element of %d by its record time: comparisons %d (limit 40)\n", layer.getNbChildren(),
                comparisonsIn(layer));
    DmPlayListIterator it(timeline, 0);
    DmSegmentIndex index(timeline);
    benchmark::DoNotOptimize(index.find(idOf(0)));
    const DmString id = idOf(12345);
    zrAllocations::print("find an element by its record time", 0,
                         [&] { benchmark::DoNotOptimize(DmTreeTool::getElementAt(&layer, 1234567)); });
    zrAllocations::print("find the elements of a range", 0,
                         [&] { benchmark::DoNotOptimize(DmTreeTool::getElementsIn(&layer, 1000, 1e6)); });
    zrAllocations::print("seek in a play list", 0, [&] { benchmark::DoNotOptimize(it.seek(1234567)); });
    zrAllocations::print("find a segment by its id", 0, [&] { benchmark::DoNotOptimize(index.find(id)); });
    zrRatio::print(
        "index a timeline by id / validate it", 1.0,
        [&]
        {
            index.refresh();
            benchmark::DoNotOptimize(index.find(id));
        },
        [&] { validate(timeline); }, 11);
}

void measureCopies(const CoSharedPtr<DmCompositionNode>& timeline, int elements)
{
    const auto clone = [&] { benchmark::DoNotOptimize(DmTreeTool::deepClone(timeline)); };
    zrRatio::print(
        "deep clone / the same objects made bare", 3.0, clone,
        [elements] { benchmark::DoNotOptimize(makeBare(elements)); }, 21);
    const CoSharedPtr<DmCompositionNode> equal = DmTreeTool::deepClone(timeline);
    zrRatio::print(
        "compare two equal trees / deep clone", 1.0,
        [&] { benchmark::DoNotOptimize(DmTreeTool::areEqual(timeline.get(), equal.get())); }, clone, 21);
}

} // namespace

int main()
{
    const CoSharedPtr<DmCompositionNode> small = makeTimeline(100000);
    measureCopies(small, 100000);
    const CoSharedPtr<DmCompositionNode> large = makeTimeline(1000000);
    measureValidation(small, large);
    measureLookups(large);
    return 0;
}
