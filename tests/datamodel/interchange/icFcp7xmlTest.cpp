#include "icInterchange.h"
#include "icLeftovers.h"

#include "dmAudioEffects.h"
#include "dmColourEffects.h"
#include "dmCompositionNode.h"
#include "dmContainerNode.h"
#include "dmLayerNode.h"
#include "dmMaterial.h"
#include "dmPlayed.h"
#include "dmReelNode.h"
#include "dmSourceInput.h"
#include "dmSourceNode.h"
#include "dmTimewarpSettings.h"
#include "dmTrackNode.h"
#include "dmTransformEffects.h"
#include "dmTreeTool.h"
#include "dmTrxEffectNode.h"
#include "dmUtf8.h"
#include "dmWipeSettings.h"

#include <gtest/gtest.h>
#include <pugixml.hpp>

#include <sys/resource.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <functional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

using namespace interchange;

namespace
{

struct Read
{
    CoSharedPtr<DmRoot> root;
    std::string messages;

    DmCompositionNode& composition(int index = 0) const
    {
        return dynamic_cast<DmCompositionNode&>(*root->getChild(index));
    }
    DmLayerNode& layer(int track = 0) const
    {
        return dynamic_cast<DmLayerNode&>(*composition().getChild(track)->getChild(0));
    }
    /// The nth element of a track that is no cut.
    DmTreeNode& element(int number, int track = 0) const
    {
        for (int i = 0; i < layer(track).getNbChildren(); ++i)
            if (DmTreeNode* const node = layer(track).getChild(i); node->whatIs() != DM_CUT_NODE && number-- == 0)
                return *node;
        throw std::out_of_range("no such element");
    }
    DmSegmentNode& segment(int number, int track = 0) const { return *element(number, track).asSegment(); }
};

Read read(const std::string& text, bool lenient = false)
{
    Options options;
    options.format = "fcp7xml";
    options.lenient = lenient;
    Reading reading = readBuffer(text, options);
    Read result{reading.root, dmFindingsText("x.xml", reading.findings)};
    for (int i = 0; result.root && i < result.root->getNbChildren(); ++i)
        if (auto* const composition = dynamic_cast<DmCompositionNode*>(result.root->getChild(i)))
            for (const DmTreeViolation& violation : DmTreeTool::findViolations(composition, DM_VALIDATE_ALL))
                ADD_FAILURE() << violation.path << ": " << dmUtf8(violation.message);
    return result;
}

/// Through a document, and what was said of it.
Read flattened(const DmRoot& root)
{
    Options options;
    options.format = "json";
    options.flatten = true;
    std::string bytes;
    const Writing writing = writeBuffer(root, bytes, options);
    return {readBuffer(bytes).root, dmFindingsText("x.xml", writing.findings)};
}

std::string write(const DmRoot& root, std::string* messages = nullptr)
{
    Options options;
    options.format = "fcp7xml";
    std::string bytes;
    const Writing writing = writeBuffer(root, bytes, options);
    if (messages)
        *messages = dmFindingsText("x.xml", writing.findings);
    return bytes;
}

/// One element a line, so that two files compare whatever their white space.
void describe(pugi::xml_node node, int depth, std::string& text)
{
    if (node.type() == pugi::node_pcdata)
        return;
    text.append(static_cast<std::size_t>(depth), ' ').append(node.name()).append(node.value());
    for (const pugi::xml_attribute attribute : node.attributes())
        text.append(" ").append(attribute.name()).append("=").append(attribute.value());
    if (!node.first_child().next_sibling())
        text.append(": ").append(node.child_value());
    text += '\n';
    for (const pugi::xml_node child : node.children())
        describe(child, depth + 1, text);
}
std::string elements(const std::string& xml)
{
    pugi::xml_document document;
    const pugi::xml_parse_result result = document.load_string(xml.c_str(), pugi::parse_default | pugi::parse_comments);
    std::string text = result ? "" : result.description();
    describe(document.document_element(), 0, text);
    return text;
}

// Small files

std::string rate(int timebase, bool ntsc = false)
{
    return "<rate><timebase>" + std::to_string(timebase) + "</timebase><ntsc>" + (ntsc ? "TRUE" : "FALSE") +
           "</ntsc></rate>";
}
std::string off(std::string element)
{
    return element.replace(element.find("TRUE"), 4, "FALSE");
}
std::string file(const char* id, int length, const std::string& further = "", const std::string& ofRate = rate(25))
{
    return "<file id=\"" + std::string(id) + "\"><name>" + id + ".mov</name><pathurl>file://localhost/m/" + id +
           ".mov</pathurl>" + ofRate + "<duration>" + std::to_string(length) + "</duration>" + further + "</file>";
}
std::string same(const char* id)
{
    return "<file id=\"" + std::string(id) + "\"/>";
}
std::string clip(const char* id, int start, int end, int in, int out, const std::string& further,
                 const std::string& ofRate = rate(25), const char* kind = "clipitem")
{
    return "<" + std::string(kind) + " id=\"" + id + "\"><name>" + id +
           "</name><enabled>TRUE</enabled><duration>500</duration>" + ofRate + "<start>" + std::to_string(start) +
           "</start><end>" + std::to_string(end) + "</end><in>" + std::to_string(in) + "</in><out>" +
           std::to_string(out) + "</out>" + further + "</" + kind + ">";
}
std::string mix(int start, int end, const char* alignment, const char* id = "Cross Dissolve",
                const char* category = "Dissolve")
{
    return "<transitionitem><start>" + std::to_string(start) + "</start><end>" + std::to_string(end) +
           "</end><alignment>" + alignment + "</alignment>" + rate(25) + "<effect><name>" + id + "</name><effectid>" +
           id + "</effectid><effectcategory>" + category +
           "</effectcategory><effecttype>transition</effecttype><mediatype>video</mediatype>"
           "<wipecode>0</wipecode></effect></transitionitem>";
}
std::string filter(const char* id, const std::string& parameters)
{
    return "<filter><effect><name>" + std::string(id) + "</name><effectid>" + id + "</effectid>" + parameters +
           "</effect></filter>";
}
std::string parameter(const char* id, const std::string& value)
{
    return "<parameter authoringApp=\"X\"><parameterid>" + std::string(id) + "</parameterid><name>" + id +
           "</name><valuemin>0</valuemin>" + value + "</parameter>";
}
std::string value(const std::string& text)
{
    return "<value>" + text + "</value>";
}
/// `sound`: tracks.
std::string sequence(const std::string& picture, const std::string& sound = "", const std::string& further = "",
                     const std::string& ofRate = rate(25), const char* id = "sequence-1")
{
    return "<sequence id=\"" + std::string(id) + "\"><uuid>1</uuid><name>cut</name><duration>1</duration>" + ofRate +
           "<media><video><track>" + picture + "<enabled>TRUE</enabled></track></video>" +
           (sound.empty() ? "" : "<audio>" + sound + "</audio>") + "</media>" + further + "</sequence>";
}
std::string xmeml(const std::string& inside, const char* version = "5")
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE xmeml>\n<xmeml version=\"" + std::string(version) +
           "\">\n" + inside + "\n</xmeml>\n";
}
std::string timecode(int frame, const char* format = "NDF")
{
    return "<timecode>" + rate(25) + "<string>00:00:00:00</string><frame>" + std::to_string(frame) +
           "</frame><displayformat>" + format + "</displayformat></timecode>";
}
std::string sound(const std::string& items, int channel = 1)
{
    return "<track PannerCurrentValue=\"0.5\">" + items + "<outputchannelindex>" + std::to_string(channel) +
           "</outputchannelindex></track>";
}
std::string sourceTrack(int number)
{
    return "<sourcetrack><mediatype>audio</mediatype><trackindex>" + std::to_string(number) +
           "</trackindex></sourcetrack>";
}
std::string link(const char* id, const char* type, int track, int index)
{
    return "<link><linkclipref>" + std::string(id) + "</linkclipref><mediatype>" + type + "</mediatype><trackindex>" +
           std::to_string(track) + "</trackindex><clipindex>" + std::to_string(index) +
           "</clipindex><groupindex>1</groupindex></link>";
}

