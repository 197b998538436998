// Operations on whole timelines, and many threads on one.
#include "zrEditCases.h"
#include "zrFilled.h"

using namespace zrEditCases;

TEST(EditWhole, TracksOfSeveralTimelinesMeet)
{
    check({
        {"concatenate", "AAAA\naaa", "",
         [](DmEdit& e) { return e.concatenate(timeline("XX//YY\nxxx\nZZ", "X0/20 Y5/20")); },
         "AAAA|XX//YY\naaa|-|xxx\n----|ZZ", ""},
        {"concatenate what begins later", "AA\n~XX", "",
         [](DmEdit& e) { return e.concatenate(timeline("~~YY\n~~~~Z")); }, "AA|-|YY\n~XX|--|Z", ""},
        {"concatenate to nothing", "", "", [](DmEdit& e) { return e.concatenate(timeline("XX\nxx")); }, "XX\nxx", ""},
        {"stack", "AAAA", "", [](DmEdit& e) { return e.stack(timeline("XX//YY", "X0/20 Y5/20")); }, "AAAA\nXX//YY", ""},
        {"keep tracks", "AA\nBB\naa", "",
         [](DmEdit& e) {
             return e.keepTracks({1, 2});
         },
         "BB\naa", ""},
        {"no such track", "AA", "", [](DmEdit& e) { return e.dropTracks({1}); }, "! no track 2", ""},
    });
}

// From 0 to 1, and no further where it is told to stop.
TEST(EditWhole, TellsHowFarItIs)
{
    const std::function<DmStatus(DmEdit&)> operations[] = {
        [](DmEdit& e) { return e.flatten(); },
        [](DmEdit& e) { return e.conform(DM::FCM_50, DmEdit::Conform::Clock); },
        [](DmEdit& e) { return e.concatenate(timeline("XX//YY\nxxx\nZZ", "X0/20 Y5/20")); },
        [](DmEdit& e) { return e.stack(timeline("XX//YY\nxxx\nZZ", "X0/20 Y5/20")); },
        [](DmEdit& e) { return e.trimToRange(1, 8); },
        [](DmEdit& e) { return e.redact(); },
    };
    for (const auto& operation : operations)
    {
        SCOPED_TRACE(&operation - operations);
        const DmTimeline before = timeline("AAAA//BBBB\n--|XX|--\n---|Y\naaaa", "A0/20 B5/20");
        DmEdit edit(before);
        double last = 0.0;
        edit.setProgress(
            [&](double done)
            {
                EXPECT_TRUE(done >= last && done <= 1.0) << done << " after " << last;
                last = done;
                return true;
            });
        EXPECT_TRUE(operation(edit).ok());
        DmEdit stopped(before);
        stopped.setProgress([](double) { return false; });
        EXPECT_EQ(dmUtf8(operation(stopped).info()), "Cancelled.");
        EXPECT_TRUE(stopped.timeline() == before);
    }
}

TEST(EditWhole, ARangeHasTheMarksThatStandInIt)
{
    const auto root = zrDrawing::tree("AAAA|BBBB");
    auto& cut = static_cast<DmCompositionNode&>(*root->getChild(0));
    auto& layer = static_cast<DmLayerNode&>(*cut.getChild(0)->getChild(0));
    for (const auto& [time, length] : {std::pair(0.0, 2.0), {1.0, 4.0}, {2.0, 0.0}, {5.0, 9.0}, {6.0, 1.0}, {8.0, 0.0}})
    {
        const auto mark = DmCueMark::create(L"", time);
        static_cast<void>(mark->setCueMarkDuration(length));
        static_cast<void>(cut.addCueMark(mark));
        static_cast<void>(layer.addCueMark(DmCueMark::create(L"", time)));
    }
    DmEdit edit(DmTimeline::publish(root));
    ASSERT_TRUE(edit.trimToRange(2, 6).ok());
    const auto trimmed = edit.timeline().root();
    const auto marksOf = [](const auto& node)
    {
        std::vector<std::pair<double, double>> marks;
        for (int i = 0; i < node.getCueMarks().count(); ++i)
            marks.emplace_back(node.getCueMarks().at(i)->getCueMarkTime(),
                               node.getCueMarks().at(i)->getCueMarkDuration());
        return marks;
    };
    const auto& result = static_cast<DmCompositionNode&>(*trimmed->getChild(0));
    EXPECT_EQ(marksOf(result), (std::vector<std::pair<double, double>>{{0, 3}, {0, 0}, {3, 9}}));
    EXPECT_EQ(marksOf(static_cast<DmLayerNode&>(*result.getChild(0)->getChild(0))),
              (std::vector<std::pair<double, double>>{{0, 0}, {3, 0}}));
}

