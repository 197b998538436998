#include "testCut.h"

namespace
{

using Motion = DmPlayed::Motion;
using Kind = DmMaterial::Kind;

CoSharedPtr<DmEffectSettings> warpOf(double speed)
{
    const auto warp = DmVTimewarpSettings::create();
    ok(warp->setSpeed(speed));
    return warp;
}

CoSharedPtr<DmEffectSettings> soundWarpOf(float ratio)
{
    const auto warp = DmATimewarpSettings::create();
    ok(warp->setRatio(ratio));
    return warp;
}

CoSharedPtr<DmEffectSettings> muted(const CoSharedPtr<DmEffectSettings>& effect)
{
    ok(effect->setMuted(true));
    return effect;
}

CoSharedPtr<DmSourceNode> played(double recIn, double recLength, double relIn,
                                 const CoSharedPtr<DmEffectSettings>& warp, const wchar_t* fcm = L"25 fps")
{
    const auto node = clip(L"played", recIn, recLength, relIn);
    ok(node->getSrcInput()->setFcm(fcm));
    if (warp)
        ok(node->addEffect(warp));
    return node;
}

} // namespace

TEST(Played, IsAFrameAtEachRecordTime)
{
    // A segment [1000, 1010) from 300 on, in a composition of 25 fps: the range that plays, and the frames seen at its
    // first, second and last record frame, one record frame before it and one behind it.
    const struct
    {
        const char* what;
        CoSharedPtr<DmEffectSettings> warp;
        double speed, end;
        std::array<double, 5> frames;
        const wchar_t* fcm = L"25 fps";
    } cases[] = {
        {"normal", {}, 1, 310, {300, 301, 309, 299, 310}},
        {"double", warpOf(2), 2, 320, {300, 302, 318, 298, 320}},
        {"half", warpOf(0.5), 0.5, 305, {300, 300, 304, 299, 305}},
        {"backwards", warpOf(-1), -1, 310, {309, 308, 300, 310, 299}},
        {"double backwards", warpOf(-2), -2, 320, {319, 317, 301, 321, 299}},
        {"half backwards", warpOf(-0.5), -0.5, 305, {304, 304, 300, 305, 299}},
        {"frozen", warpOf(0), 0, 301, {300, 300, 300, 300, 300}},
        {"of sound", soundWarpOf(0.5F), 2, 320, {300, 302, 318, 298, 320}},
        {"a ratio of few places", soundWarpOf(1.0F / 1.2F), 1.2, 312, {300, 301, 310, 298, 312}},
        {"a warp that is muted", muted(warpOf(2)), 1, 310, {300, 301, 309, 299, 310}},
        {"at 50", {}, 1, 320, {300, 302, 318, 298, 320}, L"50 fps"},
        {"at no rate", {}, 1, 310, {300, 301, 309, 299, 310}, L"???"},
        {"at 50, half backwards", warpOf(-0.5), -0.5, 310, {309, 308, 300, 310, 299}, L"50 fps"},
    };
    for (const auto& row : cases)
    {
        SCOPED_TRACE(row.what);
        const auto source = ::played(1000, 10, 300, row.warp, row.fcm);
        const DmPlayed played(*source, DM::FCM_25);
        const bool isHeld = row.speed == 0;
        EXPECT_EQ(played.motion(), isHeld ? Motion::Freeze : Motion::Constant);
        EXPECT_EQ(played.speed(), row.speed);
        EXPECT_EQ(played.isReverse(), row.speed < 0);
        EXPECT_DOUBLE_EQ(played.begin(), 300);
        EXPECT_DOUBLE_EQ(played.end(), row.end);
        const double times[] = {1000, 1001, 1009, 999, 1010};
        for (std::size_t i = 0; i < row.frames.size(); ++i)
            EXPECT_EQ(played.frameAt(times[i]), row.frames[i]) << times[i];
        if (isHeld)
            continue;
        for (const double time : {990.0, 1000.0, 1003.5, 1010.0})
            EXPECT_NEAR(played.recordTimeAt(played.positionAt(time).value_or(0)).value_or(0), time, 1e-9);
        for (const double frame : {300.0, 302.0})
            EXPECT_EQ(played.frameAt(played.recordTimeOf(frame).value_or(0)), frame);
    }
    const auto held = played(1000, 10, 300, warpOf(0));
    const DmPlayed frozen(*held, DM::FCM_25);
    EXPECT_EQ(frozen.recordTimeOf(300), 1000);
    EXPECT_EQ(frozen.recordTimeOf(301), std::nullopt);
    const DmPlayed nothing(*gapOf(0, 10), DM::FCM_25);
    EXPECT_EQ(nothing.motion(), Motion::None);
    EXPECT_EQ(nothing.frameAt(5), std::nullopt);
    EXPECT_EQ(nothing.recordTimeOf(0), std::nullopt);
}

