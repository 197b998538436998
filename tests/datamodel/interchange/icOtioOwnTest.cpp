// Documents through OpenTimelineIO: what its schemas have no words for comes back all the same, and what another
// program has changed meanwhile counts.
#include "icInterchange.h"

#include "dmBlobNode.h"
#include "dmColourEffects.h"
#include "dmCompositionNode.h"
#include "dmCutNode.h"
#include "dmGapNode.h"
#include "dmJsonImporter.h"
#include "dmLayerBuilder.h"
#include "dmLayerNode.h"
#include "dmReelNode.h"
#include "dmResizeSettings.h"
#include "dmSourceInput.h"
#include "dmSourceNode.h"
#include "dmTrackNode.h"
#include "dmTreeTool.h"
#include "dmUtf8.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace
{

using interchange::Options;

std::string toOtio(const DmRoot& root, std::string* messages = nullptr)
{
    Options options;
    options.format = "otio";
    std::string text;
    const interchange::Writing written = interchange::writeBuffer(root, text, options);
    EXPECT_TRUE(written.done);
    if (messages)
        *messages = dmFindingsText("cut", written.findings);
    return text;
}

CoSharedPtr<DmRoot> ofOtio(const std::string& text)
{
    const interchange::Reading read = interchange::readBuffer(text);
    EXPECT_TRUE(read.root) << dmFindingsText("cut.otio", read.findings) << text;
    return read.root;
}

CoSharedPtr<DmSourceNode> shot(const wchar_t* name, double recIn, double length, double srcIn = 100)
{
    const auto info = DmSourceInfo::create();
    EXPECT_EQ(info->setReelName(name), DM_NO_ERROR);
    const auto input = DmSourceNode::MediaInput::create(500, srcIn, info, L"25 fps", DM_MEDIA_VIDEO, true);
    EXPECT_EQ(input->setFcm(L"25 fps"), DM_NO_ERROR);
    auto node = DmSourceNode::create(input, recIn, length, 10, false, false);
    EXPECT_EQ(node->setName(name), DM_NO_ERROR);
    EXPECT_EQ(node->setSegmentId(DmString(std::wstring(L"id-") + name)), DM_NO_ERROR);
    return node;
}

/// A document of one video track, whose one layer holds the elements as they stand.
struct Cut
{
    Cut(std::vector<CoSharedPtr<DmTreeNode>> elements, double start = 1000)
    {
        layer->setLayerStartTC(start) == DM_NO_ERROR ? void() : ADD_FAILURE();
        for (const auto& each : elements)
            layer->addChild(each);
        track->addChild(layer);
        composition->addChild(track);
        root->addChild(composition);
        EXPECT_EQ(composition->setStartTC(start, L"25 fps"), DM_NO_ERROR);
    }

    CoSharedPtr<DmLayerNode> layer = DmLayerNode::create(0, DM_MEDIA_VIDEO, 0, false);
    CoSharedPtr<DmTrackNode> track = DmTrackNode::create(1, DM_MEDIA_VIDEO);
    CoSharedPtr<DmCompositionNode> composition = DmCompositionNode::create(L"Cut", L"25 fps", {});
    CoSharedPtr<DmRoot> root = DmRoot::create();
};

CoSharedPtr<DmCutNode> cut(double at)
{
    auto node = DmCutNode::create();
    EXPECT_EQ(node->setMediaType(DM_MEDIA_VIDEO), DM_NO_ERROR);
    EXPECT_EQ(node->setRecIn(at), DM_NO_ERROR);
    return node;
}

std::string replaced(std::string text, const std::string& what, const std::string& with)
{
    const std::size_t at = text.rfind(what); // the innermost object is written last
    EXPECT_NE(at, text.npos) << what << "\n" << text;
    return at == text.npos ? text : text.replace(at, what.size(), with);
}

const DmSourceNode& firstShot(const DmRoot& root)
{
    return static_cast<const DmSourceNode&>(*root.getChild(0)->getChild(0)->getChild(0)->getChild(0));
}

} // namespace