TEST(EditWhole, RelinkingChangesASharedInputOnce)
{
    const auto root = zrDrawing::tree("AA|BB|CC");
    DmTreeNode* const layer_ = root->getChild(0)->getChild(0)->getChild(0);
    auto* const first = static_cast<DmSourceNode*>(layer_->getChild(0));
    static_cast<void>(first->getSrcInput()->getSrcInfo()->setPath(L"/old/a.mov"));
    static_cast<void>(static_cast<DmSourceNode*>(layer_->getChild(2))
                          ->setSrcInput(CoSharedPtr<DmSourceNode::Input>(first->getSrcInput())));
    DmEdit edit(DmTimeline::publish(root));
    ASSERT_TRUE(edit.relink({L"/old/", L"/new/", {}, {}, {}, {}}).ok());
    const auto sourceAt = [&](int index) {
        return DM::dynamicPointerCast<DmSourceNode>(edit.timeline().element({0, 0, index}));
    };
    EXPECT_EQ(dmUtf8(sourceAt(0)->getSrcInput()->getSrcInfo()->getPath()), "/new/a.mov");
    EXPECT_EQ(sourceAt(0)->getSrcInput(), sourceAt(2)->getSrcInput());
    EXPECT_EQ(dmUtf8(first->getSrcInput()->getSrcInfo()->getPath()), "/old/a.mov");
    EXPECT_FALSE(edit.relink({L"/nowhere/", L"/new/", {}, {}, {}, {}}).ok());
    EXPECT_TRUE(sourceAt(0)->isFrozen());
}

namespace
{

/// The properties of a tree whose texts hold a word.
std::string textsWith(const DmTreeNode& tree, const char* word)
{
    class Words final : public DmPropertyWalker
    {
    public:
        explicit Words(const char* word)
            : _word(word)
        {
        }
        DmWalkStep property(const DmPropertyPath& path) override
        {
            DmString text;
            bool own = false;
            const eDmPropType type = path.def()._type;
            const bool isText = type == DM_STRING || type == DM_CDATA
                                    ? path.owner->getPropertyValue(path.index, type, &text) == DM_NO_ERROR
                                    : type == DM_VECTOR_STRING && path.owner->getStrFromPropertyValue(
                                                                      path.index, type, text, &own) == DM_NO_ERROR;
            if (isText && dmUtf8(text).find(_word) != std::string::npos)
                found += path.text() + " ";
            return DmWalkStep::Into;
        }
        std::string found;

    private:
        const char* _word;
    } words(word);
    static_cast<void>(dmWalk(tree, words));
    return words.found;
}

} // namespace

TEST(EditWhole, RelinksReelsOfEveryKindOfInput)
{
    const CoSharedPtr<DmRoot> root = zrDrawing::tree("AAAA|BBBB");
    const auto sourceAt = [&root](int element)
    { return dynamic_cast<DmSourceNode*>(root->getChild(0)->getChild(0)->getChild(0)->getChild(element)); };
    const auto derived = DmSourceNode::DerivedInput::create();
    const auto relinked = DmSourceNode::RelinkedInput::create();
    ASSERT_EQ(derived->setReelName(L"old"), DM_NO_ERROR);
    ASSERT_EQ(relinked->setReelName(L"old"), DM_NO_ERROR);
    ASSERT_EQ(sourceAt(0)->setSrcInput(derived), DM_NO_ERROR);
    ASSERT_EQ(sourceAt(2)->setSrcInput(relinked), DM_NO_ERROR);
    DmEdit edit(DmTimeline::publish(root));
    ASSERT_TRUE(edit.relink({{}, {}, {}, {}, L"old", L"new"}).ok());
    for (const int element : {0, 2})
    {
        const DmTimeline edited = edit.timeline();
        const auto* const source = dynamic_cast<const DmSourceNode*>(edited.storedElement({0, 0, element}));
        EXPECT_EQ(dmReelOf(*source->getSrcInput()), L"new") << element;
    }
}