TEST(Played, BringsRatesTogetherByTheClock)
{
    const std::tuple<DM::FrameCodeModes, const wchar_t*, double> cases[] = {
        {DM::FCM_25, L"24 fps", 24.0 / 25},      {DM::FCM_24, L"23.976 fps", 1000.0 / 1001},
        {DM::FCM_29_97_DF, L"29.97 fps NDF", 1}, {DM::FCM_29_97_DF, L"30 fps", 1.001},
        {DM::FCM_NOT_DEFINED, L"24 fps", 1},
    };
    for (const auto& [composition, fcm, rate] : cases)
    {
        const DmPlayed played(*::played(0, 100, 10, {}, fcm), composition);
        EXPECT_DOUBLE_EQ(played.rate(), rate);
        EXPECT_EQ(played.fcm(), dmFcmFromText(fcm));
        EXPECT_DOUBLE_EQ(played.length(), 100 * rate);
    }
}

TEST(Played, KnowsKeyedSpeedsAtTheirKeysOnly)
{
    const auto warp = DmPPFxTWSettings::create();
    ok(warp->setConstantSpeed(false));
    const auto timing = warp->getChannel(DmTimewarpSettings::ChannelId::timing);
    for (const auto& [frame, value] : {std::pair(48.0F, 48.0F), {0.0F, 0.0F}, {96.0F, 12.0F}})
        ok(timing->addKeyFrame(DmKeyFrame::create2(frame, value, {}, {}, 0, 0, 0, 0, 0)));
    const auto source = played(1000, 100, 300, warp);

    const DmPlayed played(*source, DM::FCM_25);
    EXPECT_EQ(played.motion(), Motion::Keyed);
    EXPECT_EQ(played.keys().size(), 3U);
    EXPECT_EQ(played.begin(), 300);
    EXPECT_EQ(played.end(), 349);
    EXPECT_EQ(played.frameAt(1000), 300);
    EXPECT_EQ(played.frameAt(1048), 348);
    EXPECT_EQ(played.frameAt(1096), 312);
    EXPECT_EQ(played.frameAt(1024), std::nullopt);
    EXPECT_EQ(played.recordTimeOf(312), 1096);
    EXPECT_EQ(played.recordTimeOf(320), std::nullopt);

    ok(warp->setExtraTimingOffset(5));
    EXPECT_EQ(DmPlayed(*source, DM::FCM_25).frameAt(1053), 348);
    ok(warp->setOffsetTimingWithRelIn(true));
    EXPECT_EQ(DmPlayed(*source, DM::FCM_25).frameAt(753), 348);
    ok(warp->setMuted(true));
    EXPECT_EQ(DmPlayed(*source, DM::FCM_25).frameAt(1024), 324);
}

TEST(Played, OfAContainerIsItsComposition)
{
    const auto inside = compositionOf({gapOf(0, 100)});
    ok(inside->setFCM(L"50 fps"));
    const auto container = DmContainerNode::create(inside, DM_MEDIA_VIDEO, 10, 20, 4);
    EXPECT_EQ(DmPlayed(*container, DM::FCM_25).frameAt(15), 14);
    ok(container->addEffect(warpOf(-1)));
    EXPECT_EQ(DmPlayed(*container, DM::FCM_25).frameAt(10), 43);
    ok(container->setComposition(nullptr));
    EXPECT_EQ(DmPlayed(*container, DM::FCM_25).motion(), Motion::None);
}

