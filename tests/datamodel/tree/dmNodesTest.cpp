#include "treeTools.h"
#include "zrCapturingRouter.h"
#include "zrTestEnv.h"
#include "zrTestInHouse.h"

namespace
{

CoSharedPtr<DmEffectSettings> someEffect()
{
    return DmEffectLayer::create();
}

CoSharedPtr<DmLayerNode> layer(eDmTreeMediaType type)
{
    return DmLayerNode::create(0, type, 0, false);
}

class Announced : public DmPropertyListener
{
public:
    void onPropertyChanged(const DmNodeId& /*id*/, eDmPropType /*type*/, const DmString& propertyName) override
    {
        names.emplace_back(propertyName.view());
    }
    std::vector<std::wstring> names;
};

} // namespace

TEST(Collection, CountsItsChildrenAndRefusesWhatIsNotThere)
{
    const auto reel = DmReelNode::create();
    EXPECT_EQ(reel->addChild(DmBlobNode::create()), 1);
    const auto first = DmCutNode::create();
    EXPECT_EQ(reel->insertChild(first, 0), 2);
    EXPECT_EQ(reel->insertChild(DmCutNode::create(), 2), 3) << "at the end";
    EXPECT_EQ(reel->getChild(0), first.get());

    EXPECT_EQ(reel->addChild(nullptr), 3);
    for (const int index : {-1, 4, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()})
    {
        EXPECT_EQ(reel->insertChild(DmCutNode::create(), index), 3) << index;
        EXPECT_EQ(reel->removeChild(index), 3) << index;
        EXPECT_EQ(reel->getChild(index), nullptr) << index;
    }
    EXPECT_EQ(reel->removeChild(3), 3);
    EXPECT_EQ(reel->getChild(3), nullptr);
    EXPECT_EQ(reel->removeChild(0), 2);
    EXPECT_EQ(first->refCount(), 1);
    EXPECT_EQ(first->getNbChildren(), 0);
    EXPECT_EQ(first->getChild(0), nullptr);

    // A raw node is taken over; a constant collection takes none.
    DmPropertySet* raw = nullptr;
    ok(DmPropertyFactory::getInstance().createPropertySetInstance(L"DmGapNode", DmNodeId(), 0, raw));
    EXPECT_EQ(reel->addChild(static_cast<DmGapNode*>(raw)), 3);
    EXPECT_EQ(raw->refCount(), 1);
    reel->freeze();
    EXPECT_EQ(reel->addChild(first), 3);
    EXPECT_EQ(first->refCount(), 1);
    const auto marked = layer(DM_MEDIA_VIDEO);
    EXPECT_EQ(marked->addCueMark(nullptr), DM_BAD_VALUE);
    const auto mark = DmCueMark::create();
    ok(marked->addCueMark(mark));
    marked->freeze();
    EXPECT_EQ(marked->addCueMark(DmCueMark::create()), DM_CANNOT_LOCK);
    EXPECT_EQ(mark->setCueMarkTime(3), DM_CANNOT_LOCK) << "a layer's marks are no property, and constant with it";
}