const std::string dissolved =
    clip("a", 0, -1, 10, 122, file("f1", 500)) + mix(100, 112, "center") + clip("b", -1, 200, 30, 130, same("f1"));

TEST(Fcp7xml, ComesBackElementForElement)
{
    const std::string links = link("v", "video", 1, 1) + link("s", "audio", 1, 1);
    const std::string key = "<keyframe><when>10</when><value>50</value><interpolation><name>FCPCurve</name>"
                            "</interpolation></keyframe>";
    const std::string texts[] = {
        xmeml(sequence(dissolved)),
        xmeml("<!-- a note -->" + sequence(dissolved), "4"),
        // What nobody knows, in whatever order; numbers that are written otherwise; empty elements
        xmeml("<sequence explodedTracks=\"true\"><x/><rate><ntsc>false</ntsc><timebase>25</timebase></rate><media>"
              "<video><y a=\"&lt;\">&amp; b</y><format><samplecharacteristics><height>720</height><width>1280</width>"
              "</samplecharacteristics></format><track z=\"1\"><locked>TRUE</locked><clipitem><file id=\"/\">"
              "<timecode><frame>86400</frame><reel><name></name></reel></timecode></file><out>25.0</out><in>0.0</in>"
              "<end>25</end><start>0</start><name/><w><v><u>1</u></v></w></clipitem></track></video></media>"
              "<name>n</name></sequence>"),
        // Fades, a clip that its transitions leave nothing of
        xmeml(sequence(mix(0, 10, "start-black") + clip("a", -1, -1, 0, 60, file("f1", 500)) +
                       mix(50, 60, "end-black") + clip("b", 100, -1, 0, 60, same("f1")) + mix(140, 160, "end") +
                       clip("c", -1, -1, 0, 40, same("f1")) + mix(160, 180, "start") +
                       clip("d", -1, 300, 0, 140, same("f1")))),
        // The cut named inside a transition, with what of the clips stands there
        xmeml(sequence(clip("a", 0, 208, 34, 242, file("f1", 500)) + mix(196, 221, "center") +
                       clip("b", 208, 290, 18, 100, same("f1")))),
        // Sound with links, in full and by reference, defined before and behind
        xmeml(sequence(clip("v", 0, 50, 0, 50, same("f1") + links),
                       sound(clip("s", 0, 50, 0, 50, file("f1", 500) + sourceTrack(1) + links)) +
                           sound(clip("t", 0, 50, 0, 50, same("f1") + sourceTrack(2)), 2))),
        // A track that is off, and in it a clip that is
        xmeml(sequence(clip("a", 0, 50, 0, 50, file("f1", 500)),
                       "<track>" + clip("s", 0, 50, 0, 50, same("f1")) + off(clip("t", 50, 100, 0, 50, same("f1"))) +
                           "<enabled>FALSE</enabled></track>" + off("<track><enabled>TRUE</enabled></track>"))),
        // Nested sequences, by reference and in full; bins with master clips
        xmeml("<project><name>p</name><children><bin><name>b</name><children><clip id=\"m\"><name>m</name>" +
              file("f1", 500) + "</clip>" + sequence(dissolved, "", "", rate(25), "s2") + "</children></bin>" +
              sequence(clip("n", 0, 100, 20, 120, "<sequence id=\"s2\"/>")) + "</children></project>"),
        xmeml("<bin><name>b</name><children><x/>text" + sequence(dissolved) + "<y/></children></bin>"),
        xmeml(sequence(clip("n", 0, 100, 0, 100, sequence(dissolved, "", "", rate(25), "s2")) +
                       clip("o", 100, 150, 0, 50, "<sequence id=\"s2\"/>"))),
        // Speeds, filters with key frames, looks, markers, generators
        xmeml(sequence(
            clip("a", 0, 50, 20, 70,
                 file("f1", 500) +
                     filter("timeremap", parameter("variablespeed", value("0")) + parameter("speed", value("200")) +
                                             parameter("reverse", value("FALSE"))) +
                     filter("basic", parameter("scale", value("100") + key) +
                                         parameter("center", value("<horiz>0.1</horiz><vert>-0.25</vert>")) +
                                         parameter("antiflicker", value("0.5"))) +
                     filter("crop", parameter("left", value("12.5"))) + filter("opacity", parameter("opacity", key)) +
                     filter("unheard of", "<a/>") +
                     "<marker><comment>c</comment><name>m</name><in>20</in><out>-1</out></marker>"
                     "<marker><name>m</name><in>30</in><out>35</out><color><alpha>0</alpha><red>1</red>"
                     "<green>2</green><blue>3</blue></color></marker>"
                     "<colorinfo><asc_sop>(1 1 1) (0 0 0)(1 1 1)</asc_sop><asc_sat>0.90</asc_sat></colorinfo>") +
                clip("b", 50, 100, 0, 50, "<effect><effectid>Color</effectid></effect>", rate(25), "generatoritem") +
                clip("c", 100, 150, 0, 50,
                     same("f1") +
                         filter("timeremap", parameter("variablespeed", value("1")) +
                                                 parameter("graphdict", "<keyframe><when>0</when><value>10</value>"
                                                                        "</keyframe><keyframe><when>50</when>"
                                                                        "<value>70</value></keyframe>"))),
            sound(clip("s", 0, 50, 0, 50, same("f1") + filter("audiolevels", parameter("level", value("0.5"))))),
            "<in>10</in><out>-1</out><marker><name>x</name><in>5</in><out>-1</out></marker>" + timecode(90000))),
    };
    for (const std::string& text : texts)
    {
        SCOPED_TRACE(text);
        const Read made = read(text);
        EXPECT_EQ(made.messages, "");
        ASSERT_TRUE(made.root);
        std::string messages;
        EXPECT_EQ(elements(write(*made.root, &messages)), elements(text));
        EXPECT_EQ(messages, "");
    }
}