TEST(Material, IsKnownOrNot)
{
    // A clip of 100 frames from `relIn` on, of an input of `srcLength`.
    struct
    {
        const char* what;
        double srcLength, relIn, speed;
        const wchar_t* entry; ///< null: none
        DmPlayedBeside beside;
        bool known;
        double length;
    } const cases[] = {
        {"more than plays", 412, 100, 1, nullptr, {}, true, 412},
        {"just what plays", 100, 0, 1, nullptr, {}, false, 100},
        {"just what plays twice as fast", 200, 0, 2, nullptr, {}, false, 200},
        {"just what plays at half speed, as the rules want it", 100, 0, 0.5, nullptr, {}, false, 100},
        {"just what plays at half speed", 50, 0, 0.5, nullptr, {}, false, 50},
        {"just what plays, to the rounding of a speed", 120, 0, 1.207, nullptr, {}, false, 120},
        {"a frame more than plays", 101, 0, 1, nullptr, {}, true, 101},
        {"up to its end", 200, 100, 1, nullptr, {}, true, 200},
        {"what a transition in front plays too", 112, 12, 1, nullptr, {12, 0}, false, 112},
        {"what transitions on both sides play too", 124, 12, 1, nullptr, {12, 12}, false, 124},
        {"backwards, what the transition in front plays too", 112, 0, -1, nullptr, {12, 0}, false, 112},
        {"no length", 0, 0, 1, nullptr, {}, false, 0},
        {"said to be unknown", 412, 100, 1, L"unknown", {}, false, 412},
        {"of its own length", 100, 0, 1, L"100", {}, true, 100},
        {"shorter than it had to be made", 100, 0, 0.5, L"72.5", {}, true, 72.5},
        {"an entry that is no length", 412, 100, 1, L"-1", {}, false, 412},
    };
    for (const auto& row : cases)
    {
        SCOPED_TRACE(row.what);
        const auto source = clip(L"clip", 0, 100, row.relIn);
        auto& input = dynamic_cast<DmSourceNode::MediaInput&>(*source->getSrcInput());
        ok(input.setSrcLength(row.srcLength));
        if (row.speed != 1)
            ok(source->addEffect(warpOf(row.speed)));
        if (row.entry)
            ok(input.addExtraData(DmSourceNode::DictionaryEntry::create(L"materialLength", row.entry)));
        const DmMaterial material = dmMaterialOf(*source, DM::FCM_25, row.beside);
        EXPECT_EQ(material.kind, Kind::Moving);
        EXPECT_EQ(material.known, row.known);
        EXPECT_EQ(material.isLimited(), row.known);
        EXPECT_EQ(material.length, row.length);
        EXPECT_EQ(material.begin, 90000);
        EXPECT_EQ(material.fcm, DM::FCM_25);
    }
}

TEST(Material, MayBeEndless)
{
    const auto still = clip(L"still", 0, 100, 7);
    ok(still->getSrcInput()->setSrcLength(1));
    EXPECT_EQ(dmMaterialOf(*still).kind, Kind::Still);
    EXPECT_FALSE(dmMaterialOf(*still).isLimited());
    EXPECT_EQ(DmPlayed(*still, DM::FCM_25).frameAt(50), 0);
    const auto frame = clip(L"one frame of something", 0, 1);
    ok(frame->getSrcInput()->setSrcLength(1));
    EXPECT_EQ(dmMaterialOf(*frame).kind, Kind::Moving);
    EXPECT_FALSE(dmMaterialOf(*frame).known);

    const auto bars = DmSourceNode::GeneratedInput::create(L"INPUT_SMPTE_BARS", 10, DM_MEDIA_VIDEO);
    const auto source = DmSourceNode::create(bars, 0, 100, 0, false, false);
    EXPECT_EQ(dmMaterialOf(*source).kind, Kind::Generated);
    EXPECT_TRUE(dmMaterialOf(*source).isEndless());
    EXPECT_EQ(dmMaterialOf(*gapOf(0, 10)).kind, Kind::None);
    EXPECT_EQ(dmMaterialOf(*DmSourceNode::create({}, 0, 100, 0, false, false)).kind, Kind::None);
}

TEST(Material, IsKnownByTheReelOfItsInputElseOfItsInfo)
{
    const auto info = DmSourceInfo::create();
    ok(info->setReelName(L"info"));
    const auto media = DmSourceNode::MediaInput::create();
    ok(media->setSrcInfo(info));
    EXPECT_EQ(dmReelOf(*media), L"info");
    const auto derived = DmSourceNode::DerivedInput::create();
    EXPECT_EQ(dmReelOf(*derived), L"");
    ok(derived->setSrcInfo(info));
    EXPECT_EQ(dmReelOf(*derived), L"info");
    ok(derived->setReelName(L"own"));
    EXPECT_EQ(dmReelOf(*derived), L"own");
    const auto relinked = DmSourceNode::RelinkedInput::create();
    EXPECT_EQ(dmReelOf(*relinked), L"");
    ok(relinked->setReelName(L"wanted"));
    EXPECT_EQ(dmReelOf(*relinked), L"wanted");
}

TEST(Material, OfAContainerIsWhatItsCompositionHas)
{
    const auto inside = compositionOf({gapOf(86400, 100), cutAt(86500), clip(L"one", 86500, 50)});
    ok(inside->setFCM(L"24 fps"));
    ok(inside->setStartTC(86400, L"24 fps"));
    ok(static_cast<DmLayerNode*>(inside->getChild(0)->getChild(0))->setLayerStartTC(86400));
    const auto container = DmContainerNode::create(inside, DM_MEDIA_VIDEO, 0, 100);
    const DmMaterial material = dmMaterialOf(*container);
    EXPECT_TRUE(material.isLimited());
    EXPECT_EQ(material.length, 150);
    EXPECT_EQ(material.begin, 86400);
    EXPECT_EQ(material.fcm, DM::FCM_24);
    ok(inside->setCompLength(120));
    EXPECT_EQ(dmMaterialOf(*container).length, 120);
}