TEST(Collection, ReplacesSeveralChildrenInOneChange)
{
    const struct
    {
        int first;
        int count;
        std::vector<double> recIns; ///< of the gaps that go in; a negative one is a gap of sound
        eDmErrorId status;
        std::vector<double> after;
    } cases[] = {
        {0, 0, {}, DM_NO_ERROR, {0, 1, 2, 3}},
        {4, 0, {4, 5}, DM_NO_ERROR, {0, 1, 2, 3, 4, 5}},
        {1, 0, {7, 8, 9}, DM_NO_ERROR, {0, 7, 8, 9, 1, 2, 3}},
        {1, 2, {7}, DM_NO_ERROR, {0, 7, 3}},
        {1, 1, {7, 8, 9}, DM_NO_ERROR, {0, 7, 8, 9, 2, 3}},
        {0, 4, {}, DM_NO_ERROR, {}},
        {2, 2, {7, 8}, DM_NO_ERROR, {0, 1, 7, 8}},
        {3, 2, {7}, DM_BAD_INDEX, {0, 1, 2, 3}},
        {5, 0, {7}, DM_BAD_INDEX, {0, 1, 2, 3}},
        {-1, 1, {7}, DM_BAD_INDEX, {0, 1, 2, 3}},
        {1, -1, {7}, DM_BAD_INDEX, {0, 1, 2, 3}},
        {1, std::numeric_limits<int>::max(), {7}, DM_BAD_INDEX, {0, 1, 2, 3}},
        {0, 4, {7, -1}, DM_BAD_VALUE, {0, 1, 2, 3}},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(testing::Message() << c.first << ' ' << c.count << ' ' << c.recIns.size());
        const auto parent = layer(DM_MEDIA_VIDEO);
        std::vector<CoSharedPtr<DmTreeNode>> old;
        for (const double recIn : {0.0, 1.0, 2.0, 3.0})
            parent->addChild(old.emplace_back(DmGapNode::create(DM_MEDIA_VIDEO, recIn, 1)));
        std::vector<CoSharedPtr<DmTreeNode>> nodes;
        for (const double recIn : c.recIns)
            nodes.emplace_back(DmGapNode::create(recIn < 0 ? DM_MEDIA_AUDIO : DM_MEDIA_VIDEO, recIn, 1));
        Announced announced;
        ok(parent->registerListener(&announced));
        EXPECT_EQ(parent->replaceChildren(c.first, c.count, nodes), c.status);
        EXPECT_EQ(announced.names.size(), c.status == DM_NO_ERROR ? 1U : 0U);
        std::vector<double> recIns;
        for (const DmTreeNode* const child : parent->getChildren())
            recIns.push_back(static_cast<const DmGapNode*>(child)->getRecIn());
        EXPECT_EQ(recIns, c.after);
        for (const auto& node : old)
            EXPECT_EQ(node->refCount(),
                      1 + static_cast<int>(std::count(recIns.begin(), recIns.end(),
                                                      static_cast<const DmGapNode&>(*node).getRecIn())));
        EXPECT_EQ(parent->replaceChildren(0, 0, {nullptr}), DM_BAD_VALUE);
        ok(parent->unregisterListener(&announced));
        parent->freeze();
        EXPECT_EQ(parent->replaceChildren(0, 0, {}), DM_CANNOT_LOCK);
    }
}

