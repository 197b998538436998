#include "zrRuleCases.h"

#include "dmADissolveSettings.h"
#include "dmReelNode.h"
#include "dmVDissolveSettings.h"

#include <limits>

namespace
{

using namespace zrRules;
using Composition = DmCompositionNode;

/// Puts a container with a composition of its own behind the first shot.
CoSharedPtr<DmCompositionNode> nest(Composition& composition, double length)
{
    const auto inner = DmCompositionNode::create(L"inner", L"25 fps", nullptr);
    auto& layer = layerOf(composition);
    const auto& last = dynamic_cast<DmSegmentNode&>(*layer.getChild(layer.getNbChildren() - 1));
    const double at = last.getRecOut();
    layer.addChild(DmCutNode::create(DM_MEDIA_VIDEO, at));
    layer.addChild(DmContainerNode::create(inner, DM_MEDIA_VIDEO, at, length));
    static_cast<void>(layer.setLayerLength(at + length));
    static_cast<void>(composition.setCompLength(at + length));
    return inner;
}

const RuleCase cases[] = {
    {"DM102",
     {"AAAA|BBBB", "",
      [](Composition& it) { static_cast<void>(at<DmSegmentNode>(it, 2).setMediaType(DM_MEDIA_AUDIO)); }},
     {"B V1 00:00:00:04: a segment of media type \"audio\" stands in \"video\""},
     {"AAAA|BBBB\naaaa|bbbb"}},
    {"DM102",
     {"AAAA", "",
      [](Composition& it) { static_cast<void>(at<DmSegmentNode>(it, 0).addEffect(DmADissolveSettings::create())); }},
     {"A V1 00:00:00:00: an effect of media type \"audio\" stands in \"video\""},
     {"AAAA", "",
      [](Composition& it) { static_cast<void>(at<DmSegmentNode>(it, 0).addEffect(DmVDissolveSettings::create())); }},
     Mending::Unsafe},
    {"DM103",
     {"AAAA|BBBB", "", [](Composition& it) { layerOf(it).removeChild(1); }},
     {"B V1 00:00:00:04: Between it and the segment in front a cut is missing"},
     {"AAAA|BBBB"},
     Mending::Safe},
    {"DM104",
     {"AAAA|BBBB", "", [](Composition& it) { layerOf(it).removeChild(2); }},
     {"V1 00:00:00:04: Behind the transition a segment is missing"},
     {"AAAA//"},
     Mending::Safe},
    {"DM104",
     {"AAAA|BBBB", "", [](Composition& it) { layerOf(it).removeChild(0); }},
     {"V1 00:00:00:04: In front of the transition a segment is missing"},
     {"//AAAA"},
     Mending::Safe},
    {"DM105",
     {"AAAA//BBBB", "", [](Composition& it) { static_cast<void>(at<DmTrxEffectNode>(it, 1).setEffect({})); }},
     {"V1 00:00:00:04: The transition has no effect"},
     {"AAAA//BBBB"},
     Mending::Unsafe},
    {"DM106",
     {"AAAA|B|CCCC", "", [](Composition& it) { static_cast<void>(at<DmSegmentNode>(it, 2).setRecLength(0.0)); }},
     {"B V1 00:00:00:04: It lasts no frame"},
     {"AAAA|B|CCCC"},
     Mending::Unsafe},
    {"DM107",
     {"AAAA|BBBB", "", [](Composition& it) { static_cast<void>(at<DmSourceNode>(it, 2).setSrcInput({})); }},
     {"B V1 00:00:00:04: The source has no input"},
     {"AAAA|----"},
     Mending::Unsafe},
    {"DM108",
     {"AAAA", "", [](Composition& it) { nest(it, 4.0)->addChild(it.getChild(0)); }},
     {": It stands below itself"},
     {"AAAA", "", [](Composition& it) { nest(it, 4.0); }},
     {},
     {},
     true},
    {"DM109",
     {"AAAA//BBBB", "", [](Composition& it) { static_cast<void>(at<DmTransitionNode>(it, 1).setRecLength(3.0)); }},
     {"V1 00:00:00:04: The transition says 3 frames and takes 2 frames"},
     {"AAAA//BBBB"},
     Mending::Safe},
    {"DM110",
     {"AAAA|BBBB", "", [](Composition& it) { static_cast<void>(at<DmSegmentNode>(it, 0).setRecLength(6.0)); }},
     {"B V1 00:00:00:04: It begins 2 frames before the segment in front of it has ended"},
     {"AAAA|BBBB"},
     Mending::Unsafe},
    {"DM111",
     {"AAAA|BBBB\nCCCC", "",
      [](Composition& it)
      {
          static_cast<void>(at<DmSegmentNode>(it, 2).setSegmentId(L"x"));
          static_cast<void>(at<DmSegmentNode>(it, 0, 1).setSegmentId(L"x"));
      }},
     {"C V2 00:00:00:00: Its id \"x\" is that of the segment at 00:00:00:04, too"},
     {"AAAA|BBBB\nCCCC", "", [](Composition& it) { static_cast<void>(at<DmSegmentNode>(it, 2).setSegmentId(L"x")); }},
     Mending::Safe},
    {"DM112",
     {"AAAA|BBBB|CCCC", "", [](Composition& it) { static_cast<void>(at<DmSegmentNode>(it, 0).setRecLength(2.0)); }},
     {"B V1 00:00:00:04: In front of it nothing fills 2 frames"},
     {"AA|--|BBBB|CCCC"},
     Mending::Safe},
    {"DM112",
     {"AAAA|BBBB", "", [](Composition& it) { static_cast<void>(at<DmSegmentNode>(it, 0).setRecIn(1.0)); }},
     {"A V1 00:00:00:01: In front of it nothing fills 1 frame"},
     {"-|AAA|BBBB"},
     Mending::Safe},
    {"DM113",
     {"AAAA|BBBB|CCCC", "",
      [](Composition& it)
      {
          static_cast<void>(at<DmCutNode>(it, 1).setRecLength(2.0));
          static_cast<void>(at<DmCutNode>(it, 3).setRecIn(9.0));
      }},
     {"V1 00:00:00:04: The cut says that it lasts 2 frames",
      "V1 00:00:00:09: The cut says that it is at 00:00:00:09, and the segment in front of it ends at 00:00:00:08"},
     {"AAAA|BBBB|CCCC", "", [](Composition& it) { static_cast<void>(at<DmCutNode>(it, 3).setRecIn(0.0)); }},
     Mending::Safe},
    {"DM114",
     {"AAAA//BBBB", "", [](Composition& it) { static_cast<void>(at<DmTransitionNode>(it, 1).setRecLength(8.0)); }},
     {"V1 00:00:00:04: The transition lasts 8 frames, longer than a shot beside it"},
     {"AAAA//////B"},
     Mending::Safe},
    {"DM115",
     {"AAAA|BBBB", "", [](Composition& it) { static_cast<void>(layerOf(it).setLayerLength(6.0)); }},
     {"V1: The layer ends at 00:00:00:06, and what stands in it at 00:00:00:08"},
     {"AAAA|BBBB", "", [](Composition& it) { static_cast<void>(layerOf(it).setLayerLength(9.0)); }},
     Mending::Safe},
    {"DM116",
     {"AAAA|BBBB", "", [](Composition& it) { static_cast<void>(it.setCompLength(50.0)); }},
     {"cut: The composition says 00:00:02:00, its tracks are 8 frames"},
     {"AAAA|BBBB\naaa", "", [](Composition& it) { static_cast<void>(it.setCompLength(8.0)); }},
     Mending::Safe},
    {"DM117",
     {"AAAA|BBBB", "",
      [](Composition& it)
      {
          static_cast<void>(at<DmSegmentNode>(it, 0).setRelIn(std::numeric_limits<double>::quiet_NaN()));
          static_cast<void>(at<DmSegmentNode>(it, 2).setRecIn(1e9));
      }},
     {"A V1: Its in-time is no number", "B V1 11111:06:40:00: Its record time is beyond what labels can say"},
     {"AAAA|BBBB", "", [](Composition& it) { static_cast<void>(at<DmSegmentNode>(it, 2).setRecIn(25.0 * 86400.0)); }}},
    {"DM118",
     {"AAAA|BBBB", "A6", [](Composition& it) { static_cast<void>(mediaAt(it, 0).setSrcLength(8.0)); }},
     {"A V1 00:00:00:00: Its in-time and length come to 10 frames, and its source says 8 frames"},
     {"AAAA|BBBB", "A6"},
     Mending::Unsafe},
};

} // namespace

