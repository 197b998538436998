#include "testCut.h"
#include "zrCapturingRouter.h"
#include "zrTestSmallStack.h"

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

CoSharedPtr<DmBatchFxNode> batchOf(double recLength)
{
    auto node = DmBatchFxNode::create();
    ok(node->setRecLength(recLength));
    return node;
}

const std::string heading = "\nXML IMPORT Validation errors:\nInvalid DmTree structure ";

/// The path of an element of the cut's layer.
std::string element(int index)
{
    return "children[0]/children[0]/children[" + std::to_string(index) + "]";
}

/// A way to break one rule.
struct RuleCase
{
    unsigned option; ///< that asks for the rule; 0 for a rule that always holds
    std::string path;
    const wchar_t* message;
    std::function<void(TestCut&)> breakIt;
};

const wchar_t* const noTrack = L"Composition children must be tracks.";
const wchar_t* const noLayer = L"Track children must be layers.";
const wchar_t* const noElement = L"Layer children must be segments or transitions.";
const wchar_t* const badContainer = L"Container has invalid nested composition.";

const RuleCase ruleCases[] = {
    {0, "children[1]", noTrack, [](TestCut& cut) { addAny(*cut.composition, cut.gap); }},
    {0, "children[1]", noTrack, [](TestCut& cut) { addAny(*cut.composition, {}); }},
    {0, "children[0]/children[1]", noLayer, [](TestCut& cut) { addAny(*cut.track, cut.gap); }},
    {0, "children[0]/children[1]", noLayer, [](TestCut& cut) { addAny(*cut.track, {}); }},
    {0, "children[0]/children[1]", L"Wrong layer media type.",
     [](TestCut& cut) { addAny(*cut.track, DmLayerNode::create(1, DM_MEDIA_AUDIO, 0, false)); }},
    {0, element(3), L"Missing transition.", [](TestCut& cut) { cut.layer->removeChild(3); }},
    {0, element(2), L"Wrong segment media type.", [](TestCut& cut) { ok(cut.two->setMediaType(DM_MEDIA_AUDIO)); }},
    {DM_VALIDATE_ORDER, element(4), L"Segment untitled in-time 150 is inferior to last segment's out-time 200.",
     [](TestCut& cut) { ok(cut.gap->setRecIn(149.5)); }},
    {DM_VALIDATE_ORDER, element(4), L"Segment untitled in-time 0 is inferior to last segment's out-time 200.",
     [](TestCut& cut) { ok(cut.gap->setRecIn(std::nan(""))); }},
    {0, element(5), noElement, [](TestCut& cut) { addAny(*cut.layer, DmBlobNode::create()); }},
    {0, element(5), noElement, [](TestCut& cut) { addAny(*cut.layer, {}); }},
    {0, element(5), noElement, [](TestCut& cut) { addAny(*cut.layer, batchOf(10)); }},
    {0, element(0), L"Missing segment.", [](TestCut& cut) { cut.layer->insertChild(cutAt(0), 0); }},
    {0, element(4), L"Missing segment.", [](TestCut& cut) { cut.layer->insertChild(cutAt(200), 3); }},
    {0, element(3), L"Wrong transition media type.", [](TestCut& cut) { ok(cut.cut->setMediaType(DM_MEDIA_AUDIO)); }},
    {0, "children[0]/children[0]", L"Missing segment at the end of the layer.",
     [](TestCut& cut) { cut.layer->removeChild(4); }},
    {0, element(1), L"Transition node untitled has no effect attached.",
     [](TestCut& cut) { ok(cut.dissolve->setEffect({})); }},
    {0, element(1) + "/effect", L"Wrong trx effect media type.",
     [](TestCut& cut) { ok(cut.dissolve->setEffect(audioEffect())); }},
    {DM_VALIDATE_DURATIONS, element(1),
     L"Inconsistent segment duration. Error in recLength calculated: 20 provided: 10",
     [](TestCut& cut) { ok(cut.dissolve->setRecLength(9.5)); }},
    {DM_VALIDATE_DURATIONS, element(1),
     L"Inconsistent segment duration. Error in recLength calculated: 20 provided: -2147483648",
     [](TestCut& cut) { ok(cut.dissolve->setRecLength(-INFINITY)); }},
    {0, element(2), L"Segment two has invalid recLength = 0", [](TestCut& cut) { ok(cut.two->setRecLength(0.49)); }},
    {0, element(2) + "/effects[1]", L"Wrong segment effect media type.",
     [](TestCut& cut)
     {
         ok(cut.two->addEffect(DmVDissolveSettings::create()));
         ok(cut.two->addEffect(audioEffect()));
     }},
    {0, element(4) + "/effects[0]", L"Wrong segment effect media type.",
     [](TestCut& cut)
     {
         const DmPropertySetPtr none;
         ok(cut.gap->addValueInPropertyList(L"effects", DM_VECTOR_PROPERTY_SET, &none));
     }},
    {DM_VALIDATE_SEGMENT_IDS, element(2), L"Segment \"two\" has non-unique ID: one.",
     [](TestCut& cut) { ok(cut.two->setSegmentId(L"one")); }},
    {0, element(0), L"Segment one is missing an input", [](TestCut& cut) { ok(cut.one->setSrcInput({})); }},
    {0, element(2), L"Segment two has invalid relIn '922' + recLength '80' > srcLength '1000'",
     [](TestCut& cut) { ok(cut.two->setRelIn(921.6)); }},
    {0, element(2), L"Segment two has invalid relIn '0' + recLength '80' > srcLength '1000'",
     [](TestCut& cut) { ok(cut.two->setRelIn(std::nan(""))); }},
    {0, element(6), L"Container has no nested composition.",
     [](TestCut& cut) { addAny(*cut.layer, cutAt(250)), addAny(*cut.layer, containerOf({}, 250)); }},
    {DM_VALIDATE_DURATIONS, element(6), badContainer,
     [](TestCut& cut)
     { addAny(*cut.layer, cutAt(250)), addAny(*cut.layer, containerOf(compositionOf({nullptr}), 250)); }},
};

} // namespace