TEST(Removals, TakeOneAwayAreAnnouncedOnceAndAreRefusedByAConstant)
{
    const auto named = [](const auto& channel, const wchar_t* name)
    {
        ok(channel->setName(name));
        return channel;
    };
    const auto effect = someEffect();
    const auto channel = DmAnimationChannel::create();
    const auto input = DmSourceNode::MediaInput::create();
    const auto marked = layer(DM_MEDIA_VIDEO);
    constexpr const wchar_t* names[] = {L"gain", L"mix"};
    for (const wchar_t* const name : names)
    {
        ok(effect->addAttribut(named(DmSimpleChannel::create(), name)));
        ok(effect->addChannel(named(DmAnimationChannel::create(), name)));
        ok(channel->addKeyFrame(DmKeyFrame::create()));
        ok(marked->addCueMark(DmCueMark::create()));
        ok(input->addPrimaryFrame(DmFrameNode::create()));
        ok(input->addAltFrame(DmFrameNode::create()));
        ok(input->addAudioFrame(DmFrameNode::create()));
        ok(input->addExtraData(DmSourceNode::DictionaryEntry::create(name, L"")));
    }
    const auto nameOf = [&](int index) { return DmString(index == 0 || index == 1 ? names[index] : L"other"); };
    const auto inList = [](const auto& list) { return std::vector<DmPropertySetPtr>(list.begin(), list.end()); };
    const auto inMap = [&](const auto& at)
    {
        std::vector<DmPropertySetPtr> held;
        for (const wchar_t* const name : names)
            if (const DmPropertySetPtr found = at(name))
                held.push_back(found);
        return held;
    };
    const struct
    {
        const char* what;
        DmPropertySetPtr owner;
        std::function<eDmErrorId(int)> remove;
        std::function<std::vector<DmPropertySetPtr>()> held;
        const wchar_t* announced;
    } rows[] = {
        {"attribute", effect, [&](int i) { return effect->removeAttribut(nameOf(i)); },
         [&] { return inMap([&](const DmString& name) { return effect->getAttributByName(name); }); }, L"attributList"},
        {"channel", effect, [&](int i) { return effect->removeChannel(nameOf(i)); },
         [&] { return inMap([&](const DmString& name) { return effect->getExistingChannelByName(name); }); },
         L"channelList"},
        {"key frame", channel, [&](int i) { return channel->removeKeyFrame(i); },
         [&] { return inList(channel->elementsOf(DmAnimationChannel::KeyFrameList)); }, L"keyFrameList"},
        {"layer mark", marked, [&](int i) { return marked->removeCueMark(i); },
         [&] { return inList(marked->getCueMarks()); }, nullptr},
        {"frame", input, [&](int i) { return input->removePrimaryFrame(i); },
         [&] { return inList(input->getPrimaryFrames()); }, L"primaryFrames"},
        {"alternative frame", input, [&](int i) { return input->removeAltFrame(i); },
         [&] { return inList(input->getAltFrames()); }, L"altFrames"},
        {"sound frame", input, [&](int i) { return input->removeAudioFrame(i); },
         [&] { return inList(input->getAudioFrames()); }, L"audioFrames"},
        {"extra data", input, [&](int i) { return input->removeExtraData(i); },
         [&] { return inList(input->getExtraDataDictionary()); }, L"extraDataDictionary"},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.what);
        std::vector<DmPropertySetPtr> held = row.held();
        ASSERT_EQ(held.size(), 2U);
        Announced announced;
        ok(row.owner->registerListener(&announced));
        for (const int absent : {-1, 2, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()})
            EXPECT_EQ(row.remove(absent), DM_BAD_INDEX) << absent;
        EXPECT_EQ(announced.names, std::vector<std::wstring>());
        ok(row.remove(0));
        EXPECT_EQ(row.held(), std::vector<DmPropertySetPtr>{held[1]});
        EXPECT_EQ(held[0]->refCount(), 1);
        EXPECT_EQ(announced.names,
                  row.announced ? std::vector<std::wstring>{row.announced} : std::vector<std::wstring>());
        ok(row.owner->unregisterListener(&announced));
    }
    EXPECT_EQ(effect->removeChannel(DmString()), DM_BAD_INDEX) << "an empty name stops no process";
    for (const auto& row : rows)
    {
        row.owner->freeze();
        EXPECT_EQ(row.remove(0), DM_CANNOT_LOCK) << row.what;
        EXPECT_EQ(row.held().size(), 1U) << row.what;
    }
}