TEST(OtioOwn, DocumentsComeBackEqual)
{
    struct Case
    {
        const char* what;
        std::function<void(Cut&)> change;
    };
    const Case cases[] = {
        {"nothing", [](Cut&) {}},
        {"drop frame", [](Cut& c) { EXPECT_EQ(c.composition->setFCM(L"29.97 fps DF"), DM_NO_ERROR); }},
        {"channels and names",
         [](Cut& c)
         {
             EXPECT_EQ(c.track->setTrackChannel(7), DM_NO_ERROR);
             EXPECT_EQ(c.track->setTrackNum(3), DM_NO_ERROR);
             EXPECT_EQ(c.layer->setName(L"layer"), DM_NO_ERROR);
             EXPECT_EQ(c.root->setName(L"root"), DM_NO_ERROR);
             EXPECT_EQ(c.composition->setColourSpace(L"Rec.709"), DM_NO_ERROR);
             EXPECT_EQ(c.composition->setSamplingRate(48000), DM_NO_ERROR);
             EXPECT_EQ(c.composition->setOrigin(static_cast<eDmOrigin>(3)), DM_NO_ERROR);
         }},
        {"effects and marks",
         [](Cut& c)
         {
             auto& node = static_cast<DmSourceNode&>(*c.layer->getChild(0));
             EXPECT_EQ(node.addEffect(DmResizeSettings::create()), DM_NO_ERROR);
             const auto mark = DmCueMark::create(L"m", 120);
             EXPECT_EQ(mark->setCueMarkColorRed(77), DM_NO_ERROR);
             EXPECT_EQ(node.addSegmentMark(mark), DM_NO_ERROR);
             EXPECT_EQ(node.setShotName(L"s010"), DM_NO_ERROR);
             EXPECT_EQ(node.setRelIn(10.25), DM_NO_ERROR);
         }},
        {"cuts with names, and none",
         [](Cut& c)
         {
             EXPECT_EQ(c.layer->getChild(1)->setComment(L"why here"), DM_NO_ERROR);
             c.layer->removeChild(3);
         }},
        {"attached sets",
         [](Cut& c)
         {
             const auto blob = DmBlobNode::create(L"host", L"data");
             EXPECT_EQ(blob->setBaseBlob(DmBlobNode::create(L"edl", L"event=3 number=4\n0 a note")), DM_NO_ERROR);
             EXPECT_EQ(c.layer->getChild(0)->setBaseBlob(blob), DM_NO_ERROR);
             EXPECT_EQ(c.track->setBaseBlob(DmLookSettings::create()), DM_NO_ERROR);
         }},
        {"layers above, and a result",
         [](Cut& c)
         {
             for (const bool isResult : {false, true})
             {
                 DmLayerBuilder builder(isResult ? 2 : 1, DM_MEDIA_VIDEO, 1000, 0, isResult);
                 EXPECT_EQ(builder.append(shot(isResult ? L"R" : L"U", 1000, 80)), DM_NO_ERROR);
                 c.track->addChild(builder.finish());
             }
         }},
        {"record times from zero",
         [](Cut& c)
         {
             EXPECT_EQ(c.layer->setLayerStartTC(0), DM_NO_ERROR);
             EXPECT_EQ(c.composition->setStartTC(90000, L"25 fps"), DM_NO_ERROR);
             for (int i = 0; i < c.layer->getNbChildren(); ++i)
                 if (DmSegmentNode* const segment = c.layer->getChild(i)->asSegment())
                     EXPECT_EQ(segment->setRecIn(segment->getRecIn() - 1000), DM_NO_ERROR);
                 else
                     EXPECT_EQ(c.layer->getChild(i)->asTransition()->setRecIn(
                                   c.layer->getChild(i)->asTransition()->getRecIn() - 1000),
                               DM_NO_ERROR);
         }},
        {"a hole", [](Cut& c) { c.layer->removeChild(2); }},
        {"an overlap", [](Cut& c) { EXPECT_EQ(c.layer->getChild(0)->asSegment()->setRecLength(60), DM_NO_ERROR); }},
        {"a reel",
         [](Cut& c)
         {
             const auto reel = DmReelNode::create();
             EXPECT_EQ(reel->setName(L"reel"), DM_NO_ERROR);
             reel->addChild(c.composition);
             c.root->removeChild(0);
             c.root->addChild(reel);
         }},
        {"two compositions", [](Cut& c) { c.root->addChild(DmCompositionNode::create(L"Two", L"24 fps", {})); }},
    };
    for (const Case& each : cases)
    {
        SCOPED_TRACE(each.what);
        Cut document({shot(L"A", 1000, 50), cut(1050), shot(L"B", 1050, 25), cut(1075), shot(L"C", 1075, 25)});
        each.change(document);
        const std::string text = toOtio(*document.root);
        std::string difference;
        EXPECT_TRUE(DmTreeTool::areEqual(document.root.get(), ofOtio(text).get(), &difference)) << difference << "\n"
                                                                                                << text;
    }
}