TEST(Fcp7xml, TransitionsTakeFromWhatStandsBesideThem)
{
    const Read made = read(xmeml(sequence(clip("a", 0, -1, 34, 255, file("f1", 500)) + mix(196, 221, "center") +
                                          clip("b", -1, 290, 6, 100, same("f1")))));
    ASSERT_TRUE(made.root) << made.messages;
    EXPECT_EQ(made.segment(0).getRecLength(), 196);
    EXPECT_EQ(made.segment(0).getRelIn(), 34);
    const auto& trx = dynamic_cast<DmTrxEffectNode&>(made.element(1));
    EXPECT_EQ(trx.getRecIn(), 196);
    EXPECT_EQ(trx.getRecLength(), 25);
    EXPECT_EQ(trx.getRelIn(), 12) << "where the cut is";
    EXPECT_EQ(made.segment(2).getRecIn(), 221);
    EXPECT_EQ(made.segment(2).getRelIn(), 31);
    EXPECT_EQ(made.segment(2).getRecLength(), 69);
    // A file that names the cut inside the transition says the same.
    const Read other = read(xmeml(sequence(clip("a", 0, 208, 34, 242, file("f1", 500)) + mix(196, 221, "center") +
                                           clip("b", 208, 290, 18, 100, same("f1")))));
    ASSERT_TRUE(other.root) << other.messages;
    EXPECT_EQ(other.segment(2).getRelIn(), 31);
    const Read again = read(write(*other.root));
    ASSERT_TRUE(again.root) << again.messages;
    EXPECT_EQ(again.segment(2).getRelIn(), 31);
    EXPECT_EQ(again.segment(0).getRecLength(), 196);
    // One that mixes with nothing, right before a clip
    const Read fade = read(xmeml(sequence(clip("a", 0, -1, 0, 60, file("f1", 500)) + mix(50, 60, "end-black") +
                                          clip("b", 60, 100, 0, 40, same("f1")))));
    ASSERT_TRUE(fade.root) << fade.messages;
    EXPECT_EQ(fade.element(2).whatIs(), DM_GAP_NODE);
    EXPECT_EQ(fade.segment(3).getRelIn(), 0);
    EXPECT_EQ(fade.segment(3).getRecIn(), 60);
}

TEST(Fcp7xml, TimesCountAtTheirOwnRatesAndSpeeds)
{
    const auto speed = [](const char* percent, const char* reverse = "FALSE")
    {
        return filter("timeremap", parameter("variablespeed", value("0")) + parameter("speed", value(percent)) +
                                       parameter("reverse", value(reverse)));
    };
    const struct
    {
        const char* what;
        std::string text;
        double relIn;
        double begin; ///< of what plays, and its end, from the material's begin
        double end;
        double srcIn;
        const char* mode; ///< of the material
    } cases[] = {
        {"a clip at 15 of a file at 30",
         sequence(clip("a", 536, 636, 5, 55, file("f", 300, "", rate(30)), rate(15)), "", "", rate(30)), 10, 10, 110, 0,
         "30 fps"},
        {"double speed", sequence(clip("a", 0, 50, 20, 70, file("f", 500) + speed("200"))), 40, 40, 140, 0, "25 fps"},
        {"half speed at another rate",
         sequence(clip("a", 0, 50, 20, 120, file("f", 500, "", rate(50)) + speed("50"), rate(50))), 10, 10, 60, 0,
         "50 fps"},
        {"backwards", sequence(clip("a", 0, 50, 20, 70, file("f", 500) + speed("100", "TRUE"))), 20, 20, 70, 0,
         "25 fps"},
        {"a negative speed", sequence(clip("a", 0, 50, 20, 70, file("f", 500) + speed("-200"))), 40, 40, 140, 0,
         "25 fps"},
        {"a freeze", sequence(clip("a", 0, 50, 20, 70, file("f", 500) + speed("0"))), 20, 20, 21, 0, "25 fps"},
        {"a file's time code at its rate",
         sequence(clip("a", 0, 50, 0, 100, file("f", 500, timecode(180000), rate(50)), rate(50))), 0, 0, 100, 180000,
         "50 fps"},
        {"a file at a rate that no mode has", sequence(clip("a", 0, 50, 3, 33, file("f", 150, "", rate(15)), rate(15))),
         5, 5, 55, 0, "25 fps"},
        {"1000/1001",
         sequence(clip("a", 0, 60, 24, 84, file("f", 500, "", rate(24, true)), rate(24, true)), "", "", rate(24, true)),
         24, 24, 84, 0, "23.976 fps"},
        {"drop frame",
         sequence(clip("a", 0, 60, 0, 60, file("f", 500, "", rate(30, true)), rate(30, true)), "", timecode(1800, "DF"),
                  rate(30, true)),
         0, 0, 60, 0, "29.97 fps NDF"},
        {"from before its file", sequence(clip("a", 0, 50, -10, 40, file("f", 500, timecode(90000)))), 0, 0, 50, 89990,
         "25 fps"},
    };
    for (const auto& each : cases)
    {
        SCOPED_TRACE(each.what);
        const Read made = read(xmeml(each.text));
        ASSERT_TRUE(made.root) << made.messages;
        EXPECT_EQ(elements(write(*made.root)), elements(xmeml(each.text)));
        for (const Read& one : {made, read(write(*made.root))})
        {
            const DmSegmentNode& segment = one.segment(one.element(0).whatIs() == DM_GAP_NODE ? 1 : 0);
            const DmPlayed played(segment,
                                  DM::FcmUtil::getFCMFromString(dmUtf8(one.composition().getFCM()).c_str(), true));
            EXPECT_EQ(segment.getRelIn(), each.relIn);
            EXPECT_NEAR(played.begin(), each.begin, 1e-6);
            EXPECT_NEAR(played.end(), each.end, 1e-6);
            EXPECT_EQ(dmMaterialOf(segment).begin, each.srcIn);
            EXPECT_STREQ(DM::FcmUtil::getFCMString(played.fcm()), each.mode);
        }
    }
    // A curve that comes from before its file, and a label before 0.
    const auto key = [](const char* when, const char* at)
    { return "<keyframe><when>" + std::string(when) + "</when><value>" + at + "</value></keyframe>"; };
    const Read early = read(xmeml(sequence(
        clip("a", 0, 50, 0, 50,
             file("f", 500) + filter("timeremap", parameter("variablespeed", value("1")) +
                                                      parameter("graphdict", key("0", "-20") + key("50", "70")))),
        "", timecode(-100))));
    EXPECT_EQ(early.messages, "");
    EXPECT_EQ(early.segment(0).getRelIn(), 0);
    EXPECT_EQ(early.composition().getStartTC(), 0);
    EXPECT_EQ(early.composition().getStartTCStr(), L"00:00:00:00");
    const Read drop = read(xmeml(cases[9].text));
    EXPECT_EQ(drop.composition().getFCM(), L"29.97 fps DF");
    EXPECT_EQ(drop.segment(0).getRecIn(), 1800) << "record times are those of the labels";
    EXPECT_NE(write(*drop.root).find("<timebase>30</timebase>"), std::string::npos);
}