TEST(Containment, StopsTheProcessUnlessTheHostOpensTheGate)
{
    const auto video = DmTrackNode::create(1, DM_MEDIA_VIDEO);
    const std::tuple<const char*, CoSharedPtr<DmCollectionNode>, CoSharedPtr<DmTreeNode>> cases[] = {
        {nullptr, DmCompositionNode::create(), video},
        {nullptr, video, layer(DM_MEDIA_VIDEO)},
        {nullptr, layer(DM_MEDIA_VIDEO), DmGapNode::create(DM_MEDIA_VIDEO, 0, 1)},
        {nullptr, layer(DM_MEDIA_VIDEO), DmCutNode::create(DM_MEDIA_VIDEO, 0)},
        {nullptr, DmRoot::create(), DmBlobNode::create()},
        {"node->whatIs() == DM_LAYER_NODE", video, DmGapNode::create(DM_MEDIA_VIDEO, 0, 1)},
        {"layerNode->getMediaType() == getMediaType()", video, layer(DM_MEDIA_AUDIO)},
        {"segmentNode->getMediaType() == getMediaType()", layer(DM_MEDIA_AUDIO),
         DmGapNode::create(DM_MEDIA_VIDEO, 0, 1)},
        {"transitionNode->getMediaType() == getMediaType()", layer(DM_MEDIA_AUDIO),
         DmCutNode::create(DM_MEDIA_VIDEO, 0)},
        {"\"A layer only contains transition or segment nodes\" == 0", layer(DM_MEDIA_VIDEO), DmBatchFxNode::create()},
    };
    for (const auto& [cond, parent, child] : cases)
    {
        SCOPED_TRACE(cond ? cond : "allowed");
        // Who asks first, or goes through the property layer, gets an answer.
        const eDmErrorId answer = parent->mayHold(child.get());
        EXPECT_EQ(answer != DM_NO_ERROR, cond != nullptr);
        const DmPropertySetPtr element = child;
        EXPECT_EQ(parent->addValueInPropertyList(DmCollectionNode::Children, DM_VECTOR_PROPERTY_SET, &element), answer);
        if (answer == DM_NO_ERROR)
        {
            EXPECT_EQ(parent->removeChild(0), 0);
        }
        if (cond)
        {
            EXPECT_DEATH(parent->addChild(child), literally("(" + std::string(cond) + ") || zrAssertLogFlush()"));
        }
        OpenGate gate;
        EXPECT_EQ(parent->addChild(child), 1);
        EXPECT_EQ(parent->insertChild(child.get(), 0), 2);
        EXPECT_EQ(gate.failed, std::vector<std::string>(cond ? 2 : 0, cond ? cond : ""));
        EXPECT_EQ(parent->removeChild(0), 1);
        parent->removeChild(0);
    }
    const auto withoutGate = [&]
    {
        const OpenGate gate;
        DmCompositionNode::create()->addChild(layer(DM_MEDIA_VIDEO));
    };
    EXPECT_DEATH(withoutGate(), "Assertion `node->whatIs\\(\\) == DM_TRACK_NODE' failed");
    EXPECT_EQ(DmCompositionNode::create()->mayHold(layer(DM_MEDIA_VIDEO).get()), DM_BAD_PROPERTY_TYPE);
    EXPECT_EQ(DmRoot::create()->mayHold(nullptr), DM_BAD_VALUE);
}

TEST(Creation, SetsWhatItIsGiven)
{
    const auto resolution = DmFrameResolution::create();
    const auto composition = DmCompositionNode::create(L"Été", L"29.97 fps DF", resolution);
    EXPECT_EQ(composition->getName(), L"Été");
    EXPECT_EQ(composition->getFCM(), L"29.97 fps DF");
    EXPECT_EQ(composition->getStartTcFcm(), L"29.97 fps DF");
    EXPECT_EQ(composition->getStartTCStr(), L"00;00;00;00");
    EXPECT_EQ(composition->getResolution(), resolution.get());
    EXPECT_EQ(DmCompositionNode::create(L"", L"", nullptr)->getStartTCStr(), L"");
    const auto effect = someEffect();
    const auto dissolve = DmTrxEffectNode::create(effect, 10, 20, 3);
    EXPECT_EQ(dissolve->getEffect(), effect.get());
    EXPECT_EQ(dissolve->getMediaType(), effect->getMediaType());
    EXPECT_EQ(dissolve->getRelIn(), 3);
    EXPECT_EQ(DmTrxEffectNode::create(nullptr, 0, 0)->getEffect(), nullptr);
    EXPECT_EQ(DmCueMark::create(L"a", 5)->getCueMarkTime(), 5);
}

namespace
{

/// What a property holds, the first of a list; null for none and for a property of another type.
const DmPropertySet* heldBy(const DmPropertySet& set, int index)
{
    const eDmPropType type = set.classData().at(index)->_type;
    if (type == DM_PROPERTY_SET)
        return static_cast<const DmPropertySetPtr*>(set.fieldOf(index))->get();
    const auto* const list =
        type == DM_VECTOR_PROPERTY_SET ? static_cast<const DmPropertySetVector*>(set.fieldOf(index)) : nullptr;
    return list && !list->empty() ? list->front().get() : nullptr;
}

/// The properties in which two sets of one class hold the same object.
std::string sharedBy(const DmPropertySet& a, const DmPropertySet& b)
{
    std::string names;
    for (int i = 0; i < a.classData().size(); ++i)
        if (heldBy(a, i) && heldBy(a, i) == heldBy(b, i))
            names += dmUtf8(a.classData().at(i)->_name) + ' ';
    return names;
}

} // namespace