TEST(EditWhole, RedactingLeavesNoWord)
{
    const auto root = zrDrawing::tree("AA|BB", "", true);
    auto* const source = static_cast<DmSourceNode*>(root->getChild(0)->getChild(0)->getChild(0)->getChild(0));
    const DmString secret(L"secret");
    static_cast<void>(source->setName(secret));
    static_cast<void>(source->setComment(secret));
    static_cast<void>(source->setShotName(secret));
    static_cast<void>(source->setSegmentId(L"secret@1#V1"));
    static_cast<void>(source->addSegmentPreviousId(secret));
    static_cast<void>(source->getSrcInput()->setName(secret));
    static_cast<void>(source->getSrcInput()->getSrcInfo()->setPath(L"/secret/x.mov"));
    static_cast<void>(source->getSrcInput()->getSrcInfo()->setReelName(secret));
    static_cast<void>(static_cast<DmSourceNode::MediaInput*>(source->getSrcInput())
                          ->addExtraData(DmSourceNode::DictionaryEntry::create(L"note", secret)));
    static_cast<void>(source->setBaseBlob(source->clone()));
    const auto mark = DmCueMark::create();
    static_cast<void>(mark->setCueMarkName(secret));
    static_cast<void>(source->addSegmentMark(mark));
    static_cast<void>(static_cast<DmLayerNode*>(root->getChild(0)->getChild(0)->getChild(0))->addCueMark(mark));
    static_cast<void>(root->getIdentification()->setUser(secret));
    const auto resize = DmResizeSettings::create();
    static_cast<void>(resize->setSetup(secret));
    static_cast<void>(source->addEffect(resize));

    DmEdit edit(DmTimeline::publish(root));
    const std::string before = draw(edit.timeline());
    ASSERT_TRUE(edit.redact().ok());
    EXPECT_EQ(textsWith(*edit.timeline().tree(), "secret"), "");
    EXPECT_EQ(draw(edit.timeline()).size(), before.size());
    // Links stay links.
    const CoSharedPtr<DmTreeNode> element = edit.timeline().element({0, 0, 0});
    EXPECT_NE(dmUtf8(element->asSegment()->getSegmentId()).find('#'), std::string::npos);
}

TEST(EditWhole, RedactingReachesEveryTextOfEveryClass)
{
    constexpr const char* word = "\xc3\x89t\xc3\xa9"; // of zrTest::fill
    const auto root = zrDrawing::tree("AA|BB");
    auto* const layerNode = static_cast<DmLayerNode*>(root->getChild(0)->getChild(0)->getChild(0));
    int effects = 0;
    for (const DmString& name : DmPropertyFactory::getInstance().classNames())
    {
        SCOPED_TRACE(dmUtf8(name));
        const DmPropertySetPtr set = zrTest::fresh(name);
        const CoSharedPtr<DmTreeNode> node = DM::dynamicPointerCast<DmTreeNode>(set);
        const auto effect = DM::dynamicPointerCast<DmEffectSettings>(set);
        const auto input = DM::dynamicPointerCast<DmSourceNode::Input>(set);
        const DmMayHold mayHold = layerNode->classData().at(DmLayerNode::Children)->_mayHold;
        if (node ? mayHold(*layerNode, *node) != DM_NO_ERROR : !effect && !input)
            continue;
        zrTest::fill(*set);
        const CoSharedPtr<DmSourceNode> holder = shot('S', 0, 2, {});
        if (input)
        {
            EXPECT_EQ(holder->setSrcInput(input), DM_NO_ERROR);
        }
        if (effect && holder->addEffect(effect) != DM_NO_ERROR)
            continue; // of the other media type, or of transitions
        effects += effect ? 1 : 0;
        layerNode->addChild(node ? node : CoSharedPtr<DmTreeNode>(holder));
    }
    EXPECT_GT(effects, 30);
    ASSERT_NE(textsWith(*root, word), "");
    DmEdit edit(DmTimeline::publish(root));
    ASSERT_TRUE(edit.redact().ok());
    // What the machine's own words stand in stays: formats, labels, and what parameters are called.
    const std::set<std::string> technical = {"scanFormat",      "colourSpace",     "storageFormat",    "srcInStr",
                                             "imageResizeType", "imageFilterType", "PDFrameType",      "filmGauge",
                                             "telecineSpeed",   "orientationType", "domCorrectionType"};
    std::istringstream left(textsWith(*edit.timeline().tree(), word));
    for (std::string path; left >> path;)
        EXPECT_TRUE(technical.contains(path.substr(path.rfind('/') + 1)) || path.ends_with("List[\"gain\"]/name"))
            << path;
    DmEdit again(edit.timeline());
    ASSERT_TRUE(again.redact().ok()) << "names are redacted to themselves, or to others as meaningless";
}