TEST(Fcp7xml, WhatAClipHasBecomesPropertiesOfTheModel)
{
    const std::string links = link("v", "video", 1, 1) + link("s", "audio", 1, 1);
    const std::string key = "<keyframe><when>30</when><value>25</value></keyframe>";
    const Read made = read(xmeml(sequence(
        clip("v", 0, 50, 20, 70,
             file("f1", 500, "<timecode>" + rate(25) + "<frame>90000</frame><reel><name>R1</name></reel></timecode>") +
                 filter("basic", parameter("center", value("<horiz>0.5</horiz><vert>-0.5</vert>")) +
                                     parameter("rotation", value("45"))) +
                 filter("opacity", parameter("opacity", value("40") + key)) + links),
        sound(clip("s", 0, 50, 20, 70,
                   same("f1") + sourceTrack(2) + filter("audiolevels", parameter("level", value("0.1"))) + links),
              4),
        "<media/>")));
    ASSERT_TRUE(made.root) << made.messages;
    const DmSegmentNode& picture = made.segment(0);
    const DmSegmentNode& tone = made.segment(0, 1);
    EXPECT_EQ(dmUtf8(picture.getSegmentId()), "/m/f1.mov@90020#V1");
    EXPECT_EQ(dmUtf8(tone.getSegmentId()), "/m/f1.mov@90020#A1");
    EXPECT_EQ(dynamic_cast<DmTrackNode&>(*made.composition().getChild(1)).getTrackChannel(), 4);
    const auto& input = *dynamic_cast<const DmSourceNode&>(tone).getSrcInput();
    EXPECT_EQ(input.getAudioProperties()->getChannelIdx(), 1);
    EXPECT_EQ(input.getSrcInfo()->getReelName(), L"R1");
    const auto channel = [](const DmSegmentNode& segment, unsigned effect, const wchar_t* name)
    { return static_cast<const DmEffectSettings&>(*segment.getEffects()[effect]).getExistingChannelByName(name); };
    EXPECT_FLOAT_EQ(channel(picture, 0, L"layerPositionX")->getValue(), 960);
    EXPECT_FLOAT_EQ(channel(picture, 0, L"layerPositionY")->getValue(), -540);
    EXPECT_FLOAT_EQ(channel(picture, 0, L"layerRotationZ")->getValue(), 45);
    EXPECT_FALSE(channel(picture, 0, L"layerScaleX"));
    ASSERT_EQ(channel(picture, 1, L"transparency")->getNbKeyFrames(), 1);
    EXPECT_FLOAT_EQ(channel(picture, 1, L"transparency")->getKeyFrame(0)->getFrame(), 10) << "from the segment's begin";
    EXPECT_FLOAT_EQ(channel(picture, 1, L"transparency")->getKeyFrame(0)->getValue(), 75);
    EXPECT_FLOAT_EQ(channel(tone, 0, L"gain")->getValue(), -20);
}

TEST(Fcp7xml, AnEditShowsAndTheRestStaysAsItWas)
{
    const std::string text = xmeml(
        sequence(clip("a", 0, 50, 20, 70, file("f1", 500, "<x/>") + "<pproTicksIn>203212800000</pproTicksIn><y/>") +
                 clip("b", 50, -1, 0, 62, same("f1")) + mix(100, 112, "center") +
                 clip("c", -1, 200, 0, 100, same("f1") + "<z/>")));
    const struct
    {
        const char* what;
        std::function<void(const Read&)> edit;
        std::vector<std::pair<std::string, std::string>> differences; ///< a line of the elements, and what it becomes
    } cases[] = {
        {"nothing", [](const Read&) {}, {}},
        {"trim",
         [](const Read& made)
         {
             EXPECT_EQ(made.segment(0).setRelIn(25), DM_NO_ERROR);
             EXPECT_EQ(made.segment(0).setRecIn(5), DM_NO_ERROR);
             EXPECT_EQ(made.segment(0).setRecLength(45), DM_NO_ERROR);
         },
         {{"start: 0", "start: 5"}, {"in: 20", "in: 25"}, {"pproTicksIn: 203212800000", "pproTicksIn: 254016000000"}}},
        {"ripple before the dissolve",
         [](const Read& made)
         {
             for (const int i : {1, 3})
                 EXPECT_EQ(made.segment(i).setRecIn(made.segment(i).getRecIn() + 10), DM_NO_ERROR);
             auto& trx = dynamic_cast<DmTrxEffectNode&>(made.element(2));
             EXPECT_EQ(trx.setRecIn(110), DM_NO_ERROR);
         },
         {{"start: 50", "start: 60"},
          {"start: 100", "start: 110"},
          {"end: 112", "end: 122"},
          {"end: 200", "end: 210"}}},
        {"delete the clip that defines the file", [](const Read& made) { made.layer().removeChild(0); }, {}},
    };
    for (const auto& each : cases)
    {
        SCOPED_TRACE(each.what);
        const Read made = read(text);
        ASSERT_TRUE(made.root) << made.messages;
        each.edit(made);
        std::string expected = elements(text);
        for (const auto& [before, after] : each.differences)
            expected.replace(expected.find(before), before.size(), after);
        const std::string written = elements(write(*made.root));
        if (std::string_view(each.what).starts_with("delete"))
        {
            EXPECT_NE(written.find("file id=f1:"), std::string::npos) << written;
            EXPECT_NE(written.find("pathurl: file://localhost/m/f1.mov"), std::string::npos) << written;
            EXPECT_NE(written.find("      x:"), std::string::npos) << "what nobody knows of the file: " << written;
        }
        else if (std::string_view(each.what) == "ripple before the dissolve")
            EXPECT_EQ(written.substr(written.find("media:")), expected.substr(expected.find("media:")));
        else
            EXPECT_EQ(written, expected);
    }
    // A copy has an id of its own.
    const Read made = read(text);
    const CoSharedPtr<DmTreeNode> copy = DmTreeTool::deepClone(CoSharedPtr<DmTreeNode>(&made.element(0)));
    EXPECT_EQ(copy->asSegment()->setRecIn(300), DM_NO_ERROR);
    made.layer().addChild(copy);
    const std::string written = write(*made.root);
    EXPECT_EQ(written.find("clipitem id=\"a\""), written.rfind("clipitem id=\"a\""));
    EXPECT_NE(written.find("<start>300</start>"), std::string::npos);
}