TEST(StructureRules, FindWhatBreaksThemAndNothingNearby)
{
    for (const RuleCase& row : cases)
        check(row);
}

TEST(StructureRules, NothingStandsWhereItHasNoPlace)
{
    const auto root = Cut{"AAAA"}.tree();
    const auto reel = DmReelNode::create();
    root->addChild(reel);
    EXPECT_EQ(allSaid(DmFindings().find(*root), "DM101"), std::vector<std::string>());
    reel->addChild(DmTrackNode::create(1, DM_MEDIA_VIDEO));
    const auto findings = DmFindings().find(*root);
    ASSERT_EQ(allSaid(findings, "DM101"), std::vector<std::string>{": It stands outside of a composition"});
    EXPECT_EQ(findings.front().nodePath, "children[1]/children[0]");
    EXPECT_EQ(DmFindings().mend(*root, Mending::Unsafe).status, DM_NO_ERROR);
    EXPECT_EQ(reel->getNbChildren(), 0);
}

TEST(StructureRules, OnesThatAnOriginAsksForAreWarningsWithoutIt)
{
    for (const RuleCase& row : cases)
    {
        const std::string_view code = row.code;
        if (code != "DM109" && code != "DM110" && code != "DM111")
            continue;
        const auto tree = row.found.tree();
        DmFindingOptions options;
        options.select = {row.code};
        EXPECT_EQ(DmFindings(options).find(*tree).at(0).severity, DmFinding::Warning) << code;
        options.all = true;
        EXPECT_EQ(DmFindings(options).find(*tree).at(0).severity, DmFinding::Error) << code;
        options.all = false;
        ASSERT_EQ(static_cast<DmCompositionNode&>(*tree->getChild(0)).setOrigin(DM_ORIGIN_STRICT), DM_NO_ERROR);
        EXPECT_EQ(DmFindings(options).find(*tree).at(0).severity, DmFinding::Error) << code;
    }
}

TEST(StructureRules, LookIntoContainers)
{
    const auto tree = Cut{
        "AAAA", "",
        [](Composition& it)
        {
            const auto inside = zrDrawing::tree("BBBB|CCCC");
            nest(it, 8.0)->addChild(inside->getChild(0)->getChild(0));
            layerOf(*at<DmContainerNode>(it, 2).getComposition()).removeChild(1);
        }}.tree();
    const auto findings = DmFindings().find(*tree);
    ASSERT_EQ(allSaid(findings, "DM103").size(), 1u);
    const auto found = std::ranges::find(findings, std::string_view("DM103"), &DmFinding::code);
    EXPECT_EQ(found->nodePath,
              "children[0]/children[0]/children[0]/children[2]/composition/children[0]/children[0]/children[1]");
}
