// The picture of a long cut: what its data take, and, for a browser's frame times, the page itself.
//
//     viewBench [PAGE.html] [SEGMENTS]
//     node view/page/test/frames.mjs PAGE.html
#include "vwPageParts.h"
#include "vwSceneBuild.h"

#include "zrDocuments.h"

#include "dmTrackNode.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>

namespace
{

constexpr int tracks = 20;

/// Every clip has a name, an id and a file of its own; a hundred reels.
CoSharedPtr<DmSourceNode> clip(int number, double recIn, double length)
{
    using zrDocuments::must;
    using zrDocuments::numbered;
    const CoSharedPtr<DmSourceInfo> info = DmSourceInfo::create();
    must(info->setReelName(numbered(L"A%03dR2EC", number % 100)));
    must(info->setPath(numbered(L"/media/summer/day12/A%05d.mxf", number)));
    const DmString fcm = dmFcmText(DM::FCM_25);
    const auto input = DmSourceNode::MediaInput::create(length + 48, 90000.0 + number, info, fcm, DM_MEDIA_VIDEO, true);
    must(input->setFcm(fcm));
    CoSharedPtr<DmSourceNode> source = DmSourceNode::create(input, recIn, length, 24.0, false, false);
    must(source->setName(numbered(L"A%05d take 3", number)));
    must(source->setSegmentId(numbered(L"5d41402a-bc4b-4a76-b971-%012x", number)));
    return source;
}

CoSharedPtr<DmRoot> longCut(int segments)
{
    CoSharedPtr<DmRoot> root = DmRoot::create();
    const auto edit = DmCompositionNode::create(L"Summer", dmFcmText(DM::FCM_25), DmFrameResolution::create());
    root->addChild(edit);
    for (int t = 0; t < tracks; ++t)
    {
        const CoSharedPtr<DmTrackNode> track = DmTrackNode::create(t + 1, DM_MEDIA_VIDEO);
        const CoSharedPtr<DmLayerNode> layer = DmLayerNode::create(0, DM_MEDIA_VIDEO, 0, false);
        double time = 0;
        for (int i = t; i < segments; i += tracks)
        {
            if (time > 0)
                layer->addChild(DmCutNode::create(DM_MEDIA_VIDEO, time));
            const double length = 30 + i * 37 % 90;
            layer->addChild(clip(i, time, length));
            time += length;
        }
        track->addChild(layer);
        edit->addChild(track);
    }
    return root;
}

} // namespace

int main(int argc, char** argv)
{
    const int segments = argc > 2 ? std::atoi(argv[2]) : 100'000;
    const CoSharedPtr<DmRoot> root = longCut(segments);
    const auto start = std::chrono::steady_clock::now();
    const view::Scene scene = view::sceneOf(*root, "Summer");
    const std::string page = view::pageOf(scene, {});
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    std::size_t texts = 0;
    for (std::size_t i = 0; i < scene.texts.size(); ++i)
        texts += scene.texts[static_cast<view::TextId>(i)].size() + 1;
    std::printf("picture of %d segments: %.2f s, %.1f bytes a segment beside its texts (limit 60)\n", segments,
                took.count(), static_cast<double>(page.size() - texts) / segments);
    const view::PageParts* const parts = view::pageParts();
    if (argc > 1 && parts)
        std::ofstream(argv[1], std::ios::binary) << view::pageOf(scene, *parts);
    return 0;
}