TEST(EditWhole, ConformingKeepsLabelsOrTheClock)
{
    // An hour of 25, in 50: a frame becomes two, by either reading.
    DmEdit edit(timeline("AAAA|BBBB", "A3/20 B5/20"));
    ASSERT_TRUE(edit.conform(DM::FCM_50, DmEdit::Conform::Clock).ok());
    EXPECT_EQ(draw(edit.timeline()), "AAAAAAAA|BBBBBBBB");
    EXPECT_EQ(positions(edit.timeline()), "A3 B5") << "what plays stays in the material's own mode";
    EXPECT_EQ(edit.timeline().composition()->getCompLength(), 16);
    EXPECT_TRUE(DmTreeTool::findViolations(edit.timeline().composition(), DM_VALIDATE_ALL).empty());
    DmEdit ten(timeline("AAAAAAAAAAAAAAAAAAAAAAAAA|B", "A3/40"));
    ASSERT_TRUE(ten.conform(DM::FCM_24, DmEdit::Conform::Labels).ok());
    EXPECT_EQ(draw(ten.timeline()), std::string(24, 'A') + "|B");
    // A dissolve of which no frame is left is a cut, a gap of which none is left nothing.
    DmEdit half(timeline("AAAAA/BBBBB|-|CC", "A3/20 B5/20 C7/20", false, L"50 fps"));
    ASSERT_TRUE(half.conform(DM::FCM_25, DmEdit::Conform::Clock).ok());
    EXPECT_EQ(draw(half.timeline()), "AAA|BBB|C");
    EXPECT_TRUE(DmTreeTool::findViolations(half.timeline().composition(), DM_VALIDATE_ALL).empty());
    // A dissolve that rounding makes longer than the material in front of a shot begins where that does.
    DmEdit short_(timeline("AA///BBBBB", "A0/20 B3/20"));
    ASSERT_TRUE(short_.conform(DM::FCM_30, DmEdit::Conform::Labels).ok());
    EXPECT_EQ(draw(short_.timeline()), "AAA///BBBBBB");
    EXPECT_EQ(positions(short_.timeline()), "A0 B3");
    DmEdit same(timeline("AAAA"));
    EXPECT_FALSE(same.conform(DM::FCM_NOT_DEFINED, DmEdit::Conform::Labels).ok());
}

TEST(EditThreads, ReadersSeeWholeTimelinesWhileOneEdits)
{
    std::string drawing;
    for (int i = 0; i < 300; ++i)
        drawing += (i > 0 ? "|" : "") + std::string(4, char('A' + i % 26));
    DmHistory history(timeline(drawing, "A5 B5 C5"));
    std::atomic<bool> stop{false};
    std::atomic<int> broken{0};
    std::vector<std::thread> readers;
    for (int i = 0; i < 7; ++i)
        readers.emplace_back(
            [&, i]
            {
                while (!stop.load())
                {
                    const DmTimeline now = history.current();
                    const auto composition = now.composition();
                    const DmTreeNode* const layerNode = composition->getChild(0)->getChild(0);
                    double time = 0.0;
                    for (int k = 0; k < layerNode->getNbChildren(); ++k)
                        if (const DmSegmentNode* const segment = layerNode->getChild(k)->asSegment())
                        {
                            broken += segment->getRecIn() != time;
                            time = segment->getRecOut();
                        }
                    broken += time != composition->getCompLength();
                    std::string document; // one saves what it sees
                    broken += i == 1 && !DmTreeJsonBuilder::generateUtf8(now.tree().get(), document).ok();
                    broken += i == 0 && now.at({0, 0}, time / 2) == std::nullopt;
                }
            });
    for (int step = 0; step < 150; ++step)
    {
        DmEdit edit(history.current());
        const int index = (step * 37 % 250) * 2;
        static_cast<void>(edit.rippleTrim({0, 0, index}, DM_TAIL, step % 2 == 0 ? -1 : 1));
        history.add(L"trim", edit);
        if (step % 5 == 4)
            history.undo();
    }
    stop = true;
    for (std::thread& reader : readers)
        reader.join();
    EXPECT_EQ(broken.load(), 0);
}