TEST(Validation, KnowsEveryRule)
{
    EXPECT_EQ(violations(TestCut().composition, DM_VALIDATE_ALL), std::vector<Found>());
    for (const RuleCase& rule : ruleCases)
    {
        SCOPED_TRACE(rule.path + ' ' + dmUtf8(rule.message));
        TestCut cut;
        rule.breakIt(cut);
        const std::vector<Found> found = violations(cut.composition, rule.option);
        EXPECT_EQ(found.back(), (Found{rule.path, rule.message}));
        EXPECT_EQ(found.size(), rule.message == badContainer ? 2U : 1U) << "and what it holds";

        const zrTest::CapturingRouter router;
        EXPECT_FALSE(isValid(cut.composition, rule.option));
        ASSERT_FALSE(router.messages.empty());
        EXPECT_EQ(router.messages[0].level(), DM::CoMsg::ErrorLevel);
        EXPECT_EQ(router.messages[0].file(), "common/src/datamodel/libdm/dmTreeUtil");
        EXPECT_TRUE(router.messages[0].text().starts_with(heading + dmUtf8(found[0].message.c_str()) + "\nCurrent"));
        EXPECT_TRUE(rule.option == 0 || isValid(cut.composition, DM_VALIDATE_ALL & ~rule.option));
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
    ok(cut.gap->setRecIn(0));
    EXPECT_TRUE(DmTreeTool::isValidTree(cut.composition));
    ok(cut.composition->setOrigin(DM_ORIGIN_STRICT));
    EXPECT_FALSE(DmTreeTool::isValidTree(cut.composition));

    // A nested composition is checked with its own options, and only by a validation of lengths.
    const auto outer = compositionOf({containerOf(cut.composition)});
    EXPECT_TRUE(DmTreeTool::isValidTree(outer));
    EXPECT_FALSE(isValid(outer, DM_VALIDATE_DURATIONS));
    ok(cut.composition->setOrigin(DM_ORIGIN_UNDEFINED));
    EXPECT_TRUE(isValid(outer, DM_VALIDATE_ALL));

    // Who asks for all violations names the rules for nested compositions too.
    const auto found = DmTreeTool::findViolations(outer, DM_VALIDATE_ALL);
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[0].path, "children[0]/children[0]/children[0]/composition/children[0]/children[0]/children[4]");
    EXPECT_EQ(found[0].record, "00:00:00:00") << "in the composition that it stands in";
    EXPECT_EQ(dmUtf8(found[1].message), "Container has invalid nested composition.");
    EXPECT_TRUE(DmTreeTool::findViolations(outer, DM_VALIDATE_ORDER).empty());
}