TEST(Fcp7xml, NamesWhatNoElementSays)
{
    const Read made = read(xmeml(sequence(
        clip("a", 0, -1, 0, 60, file("f1", 500) + filter("basic", parameter("rotation", value("45")))) +
        mix(50, 60, "center", "Edge Wipe", "Wipe") + clip("b", -1, 100, 0, 50, same("f1")) +
        clip("c", 100, 150, 0, 50, "<effect><effectid>Color</effectid></effect>", rate(25), "generatoritem"))));
    ASSERT_TRUE(made.root) << made.messages;
    auto& axis = const_cast<DmEffectSettings&>(static_cast<const DmEffectSettings&>(*made.segment(0).getEffects()[0]));
    EXPECT_EQ(axis.getChannelByName(L"layerRotationX")->setValue(30), DM_NO_ERROR);
    auto& trx = dynamic_cast<DmTrxEffectNode&>(made.element(1));
    EXPECT_EQ(dynamic_cast<DmWipeSettings&>(*trx.getEffect()).setSoftness(0.5F), DM_NO_ERROR);
    auto& generated =
        dynamic_cast<DmSourceNode::GeneratedInput&>(*dynamic_cast<DmSourceNode&>(made.element(3)).getSrcInput());
    EXPECT_EQ(generated.setInputColorRed(0.25F), DM_NO_ERROR);
    std::string messages;
    write(*made.root, &messages);
    EXPECT_EQ(messages, "x.xml: warning: a, V1, 00:00:00:00: effects that the format has no words for: what of an "
                        "axis no filter has is left out\n"
                        "x.xml: warning: V1, 00:00:02:00: settings of wipes other than their pattern: left out\n"
                        "x.xml: warning: c, V1, 00:00:04:00: colours and levels of generated sources: left out\n");

    // What is set and stands in no element, at any depth; what hangs on a node; what another format said
    DmCompositionNode& composition = made.composition();
    auto& shot = dynamic_cast<DmSourceNode&>(made.element(2));
    EXPECT_EQ(shot.setShotName(L"s1"), DM_NO_ERROR);
    EXPECT_EQ(shot.addSegmentPreviousId(L"old"), DM_NO_ERROR);
    EXPECT_EQ(shot.getSrcInput()->getSrcInfo()->setImageLut(L"day"), DM_NO_ERROR);
    EXPECT_EQ(setLeftover(made.layer(), {"otio", L"otio 2"}, "{}"), DM_NO_ERROR);
    EXPECT_EQ(composition.setColourSpace(L"P3"), DM_NO_ERROR);
    EXPECT_EQ(composition.getChild(0)->setBaseBlob(DmCueMark::create()), DM_NO_ERROR);
    write(*made.root, &messages);
    const char* const expected[] = {
        "x.xml: warning: cut: properties that the format has no words for: colourSpace: left out\n",
        "x.xml: warning: V1: attached sets that the format has no words for: DmCueMark: left out\n",
        ("x.xml: warning: b, V1, 00:00:02:10: properties that the format has no words for: segmentPreviousIds, "
         "shotName, srcInput.srcInfo.imageLut: left out\n"),
        "x.xml: note: details that only its own format has: otio: left out\n"};
    for (const char* const each : expected)
        EXPECT_NE(messages.find(each), std::string::npos) << each << messages;
}

TEST(Fcp7xml, AMarkInFrontOfItsFileIsAPoint)
{
    const Read made = read(xmeml(sequence(
        clip("a", 0, 50, 10, 60, file("f1", 500) + "<marker><name>m</name><in>-20</in><out>-1</out></marker>"))));
    ASSERT_TRUE(made.root) << made.messages;
    const auto& mark = static_cast<const DmCueMark&>(*made.segment(0).getSegmentMarks()[0]);
    EXPECT_EQ(mark.getCueMarkTime(), -20);
    EXPECT_EQ(mark.getCueMarkDuration(), 0);
}