TEST(Clone, SharesTheMaterialAndOwnsMarksEffectsAndRecords)
{
    const auto mark = DmCueMark::create(L"mark", 5);
    const auto composition = DmCompositionNode::create();
    ok(composition->addCueMark(mark));
    ok(composition->ownResolution()->setWidth(1920));
    const auto reel = DmReelNode::create();
    ok(reel->setBaseBlob(DmBlobNode::create(L"type", L"data")));
    reel->addChild(DmBlobNode::create());
    const auto marked = layer(DM_MEDIA_VIDEO);
    ok(marked->addCueMark(mark));
    const auto source = DmSourceNode::create(DmSourceNode::MediaInput::create(), 10, 20, 3, true, true);
    ok(source->addSegmentMark(mark));
    ok(source->addEffect(someEffect()));
    ok(source->addSrcMultiInput(DmSourceNode::RelinkedInput::create()));
    ok(source->setSegmentId(L"id"));
    const auto input =
        DmSourceNode::MediaInput::create(250, 10, DmSourceInfo::create(), L"25 fps", DM_MEDIA_VIDEO, true);
    ok(input->setPrimaryRes(DmFrameResolution::create()));
    ok(input->addPrimaryFrame(DmFrameNode::create(1, L"a.0001")));
    ok(input->addAltFrame(DmFrameNode::create(1, L"b.0001")));
    ok(input->addAudioFrame(DmFrameNode::create(1, L"c.0001")));
    ok(input->addExtraData(DmSourceNode::DictionaryEntry::create(L"key", L"value")));
    EXPECT_EQ(input->addAltFrame(nullptr), DM_BAD_VALUE);
    EXPECT_EQ(input->getNumberOfPrimaryFrames(), 1);
    EXPECT_EQ(input->getNumberOfAltFrames(), 1);
    EXPECT_EQ(input->getNumberOfAudioFrames(), 1);
    const std::pair<DmPropertySetPtr, const char*> cases[] = {
        {reel, "baseBlob children "},
        {composition, "altResolution "}, // a default is nobody's
        {marked, ""},
        {source, "srcInput srcMultiInput "},
        {DmTrxEffectNode::create(someEffect(), 0, 10), ""},
        {DmContainerNode::create(composition, DM_MEDIA_VIDEO, 0, 10), "composition "},
        {DmRoot::create(), ""},
        {input, "altResolution audioProperties "}};
    for (const auto& [set, shared] : cases)
    {
        SCOPED_TRACE(dmUtf8(set->getPSetName()));
        const auto copy = set->clone();
        bool equal = false;
        ok(dmDeepEqual(*set, *copy, equal));
        EXPECT_TRUE(equal);
        EXPECT_EQ(sharedBy(*set, *copy), shared);
    }
    const auto markedCopy = DM::staticPointerCast<DmLayerNode>(marked->clone());
    ASSERT_EQ(markedCopy->getCueMarks().count(), 1);
    EXPECT_NE(markedCopy->getCueMarks().at(0), mark.get());

    // A node's comment stays behind; the copy's list of children is a list of its own.
    ok(reel->setComment(L"mine"));
    const auto copy = DM::staticPointerCast<DmReelNode>(reel->clone());
    EXPECT_EQ(copy->getComment(), L"");
    EXPECT_EQ(copy->addChild(DmBlobNode::create()), 2);
    EXPECT_EQ(reel->getNbChildren(), 1);
}