TEST(Validation, ReportsTheFirstViolationAndWhereItIs)
{
    TestCut cut;
    ok(cut.track->setTrackNum(7));
    ok(cut.layer->setLayerNum(3));
    ok(cut.two->addEffect(audioEffect()));
    ok(cut.two->setRecIn(120.5));
    ok(cut.gap->addEffect(audioEffect()));
    const zrTest::CapturingRouter router;
    EXPECT_FALSE(DmTreeTool::isValidTree(cut.composition));
    ASSERT_EQ(router.messages.size(), 1U);
    EXPECT_EQ(router.messages[0].text(),
              heading +
                  "Wrong segment effect media type.\nCurrent state: \nTrack index: 7 \nLayer index: 3 \nMedia type: "
                  "video \nLayer element index: 2 \nRecord frame: 121 \nEffect name: ADissolve.\n");

    // From the flag itself: no walk has set anything yet. A long text is cut, between two characters.
    DmValidationVisitor visitor(0);
    visitor.setValidFlag(true, L"nothing is posted");
    EXPECT_TRUE(visitor.isValid());
    visitor.setValidFlag(false, L"Éh");
    visitor.setValidFlag(false, DmString(std::wstring(1000, L'é').c_str()));
    EXPECT_FALSE(visitor.isValid());
    ASSERT_EQ(router.messages.size(), 3U);
    EXPECT_EQ(router.messages[1].text(),
              heading + "Éh\nCurrent state: \nTrack index: 0 \nLayer index: 0 \nMedia type: undefined \nLayer element "
                        "index: 0 \nRecord frame: 2147483647 \nEffect name: n/a.\n");
    EXPECT_EQ(router.messages[2].text(), heading + dmUtf8(std::wstring(300 - 25, L'é').c_str()) + ".\n");
}

TEST(Validation, PostsTheFirstViolationOfAListAlone)
{
    TestCut cut;
    addAny(*cut.composition, DmBlobNode::create());
    addAny(*cut.composition, DmBlobNode::create());
    const zrTest::CapturingRouter router;
    EXPECT_FALSE(DmTreeTool::isValidTree(cut.composition));
    EXPECT_EQ(router.messages.size(), 1U);
}

TEST(Validation, BlamesNoElementBehindItsLayer)
{
    TestCut cut;
    const auto other = DmTrackNode::create(2, DM_MEDIA_VIDEO);
    addAny(*other, DmBlobNode::create());
    cut.composition->addChild(other);
    const std::vector<DmTreeViolation> found = DmTreeTool::findViolations(cut.composition, 0);
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].record, "");
    EXPECT_EQ(found[0].place.elementIndex, 0);
}

TEST(Validation, FindsEverythingInOneGo)
{
    TestCut cut;
    cut.layer->removeChild(3); // the cut
    ok(cut.one->setSrcInput({}));
    ok(cut.dissolve->setEffect({}));
    ok(cut.two->setSegmentId(L"one"));
    ok(cut.two->setRecLength(0));
    addAny(*cut.composition, DmBlobNode::create());
    const std::vector<Found> expected = {{"children[1]", noTrack},
                                         {element(3), L"Missing transition."},
                                         {element(0), L"Segment one is missing an input"},
                                         {element(1), L"Transition node untitled has no effect attached."},
                                         {element(2), L"Segment two has invalid recLength = 0"},
                                         {element(2), L"Segment \"two\" has non-unique ID: one."}};
    EXPECT_EQ(violations(cut.composition, DM_VALIDATE_ALL), expected);
    const DmValidationPlace place = DmTreeTool::findViolations(cut.composition, DM_VALIDATE_ALL).back().place;
    EXPECT_EQ(std::tuple(place.trackIndex, place.elementIndex, place.recordFrame, place.mediaType),
              std::tuple(1, 2, 120, DM_MEDIA_VIDEO));
}