TEST(OtioOwn, ExampleDocumentsComeBackEqual)
{
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(ZR_EXAMPLES))
    {
        CoSharedPtr<DmRoot> root;
        if (DmJsonImporter::importRootFromFile(entry.path().c_str(), root).failed())
            continue;
        ++count;
        std::string difference;
        EXPECT_TRUE(DmTreeTool::areEqual(root.get(), ofOtio(toOtio(*root)).get(), &difference))
            << entry.path() << ": " << difference;
    }
    EXPECT_GE(count, 3);
}

TEST(OtioOwn, HolesAreGapsAndOverlapsAreCovered)
{
    Cut document({shot(L"A", 1000, 60), shot(L"B", 1050, 25), shot(L"C", 1100, 25)});
    std::string messages;
    const std::string text = toOtio(*document.root, &messages);
    EXPECT_EQ(messages, "cut: warning: A, V1, 00:00:40:00: segments that overlap the one before them: the later one "
                        "covers the end of the earlier\n");
    // As a program sees it that does not know our key.
    std::string plain = text;
    for (std::size_t at = plain.find("\"ZRdmtree\""); at != plain.npos; at = plain.find("\"ZRdmtree\""))
        plain.replace(at, 10, "\"Other\"");
    const CoSharedPtr<DmRoot> root = ofOtio(plain);
    std::string times;
    const DmTreeNode& layer = *root->getChild(0)->getChild(0)->getChild(0);
    for (int i = 0; i < layer.getNbChildren(); ++i)
        if (const DmSegmentNode* const segment = layer.getChild(i)->asSegment())
            times += dmUtf8(segment->getName()) + ' ' + std::to_string(static_cast<int>(segment->getRecIn())) + '+' +
                     std::to_string(static_cast<int>(segment->getRecLength())) + ' ';
    EXPECT_EQ(times, "A 1000+50 B 1050+25 untitled 1075+25 C 1100+25 ");
}

TEST(OtioOwn, WhatTheFileSaysByNowWins)
{
    Cut document({shot(L"A", 1000, 50)});
    auto& node = static_cast<DmSourceNode&>(*document.layer->getChild(0));
    ASSERT_EQ(node.setShotName(L"s010"), DM_NO_ERROR);
    ASSERT_EQ(node.addEffect(DmResizeSettings::create()), DM_NO_ERROR);
    const std::string text = toOtio(*document.root);

    const CoSharedPtr<DmRoot> other = ofOtio(replaced(text, "\"name\": \"A\"", "\"name\": \"Z\""));
    const DmSourceNode& renamed = firstShot(*other);
    EXPECT_EQ(dmUtf8(renamed.getName()), "Z");
    EXPECT_EQ(dmUtf8(renamed.getShotName()), "s010");
    EXPECT_EQ(renamed.getEffects().count(), 1);

    const CoSharedPtr<DmRoot> fast = ofOtio(replaced(
        text, "\"effects\": []",
        R"("effects": [{"OTIO_SCHEMA":"LinearTimeWarp.1","metadata":{},"name":"","effect_name":"","time_scalar":2.0}])"));
    ASSERT_EQ(firstShot(*fast).getEffects().count(), 2);
    EXPECT_EQ(dmUtf8(firstShot(*fast).getEffects()[0]->getPSetName()), "DmResizeSettings");
    EXPECT_EQ(dmUtf8(firstShot(*fast).getEffects()[1]->getPSetName()), "DmVTimewarpSettings");
    EXPECT_EQ(dmUtf8(firstShot(*fast).getSegmentId()), "id-A");
}

TEST(OtioOwn, OfTwoClipsWithOneIdTheFirstKeepsIt)
{
    Cut document({shot(L"A", 1000, 50), cut(1050), shot(L"B", 1050, 50)});
    const CoSharedPtr<DmRoot> root = ofOtio(replaced(toOtio(*document.root), "\"id-B\"", "\"id-A\""));
    const DmTreeNode& layer = *root->getChild(0)->getChild(0)->getChild(0);
    EXPECT_EQ(dmUtf8(layer.getChild(0)->asSegment()->getSegmentId()), "id-A");
    const DmSegmentNode& other = *layer.getChild(2)->asSegment();
    EXPECT_NE(dmUtf8(other.getSegmentId()), "id-A");
    ASSERT_EQ(other.getSegmentPreviousIds().size(), 1U);
    EXPECT_EQ(dmUtf8(other.getSegmentPreviousIds().front()), "id-A");
}