TEST(Material, RemembersItsLengthBesideTheInput)
{
    const auto source = clip(L"clip", 0, 100);
    auto& input = dynamic_cast<DmSourceNode::MediaInput&>(*source->getSrcInput());
    ok(dmSetMaterialLengthUnknown(input));
    EXPECT_FALSE(dmMaterialOf(*source).known);
    ok(dmSetMaterialLength(input, 333.25));
    EXPECT_EQ(dmMaterialOf(*source).length, 333.25);
    EXPECT_EQ(input.getExtraDataDictionary().count(), 1);
    EXPECT_EQ(dmSetMaterialLength(input, -1), DM_BAD_VALUE);
    EXPECT_EQ(dmSetMaterialLength(input, std::nan("")), DM_BAD_VALUE);
    input.freeze();
    EXPECT_EQ(dmSetMaterialLength(input, 10), DM_CANNOT_LOCK);
    EXPECT_EQ(dmMaterialOf(*source).length, 333.25);
}

TEST(Material, BeginsAtItsInTimeOrAtItsLabel)
{
    const auto source = clip(L"clip", 0, 100);
    auto& input = dynamic_cast<DmSourceNode::MediaInput&>(*source->getSrcInput());
    ok(input.setSrcIn(0));
    EXPECT_EQ(dmMaterialOf(*source).begin, 0);
    ok(input.setSrcInStr(L"00:00:10+00"));
    ok(input.setSrcInFcm(L"24 fps"));
    EXPECT_EQ(dmMaterialOf(*source).begin, 250);
    ok(input.setSrcInStr(L"00:00:10+24"));
    EXPECT_EQ(dmMaterialOf(*source).begin, 0) << "no label of the mode";
    ok(input.setSrcIn(240)); // at 24 as well
    EXPECT_EQ(dmMaterialOf(*source).begin, 250);

    const auto derived = DmSourceNode::DerivedInput::create();
    ok(derived->setSrcInStr(L"00:00:10:00"));
    ok(derived->setFcm(L"25 fps"));
    ok(source->setSrcInput(derived));
    EXPECT_EQ(dmMaterialOf(*source).begin, 250);
    ok(derived->setSrcIn(7));
    EXPECT_EQ(dmMaterialOf(*source).begin, 7);
}

TEST(RecordTime, IsALabelTimeOrCountsFromTheStart)
{
    // Where the first layer begins, and a second one, in a composition that starts at 90000.
    const double none = -1;
    const std::tuple<double, double, bool> cases[] = {
        {0, none, false},      {90000, none, true}, {100000, none, true},  {45001, none, true}, {45000, none, false},
        {90000, 44000, false}, {0, 90000, false},   {90000, 100000, true}, {none, none, false},
    };
    for (const auto& [first, second, absolutely] : cases)
    {
        SCOPED_TRACE(std::to_string(first) + ' ' + std::to_string(second));
        const auto composition = DmCompositionNode::create(L"cut", L"25 fps", nullptr);
        ok(composition->setStartTC(90000, L"25 fps"));
        const auto track = DmTrackNode::create(1, DM_MEDIA_VIDEO);
        track->addChild(layerOf({})); // at 0, but it holds nothing
        for (const double start : {first, second})
            if (start >= 0)
            {
                const auto layer = layerOf({gapOf(start, 10)});
                ok(layer->setLayerStartTC(start));
                track->addChild(layer);
            }
        composition->addChild(track);
        EXPECT_EQ(composition->countsAbsolutely(), absolutely);
        EXPECT_EQ(composition->getRecordStart(), absolutely ? 90000 : 0);
        EXPECT_EQ(composition->getLabelTime(90010), absolutely ? 90010 : 180010);
        EXPECT_EQ(composition->getRecordTime(90010), absolutely ? 90010 : 10);
        EXPECT_EQ(composition->getRecordLabel(90010), absolutely ? "01:00:00:10" : "02:00:00:10");
        EXPECT_EQ(composition->getLabelTime(dmNoTime), dmNoTime);
        EXPECT_EQ(composition->getRecordLabel(dmNoTime), "");
    }
    const auto composition = DmCompositionNode::create(L"cut", L"???", nullptr);
    addAny(*composition, {});
    EXPECT_FALSE(composition->countsAbsolutely());
    EXPECT_EQ(composition->getRecordLabel(25), "25");
    const DefaultFcm drop(DM::FCM_29_97_DF);
    EXPECT_EQ(composition->getRecordLabel(1800), "00:01:00;02");
}