TEST(Fcp7xml, TakesNoMoreThanThirtyTimesTheMemoryOfAFile)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "what sanitizers take is no measure";
#endif
    const struct
    {
        const char* what; ///< again and again, with the count in place of each '%'
        bool isOnTrack = true;
        const char* refused = nullptr;
        int count = 20000;
    } cases[] = {
        {"<clipitem><start>%</start></clipitem>\n", true, "a clip without a length"},
        {"<clipitem><a>%</a><in>0</in><out>1</out><end>1%</end></clipitem>\n"},
        {"<clipitem id=\"%\"><in>0</in><out>1</out><end>1%</end></clipitem>\n"},
        {"<a/>"},
        {"x<a/>"},
        {"<a/>", false},
        {"<track/>", false, "too many elements", 200000},
        {"<marker/>", false, nullptr, 60000},
        {"<marker><in>%</in></marker>", false},
        {"<clipitem><in>0</in><out>1</out><end>1%</end><attached type=\"edl\">%</attached></clipitem>\n"},
    };
    for (const auto& each : cases)
    {
        SCOPED_TRACE(each.what);
        std::string inside;
        for (int i = 0; i < each.count; ++i)
            for (const char* c = each.what; *c; ++c)
                *c == '%' ? inside.append(std::to_string(i)) : inside.append(1, *c);
        const std::string whole = each.isOnTrack
                                      ? xmeml(sequence(inside))
                                      : "<xmeml><sequence><rate><timebase>25</timebase></rate><media><video>" + inside +
                                            "</video></media>" + inside + "</sequence></xmeml>";
        const auto readWithin = [&]
        {
            std::size_t pages = 0;
            std::ifstream("/proc/self/statm") >> pages;
            const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
            const rlimit most{pages * page + 30 * whole.size() + (std::size_t{8} << 20), RLIM_INFINITY};
            if (setrlimit(RLIMIT_AS, &most) != 0)
                std::_Exit(3);
            Options options;
            options.format = "fcp7xml";
            const Reading reading = readBuffer(whole, options);
            const std::string said = reading.findings.empty() ? "" : reading.findings.front().text;
            std::_Exit(each.refused ? said.starts_with(each.refused) ? 0 : 1 : reading.root ? 0 : 2);
        };
        EXPECT_EXIT(readWithin(), testing::ExitedWithCode(0), "");
    }
}

TEST(Fcp7xml, RefusesWhatIsNoSequence)
{
    std::string deep;
    for (int i = 0; i < 1001; ++i)
        deep += "<a>";
    const struct
    {
        std::string text;
        const char* message;
        const char* lenient; ///< what a lenient reader says; null where it refuses, too
    } cases[] = {
        {"<!DOCTYPE xmeml [<!ENTITY a \"b\">]>\n<xmeml/>", "x.xml:1: a document type with declarations of its own\n",
         nullptr},
        {deep, "x.xml:1: no XML: Start-end tags mismatch\n", nullptr},
        {"<fcpxml/>", "x.xml:1: no xmeml\n", nullptr},
        {xmeml("<sequence>\n<x></sequence>"), "x.xml:5: no XML: Start-end tags mismatch\n", nullptr},
        {xmeml(""), "x.xml:3: no sequence\n", "x.xml:3: warning: no sequence; the document holds nothing\n"},
        {xmeml(sequence(clip("a", 0, 48, 0, 48, file("f", 100), rate(48)), "", "", rate(48))),
         "x.xml:4: cut: a sequence at 48 frames a second, which no frame-code mode has\n",
         "x.xml:4: warning: cut: a sequence at 48 frames a second, which no frame-code mode has; its times are "
         "converted to "
         "'24 fps'\n"},
        {xmeml(sequence(clip("a", 50, 50, 0, 0, file("f", 100)))), "x.xml:4: a clip without a length\n",
         "x.xml:4: warning: a clip without a length; left out\n"},
        {xmeml(sequence(mix(50, 40, "center"))), "x.xml:4: a transition without a length\n",
         "x.xml:4: warning: a transition without a length; left out\n"},
        {xmeml(sequence(dissolved + mix(94, 200, "end-black"))),
         "x.xml:4: a transition that begins before the one before it has ended\n",
         "x.xml:4: warning: a transition that begins before the one before it has ended; left out\n"},
        {xmeml(sequence(clip("n", 0, 100, 0, 100, "<sequence id=\"sequence-1\"/>"))),
         "x.xml:4: n: a sequence that holds itself\n",
         "x.xml:4: warning: n, V1, 00:00:00:00: a sequence that holds itself; it plays nothing there\n"},
    };
    for (const auto& each : cases)
    {
        SCOPED_TRACE(each.text.substr(0, 200));
        EXPECT_EQ(read(each.text).messages, each.message);
        EXPECT_EQ(read(each.text, true).messages, each.lenient ? each.lenient : each.message);
    }
    std::string nested = "<xmeml>";
    for (int i = 0; i < 1000; ++i)
        nested += "<a>";
    for (int i = 0; i < 1000; ++i)
        nested += "</a>";
    EXPECT_EQ(read(nested + "</xmeml>").messages, "x.xml:1: elements nested more than 1000 deep\n");
    nested.erase(nested.find("<a></a>"), 7);
    EXPECT_EQ(read(nested + "</xmeml>").messages, "x.xml:1: no sequence\n");
    // Each of a group would name all others.
    std::string clips;
    for (int i = 0; i < 200; ++i)
        clips += clip(("c" + std::to_string(i)).c_str(), i * 10, i * 10 + 10, 0, 10,
                      (i == 0 ? file("f1", 500) : same("f1")) + link("c0", "video", 1, 1));
    const Read linked = read(xmeml(sequence(clips)));
    EXPECT_EQ(linked.messages,
              "x.xml:4: warning: cut: more than 128 clips linked with each other: read as not linked\n");
    ASSERT_TRUE(linked.root);
    EXPECT_EQ(elements(write(*linked.root)), elements(xmeml(sequence(clips))));
    EXPECT_EQ(read(xmeml(sequence(clip("a", 0, 50, 90, 140, file("f", 100))))).messages,
              "x.xml:4: warning: a, V1, 00:00:00:00: plays up to frame 140 of 100 that there are\n");
}

/// Record and source range of all that plays, a line each.
std::string playedOf(DmCompositionNode& composition)
{
    std::string all;
    for (int i = 0; i < composition.getNbChildren(); ++i)
        for (int k = 0; k < composition.getChild(i)->getChild(0)->getNbChildren(); ++k)
            if (DmTreeNode* const node = composition.getChild(i)->getChild(0)->getChild(k);
                node->whatIs() != DM_CUT_NODE)
            {
                const DmTimeRange record = DmTreeTool::getRecordRange(node);
                const DmTimeRange source = DmTreeTool::getSourceRange(node, DM::FCM_25);
                all +=
                    std::to_string(static_cast<int>(record.in)) + '+' + std::to_string(static_cast<int>(record.length));
                if (node->whatIs() == DM_SOURCE_NODE)
                    all += " from " + std::to_string(static_cast<int>(source.in));
                all += node->whatIs() == DM_CONTAINER_NODE ? " nested\n" : node->isTransition() ? " mix\n" : "\n";
            }
    return all;
}