TEST(SharedDefault, IsNeverHandedOutForChange)
{
    const auto a = DmCompositionNode::create();
    const auto b = DmCompositionNode::create();
    const DmCompositionNode& constant = *a;
    const auto width = [](const DmFrameResolution* resolution)
    {
        int pixels = 0;
        resolution->getWidth(pixels);
        return pixels;
    };
    EXPECT_EQ(constant.getResolution(), std::as_const(*b).getAltResolution()) << "one for all";
    ok(a->ownResolution()->setWidth(1920));
    EXPECT_EQ(width(constant.getResolution()), 1920);
    EXPECT_EQ(width(constant.getAltResolution()), 0);
    EXPECT_EQ(width(b->getResolution()), 0);
    EXPECT_EQ(a->getResolution(), constant.getResolution()) << "copied once";
    EXPECT_TRUE(a->isPropertyRelevant(DmCompositionNode::Resolution));
    EXPECT_FALSE(a->isPropertyRelevant(DmCompositionNode::AltResolution));
    EXPECT_FALSE(b->isPropertyRelevant(DmCompositionNode::Resolution));

    ok(DmSourceInfo::create()->ownKkInfo()->setCount(3));
    EXPECT_EQ(DmSourceInfo::create()->getKkInfo()->getCount(), 0);
    const auto input = DmSourceNode::MediaInput::create();
    EXPECT_EQ(input->getPrimaryRes(), nullptr);
    EXPECT_EQ(input->ownPrimaryRes(), nullptr);
    ok(input->ownAltRes()->setWidth(1));
    ok(input->ownAudioProperties()->setNbChannels(1));
    EXPECT_EQ(DmSourceNode::MediaInput::create()->getAudioProperties()->getNbChannels(), 0);

    // A constant object keeps what it has.
    const auto frozen = DmCompositionNode::create();
    frozen->freeze();
    EXPECT_EQ(frozen->ownResolution(), nullptr);
    EXPECT_EQ(frozen->getResolution(), b->getResolution());
}

TEST(StartTimeCode, IsSetInThreeForms)
{
    const std::tuple<double, const wchar_t*, const wchar_t*, double> cases[] = {
        {90000, L"25 fps", L"01:00:00:00", 90000},
        {107892, L"29.97 FPS df", L"01;00;00;00", 107892},
        {-30, L"30 fps", L"-00:00:01:00", -30},
        {1.23456, L"24 fps", L"00:00:00+01", 1.235},
        {90000, L"", L"", 90000},
        {90000, L"26 fps", L"", 90000},
        {1e12, L"24 fps", L"24855:08:05+0", 2147483647}, // 13 characters
        {std::nan(""), L"25 fps", L"00:00:00:00", 0},
    };
    for (const auto& [frames, fcm, label, stored] : cases)
    {
        const auto composition = DmCompositionNode::create();
        ok(composition->setStartTC(frames, fcm));
        EXPECT_EQ(composition->getStartTcFcm(), fcm);
        EXPECT_EQ(composition->getStartTCStr(), label) << frames;
        double count = 0;
        ok(composition->getPropertyValue(L"startTC", DM_DOUBLE, &count));
        EXPECT_DOUBLE_EQ(count, stored) << frames;
    }
}

