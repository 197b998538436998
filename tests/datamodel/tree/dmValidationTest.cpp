#include "dmBatchFxNode.h"
#include "dmBlobNode.h"
#include "dmTreeIterator.h"
#include "testCut.h"

#include "zrCapturingRouter.h"
#include "zrTestSmallStack.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>

namespace
{

struct Found
{
    std::string path;
    std::wstring message;

    bool operator==(const Found&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Found& found)
{
    return out << '"' << found.path << "\": " << dmUtf8(DmString(std::wstring_view(found.message)));
}

std::vector<Found> violations(const CoSharedPtr<DmCompositionNode>& composition, unsigned options)
{
    std::vector<Found> result;
    for (const DmTreeViolation& violation : DmTreeTool::findViolations(composition, options))
        result.push_back({violation.path, std::wstring(violation.message.view())});
    return result;
}

bool isValid(const CoSharedPtr<DmCompositionNode>& composition, unsigned options)
{
    DmValidationVisitor visitor(options);
    EXPECT_EQ(DmPreIt(composition).apply(visitor), DM_NO_ERROR);
    return visitor.isValid();
}

CoSharedPtr<DmEffectSettings> audioEffect()
{
    return DmADissolveSettings::create();
}

/// A way to break one rule.
struct RuleCase
{
    const char* name;
    unsigned options; ///< the option that asks for the rule; 0 for a rule that always holds
    std::function<void(TestCut&)> breakIt;
    std::vector<Found> found; ///< the first of them is the one that is posted
};

const RuleCase ruleCases[] = {
    {"composition with a gap",
     0,
     [](TestCut& cut) { addAny(*cut.composition, DmGapNode::create()); },
     {{"children[1]", L"Composition children must be tracks."}}},
    {"composition with an empty child",
     0,
     [](TestCut& cut) { addAny(*cut.composition, {}); },
     {{"children[1]", L"Composition children must be tracks."}}},
    {"track with a gap",
     0,
     [](TestCut& cut) { addAny(*cut.track, DmGapNode::create()); },
     {{"children[0]/children[1]", L"Track children must be layers."}}},
    {"track with an empty child",
     0,
     [](TestCut& cut) { addAny(*cut.track, {}); },
     {{"children[0]/children[1]", L"Track children must be layers."}}},
    {"audio layer in a video track",
     0,
     [](TestCut& cut) { addAny(*cut.track, DmLayerNode::create(1, DM_MEDIA_AUDIO, 0, false)); },
     {{"children[0]/children[1]", L"Wrong layer media type."}}},
    {"two segments without a cut",
     0,
     [](TestCut& cut) { cut.layer->removeChild(3); },
     {{"children[0]/children[0]/children[3]", L"Missing transition."}}},
    {"audio segment in a video layer",
     0,
     [](TestCut& cut) { EXPECT_EQ(cut.two->setMediaType(DM_MEDIA_AUDIO), DM_NO_ERROR); },
     {{"children[0]/children[0]/children[2]", L"Wrong segment media type."}}},
    {"overlapping segments",
     DM_VALIDATE_ORDER,
     [](TestCut& cut) { EXPECT_EQ(cut.gap->setRecIn(149.5), DM_NO_ERROR); },
     {{"children[0]/children[0]/children[4]",
       L"Segment untitled in-time 150 is inferior to last segment's out-time 200."}}},
    {"segment at no time",
     DM_VALIDATE_ORDER,
     [](TestCut& cut) { EXPECT_EQ(cut.gap->setRecIn(std::nan("")), DM_NO_ERROR); },
     {{"children[0]/children[0]/children[4]",
       L"Segment untitled in-time 0 is inferior to last segment's out-time 200."}}},
    {"blob in a layer",
     0,
     [](TestCut& cut) { addAny(*cut.layer, DmBlobNode::create()); },
     {{"children[0]/children[0]/children[5]", L"Layer children must be segments or transitions."}}},
    {"empty child in a layer",
     0,
     [](TestCut& cut) { addAny(*cut.layer, {}); },
     {{"children[0]/children[0]/children[5]", L"Layer children must be segments or transitions."}}},
    {"batch effect in a layer",
     0,
     [](TestCut& cut)
     {
         const auto batch = DmBatchFxNode::create();
         EXPECT_EQ(batch->setRecLength(10), DM_NO_ERROR);
         addAny(*cut.layer, batch);
     },
     {{"children[0]/children[0]/children[5]", L"Layer children must be segments or transitions."}}},
    {"transition at the begin",
     0,
     [](TestCut& cut) { cut.layer->insertChild(DmCutNode::create(DM_MEDIA_VIDEO, 0), 0); },
     {{"children[0]/children[0]/children[0]", L"Missing segment."}}},
    {"two transitions in a row",
     0,
     [](TestCut& cut) { cut.layer->insertChild(DmCutNode::create(DM_MEDIA_VIDEO, 200), 3); },
     {{"children[0]/children[0]/children[4]", L"Missing segment."}}},
    {"audio cut in a video layer",
     0,
     [](TestCut& cut) { EXPECT_EQ(cut.cut->setMediaType(DM_MEDIA_AUDIO), DM_NO_ERROR); },
     {{"children[0]/children[0]/children[3]", L"Wrong transition media type."}}},
    {"transition at the end",
     0,
     [](TestCut& cut) { cut.layer->removeChild(4); },
     {{"children[0]/children[0]", L"Missing segment at the end of the layer."}}},
    {"transition without effect",
     0,
     [](TestCut& cut) { EXPECT_EQ(cut.dissolve->setEffect({}), DM_NO_ERROR); },
     {{"children[0]/children[0]/children[1]", L"Transition node untitled has no effect attached."}}},
    {"audio effect on a video transition",
     0,
     [](TestCut& cut) { EXPECT_EQ(cut.dissolve->setEffect(audioEffect()), DM_NO_ERROR); },
     {{"children[0]/children[0]/children[1]/effect", L"Wrong trx effect media type."}}},
    {"transition shorter than its place",
     DM_VALIDATE_DURATIONS,
     [](TestCut& cut) { EXPECT_EQ(cut.dissolve->setRecLength(9.5), DM_NO_ERROR); },
     {{"children[0]/children[0]/children[1]",
       L"Inconsistent segment duration. Error in recLength calculated: 20 provided: 10"}}},
    {"transition of no length",
     DM_VALIDATE_DURATIONS,
     [](TestCut& cut) { EXPECT_EQ(cut.dissolve->setRecLength(-INFINITY), DM_NO_ERROR); },
     {{"children[0]/children[0]/children[1]",
       L"Inconsistent segment duration. Error in recLength calculated: 20 provided: -2147483648"}}},
    {"source that rounds to no frame",
     0,
     [](TestCut& cut) { EXPECT_EQ(cut.two->setRecLength(0.49), DM_NO_ERROR); },
     {{"children[0]/children[0]/children[2]", L"Segment two has invalid recLength = 0"}}},
    {"audio effect on a video segment",
     0,
     [](TestCut& cut)
     {
         EXPECT_EQ(cut.two->addEffect(DmVDissolveSettings::create()), DM_NO_ERROR);
         EXPECT_EQ(cut.two->addEffect(audioEffect()), DM_NO_ERROR);
     },
     {{"children[0]/children[0]/children[2]/effects[1]", L"Wrong segment effect media type."}}},
    {"empty effect",
     0,
     [](TestCut& cut)
     {
         const DmPropertySetPtr none;
         EXPECT_EQ(cut.gap->addValueInPropertyList(L"effects", DM_VECTOR_PROPERTY_SET, &none), DM_NO_ERROR);
     },
     {{"children[0]/children[0]/children[4]/effects[0]", L"Wrong segment effect media type."}}},
    {"segment id twice",
     DM_VALIDATE_SEGMENT_IDS,
     [](TestCut& cut) { EXPECT_EQ(cut.two->setSegmentId(L"one"), DM_NO_ERROR); },
     {{"children[0]/children[0]/children[2]", L"Segment \"two\" has non-unique ID: one."}}},
    {"source without input",
     0,
     [](TestCut& cut) { EXPECT_EQ(cut.one->setSrcInput({}), DM_NO_ERROR); },
     {{"children[0]/children[0]/children[0]", L"Segment one is missing an input"}}},
    {"source beyond its material",
     0,
     [](TestCut& cut) { EXPECT_EQ(cut.two->setRelIn(921.6), DM_NO_ERROR); },
     {{"children[0]/children[0]/children[2]",
       L"Segment two has invalid relIn '922' + recLength '80' > srcLength '1000'"}}},
    {"source at no time of its material",
     0,
     [](TestCut& cut) { EXPECT_EQ(cut.two->setRelIn(std::nan("")), DM_NO_ERROR); },
     {{"children[0]/children[0]/children[2]",
       L"Segment two has invalid relIn '0' + recLength '80' > srcLength '1000'"}}},
    {"container without composition",
     0,
     [](TestCut& cut)
     { addAny(*cut.layer, DmCutNode::create(DM_MEDIA_VIDEO, 250)), addAny(*cut.layer, containerOf({}, 250)); },
     {{"children[0]/children[0]/children[6]", L"Container has no nested composition."}}},
    {"container with a bad composition",
     DM_VALIDATE_DURATIONS,
     [](TestCut& cut)
     {
         addAny(*cut.layer, DmCutNode::create(DM_MEDIA_VIDEO, 250));
         addAny(*cut.layer, containerOf(compositionOf({DmCutNode::create(DM_MEDIA_VIDEO, 0)}), 250));
     },
     {{"children[0]/children[0]/children[6]/composition/children[0]/children[0]/children[0]", L"Missing segment."},
      {"children[0]/children[0]/children[6]/composition/children[0]/children[0]",
       L"Missing segment at the end of the layer."},
      {"children[0]/children[0]/children[6]", L"Container has invalid nested composition."}}},
};

} // namespace

TEST(Validation, KnowsEveryRule)
{
    EXPECT_EQ(violations(TestCut().composition, DM_VALIDATE_ALL), std::vector<Found>());
    for (const RuleCase& rule : ruleCases)
    {
        SCOPED_TRACE(rule.name);
        TestCut cut;
        rule.breakIt(cut);
        EXPECT_EQ(violations(cut.composition, rule.options), rule.found);

        const zrTest::CapturingRouter router;
        EXPECT_FALSE(isValid(cut.composition, rule.options));
        ASSERT_FALSE(router.messages.empty());
        EXPECT_EQ(router.messages[0].level(), DM::CoMsg::ErrorLevel);
        EXPECT_EQ(router.messages[0].file(), "common/src/datamodel/libdm/dmTreeUtil");
        const std::string heading = "\nXML IMPORT Validation errors:\nInvalid DmTree structure ";
        const std::string message = dmUtf8(DmString(std::wstring_view(rule.found[0].message)));
        EXPECT_TRUE(router.messages[0].text().starts_with(heading + message + "\nCurrent state: \nTrack index: "))
            << router.messages[0].text();
        if (rule.options != 0)
        {
            EXPECT_TRUE(isValid(cut.composition, DM_VALIDATE_ALL & ~rule.options));
        }
    }
}

TEST(Validation, AsksCompositionsForWhatTheirOriginPromises)
{
    EXPECT_FALSE(DmTreeTool::isValidTree(nullptr));
    EXPECT_FALSE(DmTreeTool::isValidTree(CoSharedPtr<DmCompositionNode>()));
    EXPECT_TRUE(violations({}, DM_VALIDATE_ALL).empty());
    EXPECT_TRUE(DmTreeTool::isValidTree(DmCompositionNode::create())) << "without tracks";

    const zrTest::CapturingRouter router;
    TestCut cut;
    EXPECT_EQ(cut.gap->setRecIn(0), DM_NO_ERROR);
    EXPECT_TRUE(DmTreeTool::isValidTree(cut.composition));
    EXPECT_EQ(cut.composition->setOrigin(DM_ORIGIN_STRICT), DM_NO_ERROR);
    EXPECT_FALSE(DmTreeTool::isValidTree(cut.composition));

    // A nested composition is checked with its own options, and only by a validation of lengths.
    const auto outer = compositionOf({containerOf(cut.composition)});
    EXPECT_TRUE(DmTreeTool::isValidTree(outer));
    EXPECT_FALSE(isValid(outer, DM_VALIDATE_DURATIONS));
    EXPECT_EQ(cut.composition->setOrigin(DM_ORIGIN_UNDEFINED), DM_NO_ERROR);
    EXPECT_TRUE(isValid(outer, DM_VALIDATE_ALL));
}

TEST(Validation, ReportsTheFirstViolationAndWhereItIs)
{
    TestCut cut;
    EXPECT_EQ(cut.track->setTrackNum(7), DM_NO_ERROR);
    EXPECT_EQ(cut.layer->setLayerNum(3), DM_NO_ERROR);
    EXPECT_EQ(cut.two->addEffect(audioEffect()), DM_NO_ERROR);
    EXPECT_EQ(cut.two->setRecIn(120.5), DM_NO_ERROR);
    EXPECT_EQ(cut.gap->addEffect(audioEffect()), DM_NO_ERROR);
    const zrTest::CapturingRouter router;
    EXPECT_FALSE(DmTreeTool::isValidTree(cut.composition));
    ASSERT_EQ(router.messages.size(), 1U);
    EXPECT_EQ(router.messages[0].text(),
              "\nXML IMPORT Validation errors:\nInvalid DmTree structure Wrong segment effect "
              "media type.\nCurrent state: \nTrack index: 7 \nLayer index: 3 \nMedia type: "
              "video \nLayer element index: 2 \nRecord frame: 121 \nEffect name: "
              "ADissolve.\n");

    // From the flag itself: no walk has set anything yet. A long text is cut, between two characters.
    DmValidationVisitor visitor(0);
    visitor.setValidFlag(true, L"nothing is posted");
    EXPECT_TRUE(visitor.isValid());
    visitor.setValidFlag(false, L"Éh");
    visitor.setValidFlag(false, DmString(std::wstring(1000, L'é').c_str()));
    EXPECT_FALSE(visitor.isValid());
    ASSERT_EQ(router.messages.size(), 3U);
    EXPECT_EQ(router.messages[1].text(), "\nXML IMPORT Validation errors:\nInvalid DmTree structure Éh\nCurrent state: "
                                         "\nTrack index: 0 \nLayer index: 0 \nMedia type: undefined \nLayer element "
                                         "index: 0 \nRecord frame: 2147483647 \nEffect name: n/a.\n");
    std::string cutText = "\nXML IMPORT Validation errors:\nInvalid DmTree structure ";
    for (int i = 0; i < 300 - 25; ++i)
        cutText += "é";
    EXPECT_EQ(router.messages[2].text(), cutText + ".\n");
}

TEST(Validation, FindsEverythingInOneGo)
{
    TestCut cut;
    cut.layer->removeChild(3); // the cut
    EXPECT_EQ(cut.one->setSrcInput({}), DM_NO_ERROR);
    EXPECT_EQ(cut.dissolve->setEffect({}), DM_NO_ERROR);
    EXPECT_EQ(cut.two->setSegmentId(L"one"), DM_NO_ERROR);
    EXPECT_EQ(cut.two->setRecLength(0), DM_NO_ERROR);
    addAny(*cut.composition, DmBlobNode::create());
    EXPECT_EQ(violations(cut.composition, DM_VALIDATE_ALL),
              (std::vector<Found>{
                  {"children[1]", L"Composition children must be tracks."},
                  {"children[0]/children[0]/children[3]", L"Missing transition."},
                  {"children[0]/children[0]/children[0]", L"Segment one is missing an input"},
                  {"children[0]/children[0]/children[1]", L"Transition node untitled has no effect attached."},
                  {"children[0]/children[0]/children[2]", L"Segment two has invalid recLength = 0"},
                  {"children[0]/children[0]/children[2]", L"Segment \"two\" has non-unique ID: one."}}));
    const DmTreeViolation last = DmTreeTool::findViolations(cut.composition, DM_VALIDATE_ALL).back();
    EXPECT_EQ(last.place.trackIndex, 1);
    EXPECT_EQ(last.place.elementIndex, 2);
    EXPECT_EQ(last.place.recordFrame, 120);
    EXPECT_EQ(last.place.mediaType, DM_MEDIA_VIDEO);
}

TEST(Validation, AcceptsWhatTheRulesLeaveOpen)
{
    const auto emptyLayer = compositionOf({});
    const auto noLength = compositionOf({DmGapNode::create(DM_MEDIA_VIDEO, 0, 0)});
    const auto shortSource = clip(L"still", 0, 100, 50);
    EXPECT_EQ(shortSource->getSrcInput()->setSrcLength(1), DM_NO_ERROR);
    const auto nearly = clip(L"nearly", 0, 100.00009, 900);
    const auto touching = clip(L"touching", 100.00009 - 0.000009, 10);
    const auto gaps = compositionOf({DmGapNode::create(DM_MEDIA_VIDEO, 0, 1), DmCutNode::create(DM_MEDIA_VIDEO, 1),
                                     DmGapNode::create(DM_MEDIA_VIDEO, 1, 1)});
    const struct
    {
        const char* name;
        CoSharedPtr<DmCompositionNode> composition;
    } cases[] = {{"a layer without elements", emptyLayer},
                 {"a gap of no length", noLength},
                 {"a source of one frame, whatever is played of it", compositionOf({shortSource})},
                 {"times that differ by less than what sums of frames do",
                  compositionOf({nearly, DmCutNode::create(DM_MEDIA_VIDEO, 100), touching})},
                 {"segments without ids", gaps}};
    for (const auto& c : cases)
        EXPECT_EQ(violations(c.composition, DM_VALIDATE_ALL), std::vector<Found>()) << c.name;
}

TEST(Validation, AnswersToAnyTime)
{
    const zrTest::CapturingRouter router;
    const double times[] = {0.0,   -1.0,     2147483647.0, 2147483648.0, -2147483649.0,
                            1e300, INFINITY, -INFINITY,    std::nan(""), std::numeric_limits<double>::denorm_min()};
    for (const double recIn : times)
        for (const double recLength : times)
        {
            TestCut cut;
            for (DmSegmentNode* const segment : {static_cast<DmSegmentNode*>(cut.two.get()), cut.gap->asSegment()})
            {
                EXPECT_EQ(segment->setRecIn(recIn), DM_NO_ERROR);
                EXPECT_EQ(segment->setRecLength(recLength), DM_NO_ERROR);
                EXPECT_EQ(segment->setRelIn(recIn), DM_NO_ERROR);
            }
            EXPECT_EQ(cut.dissolve->setRecLength(recLength), DM_NO_ERROR);
            EXPECT_EQ(cut.two->getSrcInput()->setSrcLength(recLength), DM_NO_ERROR);
            EXPECT_FALSE(isValid(cut.composition, DM_VALIDATE_ALL)) << recIn << ' ' << recLength;
            EXPECT_FALSE(violations(cut.composition, DM_VALIDATE_ALL).empty()) << recIn << ' ' << recLength;
        }
}

TEST(Validation, RefusesCompositionsThatHoldThemselves)
{
    zrTestOnSmallStack(
        []
        {
            const EndlessCut endless;
            const auto outer = compositionOf({containerOf(endless.composition)});
            const std::vector<Found> here = {
                {"children[0]/children[0]/children[0]", L"Container has invalid nested composition."}};
            std::vector<Found> inside = here;
            inside.insert(inside.begin(),
                          {"children[0]/children[0]/children[0]/composition/children[0]/children[0]/children[0]",
                           L"Container has invalid nested composition."});
            EXPECT_EQ(violations(endless.composition, 0), here);
            EXPECT_EQ(violations(endless.composition, DM_VALIDATE_ALL), here);
            EXPECT_EQ(violations(outer, 0), here) << "the rules of what it holds are not asked for";
            EXPECT_EQ(violations(outer, DM_VALIDATE_ALL), inside);

            // A node below itself is a node of a wrong kind.
            const TestCut cut;
            addAny(*cut.layer, cut.track);
            DmValidationVisitor visitor(0);
            EXPECT_EQ(violations(cut.composition, 0)[0], (Found{"children[0]/children[0]/children[5]",
                                                                L"Layer children must be segments or transitions."}));
            cut.layer->removeChild(5);
        });
}

TEST(Validation, FollowsNestingAsFarAsDocumentsDo)
{
    zrTestOnSmallStack(
        []
        {
            EXPECT_TRUE(violations(nestedCompositions(100), 0).empty());
            EXPECT_TRUE(violations(nestedCompositions(100), DM_VALIDATE_ALL).empty());
            for (const unsigned options : {0U, static_cast<unsigned>(DM_VALIDATE_ALL)})
            {
                const std::vector<Found> found = violations(nestedCompositions(140), options);
                ASSERT_FALSE(found.empty());
                EXPECT_EQ(found.back(),
                          (Found{"children[0]/children[0]/children[0]", L"Container has invalid nested composition."}));
            }
        });
}

TEST(Validation, LooksAtSharedCompositionsOnce)
{
    // Sixty levels, each of which holds the next one twice: followed every time, there would be no end to it.
    auto outer = compositionOf({DmCutNode::create(DM_MEDIA_VIDEO, 0)});
    for (int i = 0; i < 60; ++i)
    {
        EXPECT_EQ(outer->setOrigin(DM_ORIGIN_STRICT), DM_NO_ERROR);
        outer = compositionOf({containerOf(outer), DmCutNode::create(DM_MEDIA_VIDEO, 100), containerOf(outer, 100)});
    }
    EXPECT_EQ(violations(outer, 0), std::vector<Found>());
    const std::vector<Found> found = violations(outer, DM_VALIDATE_ALL);
    EXPECT_EQ(found.size(), 2U + 2U * 60U) << "two rules of the innermost, and each container of a level";
    EXPECT_EQ(found.back(),
              (Found{"children[0]/children[0]/children[2]", L"Container has invalid nested composition."}));
}

TEST(Validation, OfASharedNodeIsThatOfItsCopies)
{
    // The same segment in two places is, once saved and read again, two segments of one id.
    const TestCut cut;
    const auto track = DmTrackNode::create(2, DM_MEDIA_VIDEO);
    track->addChild(cut.layer);
    cut.composition->addChild(track);
    EXPECT_EQ(violations(cut.composition, DM_VALIDATE_ALL & ~DM_VALIDATE_SEGMENT_IDS), std::vector<Found>());
    const std::vector<Found> found = violations(cut.composition, DM_VALIDATE_ALL);
    EXPECT_EQ(found, violations(DmTreeTool::deepClone(cut.composition), DM_VALIDATE_ALL));
    EXPECT_EQ(found, (std::vector<Found>{
                         {"children[1]/children[0]/children[0]", L"Segment \"one\" has non-unique ID: one."},
                         {"children[1]/children[0]/children[2]", L"Segment \"two\" has non-unique ID: two."}}));
}

TEST(Validation, TakesIdsOfAnyLength)
{
    const zrTest::CapturingRouter router;
    const std::wstring id(1 << 20, L'x');
    TestCut cut;
    EXPECT_EQ(cut.one->setSegmentId(DmString(std::wstring_view(id))), DM_NO_ERROR);
    EXPECT_EQ(cut.two->setSegmentId(DmString(std::wstring_view(id))), DM_NO_ERROR);
    EXPECT_FALSE(isValid(cut.composition, DM_VALIDATE_SEGMENT_IDS));
    EXPECT_LE(router.messages.at(0).text().size(), 400U);
    EXPECT_EQ(DmTreeTool::findViolations(cut.composition, DM_VALIDATE_SEGMENT_IDS).at(0).message,
              DmString((L"Segment \"two\" has non-unique ID: " + id + L'.').c_str()));
}