TEST(Validation, AcceptsWhatTheRulesLeaveOpen)
{
    const auto still = clip(L"of one frame, whatever is played of it", 0, 100, 50);
    ok(still->getSrcInput()->setSrcLength(1));
    const auto nearly = clip(L"that differs by less than sums of frames do", 0, 100.00009, 900);
    const auto touching = clip(L"touching", 100.00009 - 0.000009, 10);
    for (const Elements& elements :
         {Elements{}, Elements{gapOf(0, 0)}, Elements{still}, Elements{nearly, cutAt(100), touching},
          Elements{gapOf(0, 1), cutAt(1), gapOf(1, 1)}})
        EXPECT_EQ(violations(compositionOf(elements), DM_VALIDATE_ALL), std::vector<Found>());
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
                ok(segment->setRecIn(recIn));
                ok(segment->setRecLength(recLength));
                ok(segment->setRelIn(recIn));
            }
            ok(cut.dissolve->setRecLength(recLength));
            ok(cut.two->getSrcInput()->setSrcLength(recLength));
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
            const std::vector<Found> here = {{element(0), badContainer}};
            const std::vector<Found> inside = {{element(0) + "/composition/" + element(0), badContainer}, here[0]};
            EXPECT_EQ(violations(endless.composition, 0), here);
            EXPECT_EQ(violations(endless.composition, DM_VALIDATE_ALL), here);
            EXPECT_EQ(violations(outer, 0), here) << "the rules of what it holds are not asked for";
            EXPECT_EQ(violations(outer, DM_VALIDATE_ALL), inside);

            // A node below itself is a node of a wrong kind.
            const TestCut cut;
            addAny(*cut.layer, DmPropertySetPtr(cut.track));
            EXPECT_EQ(violations(cut.composition, 0)[0], (Found{element(5), noElement}));
            cut.layer->removeChild(5);
        });
}

TEST(Validation, FollowsNestingAsFarAsDocumentsDo)
{
    zrTestOnSmallStack(
        []
        {
            for (const unsigned options : {0U, static_cast<unsigned>(DM_VALIDATE_ALL)})
            {
                EXPECT_TRUE(violations(nestedCompositions(100), options).empty());
                const std::vector<Found> found = violations(nestedCompositions(140), options);
                ASSERT_FALSE(found.empty());
                EXPECT_EQ(found.back(), (Found{element(0), badContainer}));
            }
        });
}

TEST(Validation, LooksAtSharedCompositionsOnce)
{
    // Sixty levels, each of which holds the next one twice: followed every time, there would be no end to it.
    auto outer = compositionOf({cutAt(0)});
    for (int i = 0; i < 60; ++i)
    {
        ok(outer->setOrigin(DM_ORIGIN_STRICT));
        outer = compositionOf({containerOf(outer), cutAt(100), containerOf(outer, 100)});
    }
    EXPECT_EQ(violations(outer, 0), std::vector<Found>());
    const std::vector<Found> found = violations(outer, DM_VALIDATE_ALL);
    EXPECT_EQ(found.size(), 2U + 2U * 60U) << "two rules of the innermost, and each container of a level";
    EXPECT_EQ(found.back(), (Found{element(2), badContainer}));
}

TEST(Validation, OfAWholeTreeTellsItsCompositionsApart)
{
    const TestCut cut;
    const auto root = DmRoot::create();
    root->addChild(cut.composition);
    root->addChild(DmTreeTool::deepClone(cut.composition)); // of the same ids
    DmValidationVisitor visitor(DM_VALIDATE_ALL);
    ok(DmPreIt(root).apply(visitor));
    EXPECT_TRUE(visitor.isValid());
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
