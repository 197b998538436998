/// Trees and effects in several threads: what is no property is changed, and made constant, as properties are, and who
/// only reads changes nothing.
#include "testCut.h"
#include "zrThreads.h"

TEST(TreeThreads, MarkOneLayerInEveryWay)
{
    const std::function<int(DmLayerNode&)> mutators[] = {
        [](DmLayerNode& layer)
        {
            ok(layer.addCueMark(DmCueMark::create()));
            return 1;
        },
        [](DmLayerNode& layer)
        {
            const eDmErrorId status = layer.removeCueMark(0);
            EXPECT_TRUE(status == DM_NO_ERROR || status == DM_BAD_INDEX);
            return status == DM_NO_ERROR ? -1 : 0;
        },
    };
    for (const auto& a : mutators)
        for (const auto& b : mutators)
        {
            const auto layer = DmLayerNode::create();
            for (int i = 0; i < 100; ++i)
                ok(layer->addCueMark(DmCueMark::create()));
            std::atomic<int> expected{100};
            runOn(2,
                  [&](int thread)
                  {
                      for (int i = 0; i < 200; ++i)
                          expected += (thread == 0 ? a : b)(*layer);
                  });
            EXPECT_EQ(layer->getCueMarks().count(), expected);
        }
}

TEST(TreeThreads, StoreNothingBesidePropertiesOnceAFreezeHasReturned)
{
    for (int round = 0; round < 50; ++round)
    {
        const auto layer = DmLayerNode::create();
        const auto mark = DmCueMark::create();
        ok(layer->addCueMark(mark));
        const auto effect = DmEffectLayer::create();
        const auto channel = effect->getChannelByName(L"gain");
        const auto key = DmKeyFrame::create();
        std::atomic<bool> isFrozen{false};
        runOn(3,
              [&](int thread)
              {
                  if (thread == 0)
                  {
                      layer->freeze();
                      effect->freeze();
                      isFrozen = true;
                      return;
                  }
                  for (int i = 0; i < 500; ++i)
                  {
                      const bool before = isFrozen;
                      const std::array statuses{layer->addCueMark(DmCueMark::create()), mark->setCueMarkTime(i),
                                                channel->addKeyFrame(key),
                                                effect->setChannelByName(L"mix", DmAnimationChannel::create())};
                      channel->setDefaultKeyFrameFrame(static_cast<float>(i));
                      effect->setFrameRange(i, 1);
                      for (const eDmErrorId status : statuses)
                          ASSERT_TRUE(status == DM_CANNOT_LOCK || (status == DM_NO_ERROR && !before));
                      if (before)
                          return;
                  }
              });
        const int marks = layer->getCueMarks().count();
        const float frame = channel->getDefaultKeyFrameFrame();
        const int start = effect->getStartFrame();
        EXPECT_EQ(layer->removeCueMark(0), DM_CANNOT_LOCK);
        channel->setDefaultKeyFrameFrame(frame + 1);
        effect->setFrameRange(start + 1, 1);
        EXPECT_EQ(layer->getCueMarks().count(), marks);
        EXPECT_EQ(channel->getDefaultKeyFrameFrame(), frame);
        EXPECT_EQ(effect->getStartFrame(), start);
    }
}

TEST(TreeThreads, BuildALayerUntilItBecomesAConstant)
{
    constexpr double never = -1;
    for (int round = 0; round < 50; ++round)
    {
        DmLayerBuilder builder(0, DM_MEDIA_VIDEO);
        const auto layer = builder.finish();
        std::array<CoSharedPtr<DmGapNode>, 100> gaps;
        for (auto& gap : gaps)
            gap = gapOf(never, 1);
        runOn(2,
              [&](int thread)
              {
                  if (thread == 0)
                      return layer->freeze();
                  for (const auto& gap : gaps)
                      if (builder.append(gap) == DM_NO_ERROR && !builder.finish())
                          return;
              });
        int in = 0;
        for (const auto& gap : gaps)
        {
            EXPECT_EQ(builder.holds(gap.get()), gap->getRecIn() != never) << "all of it, or nothing";
            in += builder.holds(gap.get()) ? 1 : 0;
        }
        EXPECT_EQ(layer->getNbChildren(), in == 0 ? 0 : 2 * in - 1);
        EXPECT_TRUE(layer->getLayerLength() == in || layer->getLayerLength() == in - 1);
    }
}

TEST(TreeThreads, MakeOneChannelWhoeverAsksFirst)
{
    const wchar_t* const names[] = {L"gain", L"alpha", L"mix"};
    for (int round = 0; round < 50; ++round)
    {
        const auto effect = DmEffectLayer::create();
        std::array<std::array<CoSharedPtr<DmAnimationChannel>, 3>, 4> seen;
        runOn(4,
              [&](int thread)
              {
                  for (std::size_t i = 0; i < 3; ++i)
                  {
                      const std::size_t name = (i + static_cast<std::size_t>(thread)) % 3;
                      seen[static_cast<std::size_t>(thread)][name] = effect->getChannelByName(names[name]);
                  }
              });
        for (const auto& each : seen)
            EXPECT_EQ(each, seen[0]);
        for (std::size_t name = 0; name < 3; ++name)
            EXPECT_EQ(effect->getExistingChannelByName(names[name]), seen[0][name]);
    }
}

TEST(TreeThreads, ReadOneTreeThatNobodyChanges)
{
    // Through pointers to what may be changed: a getter is one whatever the pointer.
    const TestCut cut;
    const auto input = DmSourceNode::MediaInput::create();
    const auto info = DmSourceInfo::create();
    std::array<std::string, 4> read;
    runOn(4,
          [&](int thread)
          {
              std::ostringstream text;
              int width = -1;
              cut.composition->getResolution()->getWidth(width);
              cut.composition->getAltResolution()->getWidth(width);
              text << width << input->getAltRes() << input->getPrimaryRes() << input->getAudioProperties()
                   << info->getKkInfo();
              ok(DmTreeTool::dump(cut.composition, text));
              text << DmTreeTool::findViolations(cut.composition, DM_VALIDATE_ALL).size()
                   << DmTreeTool::areEqual(cut.composition, DmTreeTool::deepClone(cut.composition))
                   << cut.composition->isPropertyRelevant(DmCompositionNode::Resolution)
                   << DmTreePlaces(cut.composition).of(cut.two).front().text();
              std::string json;
              EXPECT_TRUE(DmTreeJsonBuilder::generateUtf8(cut.composition.get(), json).ok());
              read[static_cast<std::size_t>(thread)] = text.str() + json;
          });
    for (const std::string& each : read)
        EXPECT_EQ(each, read[0]);
    EXPECT_EQ(info->getKkInfo(), dmSharedDefault<DmKKInfo>().get());
}