TEST(Flatten, WritesWhatNestedCutsPlayInTheirPlace)
{
    const auto nested = [](const std::string& further = "")
    { return sequence(dissolved, "", "", rate(25), "s2") + further; };
    const auto speed = filter("timeremap", parameter("variablespeed", value("0")) + parameter("speed", value("50")) +
                                               parameter("reverse", value("FALSE")));
    const std::string stays = "x.xml: warning: n, V1, 00:00:00:00: nested compositions: they stay nested\n";
    const struct
    {
        const char* what;
        std::string picture;
        std::string played;
        std::string messages;
    } cases[] = {
        {"a dissolve inside", clip("n", 0, 100, 50, 150, nested()), "0+50 from 60\n50+12 mix\n62+38 from 42\n", ""},
        {"the range begins and ends in the dissolve", clip("n", 0, 6, 104, 110, nested()), "0+6 from 34\n", ""},
        {"more than there is", clip("n", 0, 50, 180, 230, nested()), "0+20 from 110\n20+30\n", ""},
        {"beside others",
         clip("a", 0, 50, 0, 50, file("f2", 500)) + clip("n", 50, 60, 10, 20, nested()) +
             clip("b", 60, 80, 0, 20, same("f2")),
         "0+50 from 0\n50+10 from 20\n60+20 from 0\n", ""},
        {"twice", clip("n", 0, 10, 10, 20, nested()) + clip("m", 10, 20, 30, 40, "<sequence id=\"s2\"/>"),
         "0+10 from 20\n10+10 from 40\n", ""},
        {"the same of it twice",
         clip("n", 0, 10, 10, 20, nested()) + clip("m", 10, 20, 10, 20, "<sequence id=\"s2\"/>"),
         "0+10 from 20\n10+10 from 20\n", ""},
        {"inside another",
         clip("o", 0, 10, 64, 74, sequence(clip("n", 0, 100, 50, 150, nested()), "", "", rate(25), "s3")),
         "0+10 from 44\n", ""},
        {"a transition that shows one shot of it",
         clip("a", 0, -1, 0, 30, file("f2", 500)) + mix(20, 30, "end") + clip("n", -1, 60, 20, 60, nested()),
         "0+20 from 0\n20+10 mix\n30+30 from 40\n", ""},
        {"a transition that shows another shot of it",
         clip("a", 0, -1, 0, 30, file("f2", 500)) + mix(20, 30, "end") + clip("n", -1, 60, 110, 150, nested()),
         "0+20 from 0\n20+10 mix\n30+30 nested\n",
         "x.xml: warning: n, V1, 00:00:01:05: nested compositions: they stay nested\n"},
        {"another speed", clip("n", 0, 50, 20, 70, nested(speed)), "0+50 nested\n", stays},
    };
    for (const auto& each : cases)
    {
        SCOPED_TRACE(each.what);
        const Read made = read(xmeml(sequence(each.picture)));
        ASSERT_TRUE(made.root) << made.messages;
        const Read back = flattened(*made.root);
        ASSERT_TRUE(back.root);
        EXPECT_EQ(back.messages, each.messages);
        auto& composition = dynamic_cast<DmCompositionNode&>(*back.root->getChild(0));
        EXPECT_EQ(playedOf(composition), each.played);
        std::set<std::string> ids;
        const DmTreeNode& layer = *composition.getChild(0)->getChild(0);
        for (int i = 0; i < layer.getNbChildren(); ++i)
            if (const auto* const source = dynamic_cast<const DmSourceNode*>(layer.getChild(i)))
            {
                EXPECT_TRUE(ids.insert(dmUtf8(source->getSegmentId())).second) << dmUtf8(source->getSegmentId());
            }
        for (const DmTreeViolation& violation : DmTreeTool::findViolations(&composition, DM_VALIDATE_ALL))
            ADD_FAILURE() << violation.path << ": " << dmUtf8(violation.message);
    }
}

TEST(Flatten, SoundInsideIsATrackEach)
{
    const auto shot = [](const char* id, int in)
    { return clip(id, 0, 100, in, in + 100, file("f1", 500) + sourceTrack(1)); };
    const auto stereo =
        sequence("", sound(shot("l", 100), 1) + sound("", 3) + sound(shot("r", 200), 2), "", rate(25), "s2");
    const std::string use = "<sequence id=\"s2\"/>";
    const struct
    {
        const char* what;
        std::string tracks; ///< of sound
        std::string played; ///< and channels
        bool stays;
    } cases[] = {
        {"alone", sound(clip("n", 0, 40, 10, 50, stereo), 5), "5: 0+40 from 110\n6: 0+40 from 210\n", false},
        {"a pair of tracks", sound(clip("n", 0, 40, 10, 50, stereo), 1) + sound(clip("m", 0, 40, 10, 50, use), 2),
         "1: 0+40 from 110\n2: 0+40 from 210\n", false},
        {"one behind the other",
         sound(clip("n", 0, 40, 10, 50, stereo) + clip("m", 50, 70, 0, 20, use), 1) +
             sound(clip("x", 0, 9, 0, 9, same("f1")), 2),
         "1: 0+40 from 110\n1: 40+10\n1: 50+20 from 100\n2: 0+9 from 0\n2: 0+40 from 210\n2: 40+10\n2: 50+20 from "
         "200\n",
         false},
        {"a pair that does not play the same",
         sound(clip("n", 0, 40, 10, 50, stereo), 1) + sound(clip("m", 5, 40, 15, 50, use), 2),
         "1: 0+40 nested\n2: 0+5\n2: 5+35 nested\n", true},
        {"a dissolve",
         sound(clip("n", 0, -1, 10, 50, stereo) + mix(30, 40, "end") + clip("x", -1, 60, 0, 30, same("f1")), 1),
         "1: 0+30 nested\n1: 30+10 mix\n1: 40+20 from 10\n", true},
    };
    for (const auto& each : cases)
    {
        SCOPED_TRACE(each.what);
        const Read made = read(xmeml(sequence("", each.tracks)));
        ASSERT_TRUE(made.root) << made.messages;
        const Read back = flattened(*made.root);
        ASSERT_TRUE(back.root);
        EXPECT_EQ(!back.messages.empty(), each.stays) << back.messages;
        auto& composition = dynamic_cast<DmCompositionNode&>(*back.root->getChild(0));
        std::string played;
        std::set<int> numbers;
        for (int i = 1; i < composition.getNbChildren(); ++i)
        {
            auto& track = dynamic_cast<DmTrackNode&>(*composition.getChild(i));
            EXPECT_TRUE(numbers.insert(track.getTrackNum()).second);
            const auto only = DmCompositionNode::create(L"one", L"25 fps", {});
            only->addChild(CoSharedPtr<DmTreeNode>(&track));
            std::istringstream lines(playedOf(*only));
            for (std::string line; std::getline(lines, line);)
                played += std::to_string(track.getTrackChannel()) + ": " + line + '\n';
        }
        EXPECT_EQ(played, each.played);
        for (const DmTreeViolation& violation : DmTreeTool::findViolations(&composition, DM_VALIDATE_ALL))
            ADD_FAILURE() << violation.path << ": " << dmUtf8(violation.message);
    }
}