TEST(StartTimeCode, IsReadFromItsLabelWhereTheCountIsNotPositive)
{
    const ZrTestEnv noDefault("ZR_DEFAULT_FCM", nullptr);
    const struct
    {
        double count;
        const wchar_t* label;
        const wchar_t* fcm;
        DM::FrameCodeModes defaultFcm;
        double frames;
        const char* assertion;
    } cases[] = {
        {5, L"01:00:00:00", L"25 fps", DM::FCM_NOT_DEFINED, 5, nullptr},
        {-1, L"01:00:00:00", L"25 FPS", DM::FCM_NOT_DEFINED, 90000, nullptr},
        {0, L"-00:00:01:00", L"25 fps", DM::FCM_NOT_DEFINED, -25, nullptr},
        {0, L"", L"25 fps", DM::FCM_NOT_DEFINED, 0, nullptr},
        {0, L"00:00:00:00", L"???", DM::FCM_NOT_DEFINED, 0, nullptr},
        {0, L"no label", L"", DM::FCM_NOT_DEFINED, 0, nullptr},
        {0, L"01:00:00:00", L"???", DM::FCM_NOT_DEFINED, 0, "startTcFcm != FCM_NOT_DEFINED"},
        {0, L"01:00:00:00", L"", DM::FCM_25, 90000, "startTcFcm != FCM_NOT_DEFINED"},
        {0, L"01:00:61:00", L"25 fps", DM::FCM_NOT_DEFINED, 0, "Invalid timecode"},
        {0, L"01:00:00:25", L"25 fps", DM::FCM_NOT_DEFINED, 0, "Invalid timecode"},
        {0, L"00;01;00;00", L"29.97 fps DF", DM::FCM_NOT_DEFINED, 0, "Invalid timecode"},
        {0, L"9999999999:00:00:00", L"25 fps", DM::FCM_NOT_DEFINED, 2147483647.0 * 90000, nullptr},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(testing::Message() << c.label << ' ' << c.fcm);
        const DefaultFcm mode(c.defaultFcm);
        const auto composition = DmCompositionNode::create();
        ok(composition->setPropertyValue(L"startTC", DM_DOUBLE, &c.count));
        ok(composition->setStartTCStr(c.label));
        ok(composition->setStartTcFcm(c.fcm));
        EXPECT_EQ(composition->getStartTC(), c.frames);
        if (c.assertion)
        {
            EXPECT_IN_HOUSE_DEATH(composition->getStartTC(), c.assertion);
        }
    }
}

TEST(StartTimeCode, WithoutAnyModeAsksTheHostTwice)
{
    const ZrTestEnv noDefault("ZR_DEFAULT_FCM", nullptr);
    const DefaultFcm mode(DM::FCM_NOT_DEFINED);
    if (!ZrTestInHouse::available())
        GTEST_SKIP() << "soft assertions cannot be switched on";
    const auto composition = DmCompositionNode::create();
    ok(composition->setStartTCStr(L"01:00:00:00"));
    const ZrTestInHouse inHouse;
    const OpenGate gate;
    EXPECT_EQ(composition->getStartTC(), 0);
    EXPECT_EQ(gate.failed, (std::vector<std::string>{"startTcFcm != FCM_NOT_DEFINED",
                                                     "TimeUnit::getDefaultFcm() != FCM_NOT_DEFINED"}));
}

TEST(Identification, IsTheRootsOwnUntilOneIsShared)
{
    const auto root = DmRoot::create();
    EXPECT_NE(root->getIdentification(), DmRoot::create()->getIdentification());
    const auto shared = DmIdentification::create();
    ok(root->setIdentification(shared));
    ok(root->setIdentification(shared.get()));
    EXPECT_EQ(root->getIdentification(), shared.get());
    EXPECT_EQ(shared->refCount(), 2);
    const auto reel = DmReelNode::create();
    EXPECT_EQ(root->addReel(reel), 1);
    EXPECT_EQ(root->addReel(reel.get()), 2);
}

TEST(FrameResolution, SetsItsDepthInOne)
{
    const auto resolution = DmFrameResolution::create();
    for (const std::tuple<int, int, bool, bool>& depth : {std::tuple(16, 3, true, false), {8, 1, false, true}})
    {
        std::apply([&](auto... each) { ok(resolution->setDepth(each...)); }, depth);
        std::tuple<int, int, bool, bool> read;
        std::apply([&](auto&... each) { resolution->getDepth(each...); }, read);
        EXPECT_EQ(read, depth);
    }
}

TEST(TreeVisitor, IsTracedOnRequest)
{
    const auto gap = DmGapNode::create();
    ok(gap->setName(L"Été"));
    const zrTest::CapturingRouter router;
    DmTreeVisitor quiet("Quiet");
    gap->accept(quiet);
    const SwitchedOn trace("ZR_DEBUG_DM_TREE_VISITOR");
    DmTreeVisitor traced("Traced");
    gap->accept(traced);
    ASSERT_EQ(router.messages.size(), 1U);
    EXPECT_EQ(router.messages[0].text(), "DmTree VISITOR Traced: Visiting DmGapNode \"Été\"");
}