TEST(Flatten, WhetherLabelsAreDroppedDoesNotMatter)
{
    const std::string ntsc = rate(30, true);
    const std::string inside =
        sequence("<clipitem><name>a</name>" + ntsc + "<start>0</start><end>40</end><in>5</in><out>45</out>" +
                     file("f1", 500, "", ntsc) + "</clipitem>",
                 "", "", ntsc, "s2");
    const std::string drops = "<timecode>" + ntsc +
                              "<string>00:00:00;00</string><frame>0</frame>"
                              "<displayformat>DF</displayformat></timecode>";
    const Read made =
        read(xmeml(sequence("<clipitem><name>n</name>" + ntsc +
                                "<start>0</start><end>30</end><in>10</in><out>40</out>" + inside + "</clipitem>",
                            "", drops, ntsc)));
    ASSERT_TRUE(made.root) << made.messages;
    EXPECT_EQ(dmUtf8(made.composition().getFCM()), "29.97 fps DF");
    Options options;
    options.format = "edl";
    options.flatten = true;
    std::string list;
    EXPECT_EQ(dmFindingsText("x", writeBuffer(*made.root, list, options).findings).find("nested"), std::string::npos);
    EXPECT_NE(list.find("00:00:00:15 00:00:01:15 00:00:00;00 00:00:01;00"), std::string::npos) << list;
}

TEST(Fcp7xml, AListIsWrittenAsOthersReadIt)
{
    const std::string list = "TITLE: X\nFCM: NON-DROP FRAME\n"
                             "001  T1 AA/V  C        10:00:10:00 10:00:12:00 01:00:00:00 01:00:02:00\n"
                             "* FROM CLIP NAME: a <b>\n"
                             "002  T1 V     C        10:00:12:00 10:00:12:00 01:00:02:00 01:00:02:00\n"
                             "002  T2 V     D    025 11:00:00:00 11:00:02:00 01:00:02:00 01:00:04:00\n"
                             "* TO CLIP NAME: b\n";
    Options options;
    options.format = "edl";
    options.fcm = DM::FCM_25;
    options.lenient = true;
    const Reading edl = readBuffer(list, options);
    ASSERT_TRUE(edl.root);
    const std::string text = write(*edl.root);
    for (const char* const part :
         {"<!DOCTYPE xmeml>", "<xmeml version=\"5\">", "<samplecharacteristics>", "<frame>90000</frame>",
          "<name>a &lt;b&gt;</name>", "<start>-1</start>", "<alignment>", "<channelcount>", "<sourcetrack>"})
        EXPECT_NE(text.find(part), std::string::npos) << part << '\n' << text;
    const Read back = read(text);
    ASSERT_TRUE(back.root) << back.messages << text;
    auto& before = dynamic_cast<DmCompositionNode&>(*edl.root->getChild(0));
    EXPECT_EQ(playedOf(back.composition()), playedOf(before)) << text;
    // A list does not say how long its media are, and neither does what is made of it; until somebody finds out.
    EXPECT_FALSE(dmMaterialOf(back.segment(0)).known);
    EXPECT_EQ(elements(write(*back.root)), elements(text));
    for (const int track : {0, 1, 2})
        for (int i = 0; i < back.layer(track).getNbChildren(); ++i)
            if (const auto* const source = dynamic_cast<const DmSourceNode*>(back.layer(track).getChild(i)))
            {
                auto& input = static_cast<DmSourceNode::MediaInput&>(*source->getSrcInput());
                EXPECT_EQ(dmSetMaterialLength(input, 900), DM_NO_ERROR);
            }
    const Read known = read(write(*back.root));
    ASSERT_TRUE(known.root) << known.messages;
    EXPECT_TRUE(dmMaterialOf(known.segment(0)).known);
    EXPECT_EQ(dmMaterialOf(known.segment(0)).length, 900);
}

TEST(Fcp7xml, FurtherLayersAreTracksAboveAndNumbersPlaces)
{
    Options options;
    options.format = "edl";
    options.fcm = DM::FCM_25;
    const Reading keyed = readBuffer("TITLE: X\nFCM: NON-DROP FRAME\n"
                                     "001  A V     K B      01:00:00:00 01:00:04:00 01:00:00:00 01:00:04:00\n"
                                     "001  T V     K    000 02:00:00:00 02:00:02:00 01:00:01:00 01:00:03:00\n"
                                     "002  B V2    C        03:00:00:00 03:00:01:00 01:00:00:00 01:00:01:00\n"
                                     "003  C A3    C        04:00:00:00 04:00:01:00 01:00:00:00 01:00:01:00\n",
                                     options);
    ASSERT_TRUE(keyed.root);
    for (const bool hasResult : {false, true})
    {
        DmTreeNode& track = *keyed.root->getChild(0)->getChild(0);
        EXPECT_EQ(static_cast<DmLayerNode&>(*track.getChild(0)).setIsResultLayer(hasResult), DM_NO_ERROR);
        std::string messages;
        const std::string text = write(*keyed.root, &messages);
        EXPECT_NE(messages.find("x.xml: warning: T, V1, 01:00:01:00: further layers: written as tracks above\n"),
                  std::string::npos)
            << messages;
        const Read back = read(text);
        ASSERT_TRUE(back.root) << back.messages;
        EXPECT_EQ(playedOf(back.composition()),
                  "90000+100 from 90000\n90000+25\n90025+50 from 180000\n90000+25 from 270000\n90000+25 from "
                  "360000\n");
        EXPECT_EQ(back.segment(1, 1).getMuted(), hasResult);
        // Of three layers and two empty tracks before it
        EXPECT_EQ(dynamic_cast<DmTrackNode&>(*back.composition().getChild(5)).getTrackNum(), 3);
    }
}

} // namespace
