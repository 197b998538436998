#define RAPIDJSON_NAMESPACE zrInterchangeRapidjson
#include "icEdlReader.h"
#include "icEdlToTree.h"
#include "icEdlWriter.h"
#include "icLeftovers.h"
#include "icOtioJson.h"
#include "icOtioQuick.h"
#include "icOtioReader.h"
#include "icOtioWriter.h"
#include "icTestLists.h"
#include "icTreeToEdl.h"

#include "dmColourEffects.h"
#include "dmCompositionNode.h"
#include "dmContainerNode.h"
#include "dmGapNode.h"
#include "dmLayerBuilder.h"
#include "dmReelNode.h"
#include "dmSetTools.h"
#include "dmSourceInput.h"
#include "dmTimewarpSettings.h"
#include "dmTrackNode.h"
#include "dmTreeTool.h"
#include "dmTrxEffectNode.h"
#include "dmUtf8.h"
#include "dmVDissolveSettings.h"
#include "dmWipeSettings.h"

#include <gtest/gtest.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>

using namespace interchange;

namespace
{

struct Read
{
    CoSharedPtr<DmRoot> root;
    std::string messages;

    DmCompositionNode& composition() const { return dynamic_cast<DmCompositionNode&>(*root->getChild(0)); }
    DmTreeNode& element(int index, int track = 0) const
    {
        return *dynamic_cast<DmTrackNode&>(*composition().getChild(track)).getChild(0)->getChild(index);
    }
    DmSegmentNode& segment(int index) const { return dynamic_cast<DmSegmentNode&>(element(index)); }
};

Read read(const std::string& text, DM::FrameCodeModes fcm = DM::FCM_NOT_DEFINED,
          Report::Leniency leniency = Report::Strict)
{
    Report report(leniency);
    Read result{readOtio(text, fcm, report), report.toString("cut.otio")};
    auto* const composition = result.root ? dynamic_cast<DmCompositionNode*>(result.root->getChild(0)) : nullptr;
    for (const DmTreeViolation& violation : DmTreeTool::findViolations(composition, DM_VALIDATE_ALL))
        ADD_FAILURE() << violation.path << ": " << dmUtf8(violation.message);
    return result;
}

/// Without the indentation, and what there is to say behind it.
std::string write(const DmRoot& root)
{
    Report report;
    const std::string text = writeOtio(root, DM::FCM_NOT_DEFINED, report).value_or("");
    std::string compact;
    bool isString = false;
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        if (text[i] == '"' && text[i - 1] != '\\')
            isString = !isString;
        if (isString || (text[i] != ' ' && text[i] != '\n'))
            compact += text[i];
    }
    return compact + report.toString("cut.json");
}

/// Equal for objects that are equal but for the order of their members.
std::string canonical(const otio::Value& value)
{
    std::string text;
    std::vector<std::string> parts;
    if (value.IsArray())
        for (const otio::Value& each : value.GetArray())
            parts.push_back(canonical(each));
    else if (value.IsObject())
    {
        for (const auto& each : value.GetObject())
            parts.push_back(canonical(each.name) + ':' + canonical(each.value));
        std::ranges::sort(parts);
    }
    else if (value.IsNumber() && std::isfinite(value.GetDouble()))
        text = std::to_string(value.GetDouble());
    else
        otio::appendJson(text, value);
    for (const std::string& part : parts)
        text += part + ',';
    return (value.IsArray() ? "[" : value.IsObject() ? "{" : "") + text;
}
std::string canonical(std::string text)
{
    otio::json::Document document;
    otio::JsonFault fault;
    return otio::parse(document, text.data(), fault) ? canonical(document) : fault.what + text;
}

// Small documents, in the order in which the writer writes members

std::string time(double value, const char* rate = "25.0")
{
    return R"({"OTIO_SCHEMA":"RationalTime.1","rate":)" + std::string(rate) + R"(,"value":)" +
           std::to_string(static_cast<int>(value)) + ".0}";
}
std::string range(double start, double length, const char* rate = "25.0")
{
    return R"({"OTIO_SCHEMA":"TimeRange.1","duration":)" + time(length, rate) + R"(,"start_time":)" +
           time(start, rate) + "}";
}
/// The further members begin with a comma.
std::string clip(const char* name, const std::string& played, const std::string& further = "")
{
    return R"({"OTIO_SCHEMA":"Clip.2","name":")" + std::string(name) + R"(","source_range":)" + played + further + "}";
}
std::string file(const std::string& available)
{
    return R"(,"media_reference":{"OTIO_SCHEMA":"ExternalReference.1","available_range":)" + available +
           R"(,"name":"roll","target_url":"file:///roll.mov"})";
}
std::string media(const char* schema, const std::string& further)
{
    return R"(,"media_reference":{"OTIO_SCHEMA":")" + std::string(schema) + "\"" + further + "}";
}
std::string transition(double in, double out, const char* type = "SMPTE_Dissolve", const char* further = "")
{
    return R"({"OTIO_SCHEMA":"Transition.1","in_offset":)" + time(in) + R"(,"out_offset":)" + time(out) +
           R"(,"transition_type":")" + type + "\"" + further + "}";
}
/// The further members begin with a comma.
std::string track(const std::string& children, const char* kind = "Video", const std::string& further = "")
{
    return R"({"OTIO_SCHEMA":"Track.1","kind":")" + std::string(kind) + "\"" + further + R"(,"children":[)" + children +
           "]}";
}
std::string collection(const std::string& children)
{
    return R"({"OTIO_SCHEMA":"SerializableCollection.1","name":"bin","children":[)" + children + "]}";
}
std::string stack(const std::string& children, const std::string& further = "")
{
    return R"({"OTIO_SCHEMA":"Stack.1","name":"inside")" + further + R"(,"children":[)" + children + "]}";
}
std::string timeline(const std::string& tracks)
{
    return R"({"OTIO_SCHEMA":"Timeline.1","name":"T","global_start_time":)" + time(100) + R"(,"tracks":)" +
           stack(tracks) + "}";
}

} // namespace

TEST(Otio, GivesEveryMemberBack)
{
    const std::string one = clip("one", range(10, 20), file(range(0, 50)));
    struct Case
    {
        const char* feature;
        std::string text;
    };
    const Case cases[] = {
        {"unknown members and metadata", clip("a", range(0, 5), R"(,"metadata":{"x":[1,null,{"y":2.5}]},"odd":true)")},
        {"bare clip", one},
        {"children that are none", R"({"OTIO_SCHEMA":"Stack.1","name":"s","children":7.5})"},
        {"bare track", track(one, "Audio")},
        {"bare stack of clips", stack(one + "," + one)},
        {"timeline", timeline(track(one) + "," + track(one, "Audio"))},
        {"collection", collection(one + "," + timeline(track(one)))},
        {"collection of collections", collection(collection(one) + "," + timeline(track(one)) + "," + collection(""))},
        {"no name", R"({"OTIO_SCHEMA":"Clip.1","source_range":)" + range(0, 5) + "}"},
        {"transition", track(one + "," + transition(4, 5) + "," + one)},
        {"transitions at both ends", track(transition(4, 5) + "," + one + "," + transition(4, 5))},
        {"clip that its transitions take",
         track(one + "," + transition(10, 10) + "," + one + "," + transition(10, 5) + "," + one)},
        {"transition longer than its clips", track(one + "," + transition(400, 500) + "," + one)},
        {"gap, and one without a range", track(R"({"OTIO_SCHEMA":"Gap.1","source_range":)" + range(0, 9) + "}," + one +
                                               R"(,{"OTIO_SCHEMA":"Gap.1","source_range":null})")},
        {"unknown schema", track(one + R"(,{"OTIO_SCHEMA":"Odd.3","source_range":)" + range(0, 9) + "}")},
        {"nested stack and track", track(stack(track(one), R"(,"source_range":)" + range(3, 7)) + "," + track(one))},
        {"several references",
         clip("a", "null",
              R"(,"active_media_reference_key":"hi","media_references":{"lo":null,"hi":)"
              R"({"OTIO_SCHEMA":"ImageSequenceReference.1","available_range":)" +
                  range(5, 9) + R"(,"name_prefix":"p.","frame_zero_padding":4,"start_frame":7}})")},
        {"generator", clip("a", range(0, 5),
                           R"(,"media_reference":{"OTIO_SCHEMA":"GeneratorReference.1",)"
                           R"("generator_kind":"SMPTEBars","parameters":{"a":1}})")},
        {"markers", clip("a", range(5, 9),
                         R"(,"markers":[{"OTIO_SCHEMA":"Marker.2","color":"MINT","marked_range":)" +
                             range(6, 0, "1.0") + R"(},{"OTIO_SCHEMA":"Marker.3","color":{"r":0.5}}])")},
        {"markers of an unknown schema",
         clip("a", range(5, 9),
              R"(,"markers":[{"OTIO_SCHEMA":"Odd.1","name":"m"},{"OTIO_SCHEMA":"Marker.2","name":"m"}])")},
        {"effects and mute", clip("a", range(0, 5),
                                  R"(,"enabled":false,"effects":[{"OTIO_SCHEMA":"Blur.1"},)"
                                  R"({"OTIO_SCHEMA":"LinearTimeWarp.1","time_scalar":-2.0}])")},
        {"stills and reverse of sound",
         track(clip("a", range(0, 5), R"(,"effects":[{"OTIO_SCHEMA":"FreezeFrame.1"}])"), "Audio")},
        {"before the material", clip("a", range(-7, 5), file(range(0, 50)))},
        {"numbers of all kinds",
         clip("a", range(0, 5), R"(,"x":[1,1.0,-1,0.1,1e300,18446744073709551615,NaN,-Infinity,Infinity])")},
        {"texts of all kinds", clip("\\\"\u00e9\\n", range(0, 5), R"(,"A":{"$t":[1,2],"$":{"$r":0}},"AB":"")")},
        {"times that are more than times",
         clip("a", range(0, 5),
              R"(,"x":{"OTIO_SCHEMA":"RationalTime.1","rate":25,"value":1,"odd":2},"y":[)" + range(1, 2) + "," +
                  time(3, "24") + "]")},
        {"wipes and custom transitions", track(one + "," + transition(4, 5, "SMPTE_Wipe7") + "," + one + "," +
                                               transition(1, 1, "Custom_Transition") + "," + one)},
        {"generator of an unknown kind", clip("a", range(0, 5), media("GeneratorReference.1", R"(,"x":1)"))},
        {"reference of an unknown schema", clip("a", range(0, 5), media("Odd.1", R"(,"x":1)"))},
        {"part of a track", timeline(track(one, "Audio", R"(,"source_range":)" + range(3, 7)) + "," + track(one))},
        {"part of a nested track",
         track(stack(track(one, "Video", R"(,"source_range":)" + range(3, 7)) + "," + track(one)))},
        {"track reaching beyond what it holds", track(one, "Video", R"(,"source_range":)" + range(3, 700))},
        {"members of tracks and stacks",
         timeline(track(one, "Odd", R"(,"metadata":{"a":1},"markers":[1],"effects":[2],"enabled":false)"))},
        {"looks of integers, and with more members",
         track(clip("a", range(0, 5),
                    R"(,"metadata":{"cdl":{"asc_sop":{"power":[1,2,3],"slope":[1,1.5,1],)"
                    R"("offset":[0,0,0],"odd":1},"id":"x","asc_sat":null}})") +
               "," + clip("b", range(0, 5), R"(,"metadata":{"cdl":{"asc_sat":2}})"))},
        {"what is no look",
         track(clip("a", range(0, 5), R"(,"metadata":{"cdl":[1,0.5]})") + "," +
               clip("b", range(0, 5), R"(,"metadata":{"cdl":{"asc_sop":{"slope":[1,1,1]},"asc_sat":0.5}})") + "," +
               clip("c", range(0, 5), R"(,"metadata":{"cdl":{"asc_sat":Infinity}})"))},
        {"look of sound", track(clip("a", range(0, 5), R"(,"metadata":{"cdl":{"asc_sat":0.5}})"), "Audio")},
        {"comments of cut lists", clip("a", range(0, 5), R"(,"metadata":{"cmx_3600":{"comments":["x",7]}})")},
        {"children that none expects", clip("a", range(0, 5), R"(,"children":[1])")},
        {"nothing", R"({"OTIO_SCHEMA":"Timeline.1","tracks":null})"},
        {"a start, and nothing behind it",
         R"({"OTIO_SCHEMA":"Timeline.1","name":"T","global_start_time":)" + time(100) + "}"},
        {"a start, and tracks that hold nothing", timeline(track(""))},
        {"no children", R"({"OTIO_SCHEMA":"Timeline.1","tracks":{"OTIO_SCHEMA":"Stack.1"}})"},
        {"sound at its own rate",
         timeline(track(one) + "," +
                  track(clip("w", range(481, 1001, "48000.0"), file(range(0, 480000, "48000.0"))), "Audio"))},
        // As other systems write it in full, which is how it goes out: what only they say is all that travels.
        {"all that is usual, and more",
         track(
             R"({"OTIO_SCHEMA":"Clip.2","metadata":{"cmx_3600":{"comments":["SOURCE FILE: x"],"reel":"R1","odd":[7]},)"
             R"("studio":{"shot":{"id":1.5}}},"name":"a\u00e9","source_range":)" +
             range(5, 20) +
             R"(,"effects":[{"OTIO_SCHEMA":"LinearTimeWarp.1","metadata":{},"name":"","effect_name":"LinearTimeWarp",)"
             R"("time_scalar":2.0}],"markers":[{"OTIO_SCHEMA":"Marker.2","metadata":{},"name":"m","color":"RED",)"
             R"("comment":"c","marked_range":)" +
             range(7, 1) +
             R"(}],"enabled":true,"active_media_reference_key":"DEFAULT_MEDIA","media_references":{"DEFAULT_MEDIA":)"
             R"({"OTIO_SCHEMA":"ExternalReference.1","metadata":{"codec":"x"},"name":"r","available_image_bounds":null,)"
             R"("target_url":"file:///a%20b.mov","available_range":)" +
             range(0, 200) +
             R"(}},"odd":null},{"OTIO_SCHEMA":"Transition.1","metadata":{"a":{}},"name":"t","in_offset":)" + time(3) +
             R"(,"out_offset":)" + time(2) + R"(,"transition_type":"SMPTE_Dissolve"},)" + one)},
    };
    for (const Case& each : cases)
    {
        SCOPED_TRACE(each.feature);
        Report report;
        // A rate of one has no mode, which is no mistake where the mode is given.
        const CoSharedPtr<DmRoot> root = readOtio(each.text, DM::FCM_25, report);
        ASSERT_TRUE(root) << report.toString("cut.otio");
        EXPECT_EQ(canonical(write(*root)), canonical(each.text));
    }
}

/// Clips as nearly all files have them are read at once: what each leaves over is what it says beyond its node, and no
/// more.
TEST(Otio, LeavesOfUsualClipsWhatTheModelDoesNotSay)
{
    const std::string usual =
        R"({"OTIO_SCHEMA":"Clip.2","metadata":{"cmx_3600":{"reel":"R1"}},"name":"a","source_range":)" + range(5, 20) +
        R"(,"effects":[],"markers":[],"enabled":true,"active_media_reference_key":"DEFAULT_MEDIA","media_references":)"
        R"({"DEFAULT_MEDIA":{"OTIO_SCHEMA":"ExternalReference.1","metadata":{},"name":"r",)"
        R"("available_image_bounds":null,"target_url":"file:///b.mov","available_range":)" +
        range(0, 200) + "}}}";
    // As older programs have it, their members in another order.
    const std::string old =
        R"({"OTIO_SCHEMA":"Clip.1","effects":[],"markers":[],"media_reference":{"OTIO_SCHEMA":"ExternalReference.1",)"
        R"("available_range":)" +
        range(0, 200) +
        R"(,"metadata":{},"name":null,"target_url":"file:///b.mov"},"metadata":{"x":1,"cmx_3600":{"reel":"R1","y":2}},)"
        R"("name":"a","source_range":)" +
        range(5, 20) + "}";
    const std::string reel = R"("reel":"R1")";
    const std::string list = R"({"inside":{"metadata":{"inside":{"cmx_3600":{"added":)";
    struct Case
    {
        const char* feature;
        std::string from;
        std::string to;
        std::string leftover;
    };
    const Case cases[] = {
        {"nothing", "", "", ""},
        {"a note of the model", reel, R"("comments":["SOURCE FILE: x"],"reel":"R1")",
         list + R"({"comments":["SOURCE FILE: x"]}}}}}})"},
        {"comments", reel, R"("comments":["x","a: b",""],"reel":"R1")", ""},
        {"comments without a reel", reel, R"("comments":["x"])", ""},
        {"comments of two lines", reel, R"("comments":["x\ny"])",
         R"({"inside":{"metadata":{"inside":{"cmx_3600":{"other":{"comments":[["x y"],["x\ny"]]}}}}}})"},
        {"a list that says nothing of ours", reel, R"("reel":"","comments":[7])",
         R"({"inside":{"metadata":{"added":{"cmx_3600":{"reel":"","comments":[7]}}}}})"},
        {"more in the list and beside it", R"("reel":"R1"})", R"("reel":"R1","o":[1,{}]},"a\"b":["\t",null],"c":{})",
         R"({"inside":{"metadata":{"inside":{"cmx_3600":{"added":{"o":[1,{}]}}},)"
         R"("added":{"a\"b":["\t",null],"c":{}}}}})"},
        {"no metadata", R"("cmx_3600":{"reel":"R1"})", "", ""},
        {"another name", R"("name":"a")", R"("name":"\u00e9")", ""},
        {"the name of the nameless", R"("name":"a")", R"("name":"untitled")", R"({"other":{"name":["","untitled"]}})"},
        {"another key", "DEFAULT_MEDIA", "x", R"({"form":{"key":"x"}})"},
        {"an older clip", "Clip.2", "Clip.1", R"({"other":{"OTIO_SCHEMA":["Clip.2","Clip.1"]}})"},
        {"an older program's clip", usual, old,
         R"({"other":{"OTIO_SCHEMA":["Clip.2","Clip.1"]},"inside":{"media_reference":{"other":{"name":["",null]},)"
         R"("missing":{"available_image_bounds":null}},"metadata":{"added":{"x":1},)"
         R"("inside":{"cmx_3600":{"added":{"y":2}}}}},"missing":{"enabled":true},"form":{"single":true}})"},
        {"no bounds", R"("available_image_bounds":null,)", "",
         R"({"inside":{"media_references":{"inside":{"DEFAULT_MEDIA":{"missing":{"available_image_bounds":null}}}}}})"},
        {"a newer member", R"("enabled":true)", R"("enabled":true,"color":null)", R"({"added":{"color":null}})"},
        {"a path with a blank", "b.mov", "b%20c.mov", ""},
        {"a path in another spelling", "b.mov", "%62.mov",
         R"({"inside":{"media_references":{"inside":{"DEFAULT_MEDIA":{"other":{"target_url":)"
         R"(["file:///b.mov","file:///%62.mov"]}}}}}})"},
        {"metadata of the file", R"("metadata":{},)", R"("metadata":{"codec":1},)",
         R"({"inside":{"media_references":{"inside":{"DEFAULT_MEDIA":{"inside":{"metadata":{"added":{"codec":1}}}}}}}})"},
        {"a member more", R"("markers":[])", R"("markers":[],"odd":1)", R"({"added":{"odd":1}})"},
        {"disabled", "true", "false", ""},
    };
    for (const Case& each : cases)
    {
        SCOPED_TRACE(each.feature);
        std::string text = usual;
        for (std::size_t at = 0; !each.from.empty() && (at = text.find(each.from, at)) != text.npos;
             at += each.to.size())
            text.replace(at, each.from.size(), each.to);
        const Read result = read(track(text), DM::FCM_25);
        ASSERT_TRUE(result.root) << result.messages;
        EXPECT_EQ(leftoverOf(result.segment(0), {"otio", L"otio 2"}).value_or(""), each.leftover);
        EXPECT_EQ(canonical(write(*result.root)), canonical(track(text)));
    }
}

TEST(Otio, LaysTransitionsBetweenWhatTheyOverlap)
{
    const std::string one = clip("one", range(10, 20), file(range(4, 50)));
    const Read made = read(timeline(track(one + "," + transition(4, 5) + "," + one)));
    ASSERT_TRUE(made.root) << made.messages;
    const auto& mix = dynamic_cast<DmTrxEffectNode&>(made.element(1));
    const std::array<double, 8> times{made.segment(0).getRecIn(),
                                      made.segment(0).getRecLength(),
                                      made.segment(0).getRelIn(),
                                      mix.getRecIn(),
                                      mix.getRecLength(),
                                      made.segment(2).getRecIn(),
                                      made.segment(2).getRecLength(),
                                      made.segment(2).getRelIn()};
    EXPECT_EQ(times, (std::array<double, 8>{100, 16, 6, 116, 9, 125, 15, 11}));
    EXPECT_EQ(made.composition().getStartTC(), 100);
    EXPECT_EQ(made.composition().getCompLength(), 40);
    const auto& source = dynamic_cast<DmSourceNode&>(made.element(0));
    EXPECT_EQ(source.getSrcInput()->getSrcLength(), 50);
    EXPECT_EQ(source.getSrcInput()->getSrcInfo()->getPath(), L"/roll.mov");
    EXPECT_EQ(dynamic_cast<DmSourceNode::MediaInput&>(*source.getSrcInput()).getSrcIn(), 4);
}

TEST(Otio, PutsWhatFilesSayIntoTheModel)
{
    using Input = DmSourceNode::Input;
    using Generated = DmSourceNode::GeneratedInput;
    const auto input = [](const Read& made) -> const Input&
    { return *dynamic_cast<DmSourceNode&>(made.element(0)).getSrcInput(); };
    const auto info = [&](const Read& made) -> const DmSourceInfo& { return *input(made).getSrcInfo(); };
    const auto effect = [](const Read& made) { return dynamic_cast<DmTrxEffectNode&>(made.element(1)).getEffect(); };
    const auto wipe = [&](const Read& made) { return dynamic_cast<const DmWipeSettings*>(effect(made)); };
    const auto speed = [](const Read& made)
    { return dynamic_cast<const DmVTimewarpSettings&>(*made.segment(0).getEffects()[0]).getSpeed(); };
    const auto look = [](const Read& made)
    { return dynamic_cast<const DmLookSettings*>(made.segment(0).getEffects()[0].get()); };
    const auto hasNoEffect = [](const Read& made) { return made.segment(0).getEffects().count() == 0; };
    const auto mark = [](const Read& made) -> const DmCueMark&
    { return dynamic_cast<const DmCueMark&>(*made.segment(0).getSegmentMarks()[0]); };
    const auto inside = [](const Read& made) -> const DmCompositionNode&
    { return *dynamic_cast<DmContainerNode&>(made.element(0)).getComposition(); };
    const auto warp = [](const char* schema) { return R"(,"effects":[{"OTIO_SCHEMA":)" + std::string(schema) + "}]"; };
    const auto cdl = [](const std::string& members) { return R"(,"metadata":{"cdl":{)" + members + "}}"; };
    const auto marker = [](const char* colour) {
        return R"(,"markers":[{"OTIO_SCHEMA":"Marker.2","marked_range":)" + range(12, 3) + R"(,"color":)" + colour +
               "}]";
    };
    const std::string one = clip("one", range(10, 20), file(range(4, 50)));
    const auto single = [](const std::string& further) { return clip("one", range(10, 20), further); };

    struct Case
    {
        const char* feature;
        std::string text;
        std::function<bool(const Read&)> holds;
        const char* message = "";
    };
    const Case cases[] = {
        {"file", one, [&](const Read& made) { return input(made).hasMedia() && info(made).getName() == L"roll"; }},
        {"missing", single(media("MissingReference.1", "")),
         [&](const Read& made) { return !input(made).hasMedia() && input(made).getSrcLength() == 20; }},
        {"sequence",
         single(media("ImageSequenceReference.1", R"(,"name_prefix":"p.","frame_zero_padding":4,"start_frame":7)")),
         [&](const Read& made)
         { return info(made).getFileList()[0] == L"p.####" && info(made).getFileSeqEnd() == 26; }},
        {"generator", single(media("GeneratorReference.1", R"(,"generator_kind":"SMPTEBars")")),
         [&](const Read& made)
         { return dynamic_cast<const Generated&>(input(made)).getInputType() == L"INPUT_SMPTE_BARS"; }},
        {"generator of an unknown kind", single(media("GeneratorReference.1", R"(,"generator_kind":"Odd")")),
         [&](const Read& made) { return dynamic_cast<const Generated&>(input(made)).getInputType() == L"INPUT_BLACK"; },
         "generators of unknown kinds: play black"},
        {"the active of several references",
         single(R"(,"active_media_reference_key":"b","media_references":{"a":null,"b":{"OTIO_SCHEMA":)"
                R"("ExternalReference.1","target_url":"b.mov"}})"),
         [&](const Read& made) { return info(made).getPath() == L"b.mov"; }},
        {"reel", single(R"(,"metadata":{"cmx_3600":{"reel":"A01"}})"),
         [&](const Read& made) { return info(made).getReelName() == L"A01"; }},
        {"speed", single(warp(R"("LinearTimeWarp.1","time_scalar":-0.5)")),
         [&](const Read& made) { return speed(made) == -0.5; }},
        {"still", single(warp(R"("FreezeFrame.1")")), [&](const Read& made) { return speed(made) == 0; }},
        {"look", single(cdl(R"("asc_sop":{"slope":[1,1.5,1],"offset":[0,0,-0.1],"power":[1,1,2]},"asc_sat":0.5)")),
         [&](const Read& made)
         {
             return look(made)->getSlopeG() == 1.5 && look(made)->getOffsetB() == -0.1 &&
                    look(made)->getPowerB() == 2 && look(made)->getSaturation() == 0.5 &&
                    look(made)->getComment().empty();
         }},
        {"look without a saturation", single(cdl(R"("asc_sop":{"slope":[2,1,1],"offset":[0,0,0],"power":[1,1,1]})")),
         [&](const Read& made) { return look(made)->getSlopeR() == 2 && look(made)->getComment() == L"ASC_SOP"; }},
        {"look of a saturation", single(cdl(R"("asc_sat":0)")),
         [&](const Read& made) { return look(made)->getSaturation() == 0 && look(made)->getComment() == L"ASC_SAT"; }},
        {"two numbers for three", single(cdl(R"("asc_sop":{"slope":[1,1],"offset":[0,0,0],"power":[1,1,1]})")),
         hasNoEffect},
        {"a text for a number", single(cdl(R"("asc_sop":{"slope":[1,1,"1"],"offset":[0,0,0],"power":[1,1,1]})")),
         hasNoEffect},
        {"a number for a look", single(R"(,"metadata":{"cdl":1})"), hasNoEffect},
        {"a text for a saturation", single(cdl(R"("asc_sat":"0.5")")), hasNoEffect},
        {"mute", single(R"(,"enabled":false)"), [&](const Read& made) { return made.segment(0).getMuted(); }},
        {"marker", one.substr(0, one.size() - 1) + marker(R"("PINK")") + "}",
         [&](const Read& made)
         {
             return mark(made).getCueMarkTime() == 8 && mark(made).getCueMarkDuration() == 3 &&
                    mark(made).getCueMarkColorGreen() == 192;
         }},
        {"marker's own colour", single(marker(R"({"r":2,"g":-1,"b":0.5})")),
         [&](const Read& made)
         {
             return mark(made).getCueMarkColorRed() == 255 && mark(made).getCueMarkColorGreen() == 0 &&
                    mark(made).getCueMarkColorBlue() == 128;
         }},
        {"outermost markers", timeline(track(one)).insert(timeline("").size() - 16, marker("null")),
         [](const Read& made)
         { return dynamic_cast<const DmCueMark&>(*made.composition().getCueMarks()[0]).getCueMarkTime() == 112; }},
        {"wipe", track(one + "," + transition(1, 1, "SMPTE_Wipe12") + "," + one),
         [&](const Read& made) { return wipe(made) && wipe(made)->getSmptePattern() == 12; }},
        {"wipe of an event",
         track(one + "," + transition(1, 1, "SMPTE_Wipe", R"(,"metadata":{"cmx_3600":{"transition":"W034"}})") + "," +
               one),
         [&](const Read& made) { return wipe(made) && wipe(made)->getSmptePattern() == 34; }},
        {"other transition", track(one + "," + transition(1, 1, "Custom_Transition") + "," + one),
         [&](const Read& made) { return dynamic_cast<const DmVDissolveSettings*>(effect(made)) != nullptr; },
         "transitions other than dissolves and wipes: play as dissolves"},
        {"nested stack", track(stack(track(one) + "," + track(one), R"(,"source_range":)" + range(3, 7))),
         [&](const Read& made)
         {
             return made.segment(0).getRelIn() == 3 && made.segment(0).getRecLength() == 7 &&
                    inside(made).getNbChildren() == 2 && inside(made).getCompLength() == 20;
         }},
        {"part of a track", stack(track(one, "Video", R"(,"source_range":)" + range(3, 7))),
         [&](const Read& made) { return made.segment(0).getRelIn() == 3 && made.composition().getCompLength() == 7; }},
        {"unknown schema", track(R"({"OTIO_SCHEMA":"Odd.3","source_range":)" + range(0, 9) + "}"),
         [](const Read& made)
         { return made.element(0).whatIs() == DM_GAP_NODE && made.segment(0).getRecLength() == 9; },
         "objects of unknown schemas: play as gaps"},
        {"collection of collections", collection(collection(one) + "," + one),
         [](const Read& made)
         {
             return made.root->getChild(0)->whatIs() == DM_REEL_NODE &&
                    made.root->getChild(1)->whatIs() == DM_COMPOSITION_NODE;
         }},
        {"a mode for each composition", collection(one + "," + clip("b", range(0, 5, "30.0"))),
         [](const Read& made)
         {
             const auto& second = dynamic_cast<DmCompositionNode&>(*made.root->getChild(0)->getChild(1));
             return second.getFCM() == L"30 fps" && second.getCompLength() == 5;
         }},
    };
    for (const Case& each : cases)
    {
        SCOPED_TRACE(each.feature);
        const Read made = read(each.text);
        ASSERT_TRUE(made.root) << made.messages;
        EXPECT_TRUE(each.holds(made));
        EXPECT_NE(made.messages.find(each.message), std::string::npos) << made.messages;
        EXPECT_EQ(made.messages.empty(), *each.message == 0) << made.messages;
    }
}

TEST(Otio, WritesWhatWasEdited)
{
    const auto input = [](const Read& made) -> DmSourceNode::Input&
    { return *dynamic_cast<DmSourceNode&>(made.element(0)).getSrcInput(); };
    const auto mark = [](const Read& made) -> DmCueMark&
    { return dynamic_cast<DmCueMark&>(*made.segment(0).getSegmentMarks()[0]); };
    const auto look = [](const Read& made) -> DmLookSettings&
    { return dynamic_cast<DmLookSettings&>(*made.segment(0).getEffects()[0]); };
    const auto mix = [](const Read& made) -> DmTrxEffectNode&
    { return dynamic_cast<DmTrxEffectNode&>(made.element(1)); };
    const auto wipe = []
    {
        const auto effect = DmWipeSettings::create();
        return effect->setSmptePattern(12) == DM_NO_ERROR ? effect : nullptr;
    };
    struct Case
    {
        const char* what;
        std::function<eDmErrorId(const Read&)> edit;
        std::string expected;
    };
    const Case cases[] = {
        {"name", [](const Read& made) { return made.segment(0).setName(L"two"); }, R"("name":"two")"},
        {"length", [](const Read& made) { return made.segment(0).setRecLength(12); }, range(10, 12)},
        {"begin", [](const Read& made) { return made.segment(0).setRelIn(9); }, range(9, 20)},
        {"mute", [](const Read& made) { return made.segment(0).setMuted(true); }, R"("enabled":false)"},
        {"material", [&](const Read& made) { return input(made).setSrcLength(60); }, range(0, 60)},
        {"path", [&](const Read& made) { return input(made).getSrcInfo()->setPath(L"b.mov"); },
         R"("target_url":"b.mov")"},
        {"reel", [&](const Read& made) { return input(made).getSrcInfo()->setReelName(L"B2"); },
         R"("cmx_3600":{"reel":"B2"})"},
        {"marker", [](const Read& made) { return made.segment(0).addSegmentMark(DmCueMark::create(L"hit", 3)); },
         R"("name":"hit")"},
        {"time of a marker", [&](const Read& made) { return mark(made).setCueMarkTime(3); },
         R"("marked_range":)" + range(3, 0)},
        {"colour of a marker", [&](const Read& made) { return mark(made).setCueMarkColorBlue(250); },
         R"("color":"MAGENTA")"},
        {"no marker", [](const Read& made) { return made.segment(0).removeSegmentMark(0); }, R"("markers":[])"},
        {"speed", [](const Read& made) { return made.segment(0).addEffect(DmVTimewarpSettings::create()); },
         R"("time_scalar":1.0)"},
        {"another look", [](const Read& made) { return made.segment(0).addEffect(DmLookSettings::create()); },
         "effects that the format has no words for: other programs do not see them"},
        {"saturation", [&](const Read& made) { return look(made).setSaturation(2); }, R"("asc_sat":2.0)"},
        {"slope", [&](const Read& made) { return look(made).setSlopeR(0.5); }, R"("slope":[0.5,1.0,2.0])"},
        {"a number that is none", [&](const Read& made) { return look(made).setPowerG(std::nan("")); },
         "effects that the format has no words for: other programs do not see them"},
        {"no look", [](const Read& made) { return made.segment(0).removeEffect(0); }, R"("asc_sop":{"odd":2})"},
        {"offset of a transition", [&](const Read& made) { return mix(made).setRelIn(3); },
         R"("in_offset":)" + time(3)},
        {"wipe", [&](const Read& made) { return mix(made).setEffect(wipe()); }, R"("transition":"W012")"},
        {"another transition", [&](const Read& made) { return mix(made).setEffect(DmLookSettings::create()); },
         R"("transition_type":"Custom_Transition")"},
        {"start", [](const Read& made) { return made.composition().setStartTC(7, L"25 fps"); },
         R"("global_start_time":)" + time(7)},
        {"another composition",
         [](const Read& made) {
             return made.root->addChild(DmCompositionNode::create(L"second", L"24 fps", {})) == 2 ? DM_NO_ERROR
                                                                                                  : DM_BAD_VALUE;
         },
         R"({"OTIO_SCHEMA":"SerializableCollection.1")"},
    };
    for (const Case& each : cases)
    {
        SCOPED_TRACE(each.what);
        const std::string marker =
            R"(,"markers":[{"OTIO_SCHEMA":"Marker.2","odd":3,"marked_range":)" + range(5, 0) +
            R"(,"color":"RED"}],"odd":1,"metadata":{"k":1,"cdl":{"asc_sop":{"slope":[1,1,2],"offset":[0,0,0],)" +
            R"("power":[1,1,1],"odd":2},"id":"x"}})";
        const Read made = read(timeline(track(clip("one", range(10, 20), file(range(0, 50)) + marker) + "," +
                                              transition(4, 0) + "," + clip("next", range(0, 9)))));
        ASSERT_TRUE(made.root) << made.messages;
        EXPECT_EQ(write(*made.root).find(each.expected), std::string::npos);
        ASSERT_EQ(each.edit(made), DM_NO_ERROR);
        const std::string text = write(*made.root);
        EXPECT_NE(text.find(each.expected), std::string::npos) << text;
        EXPECT_NE(text.find(R"("odd":1)"), std::string::npos) << text;
    }
}

TEST(Otio, WritesDocumentsOfOtherOrigin)
{
    const DmString fcm(L"25 fps");
    const auto info = DmSourceInfo::create();
    ASSERT_EQ(info->setPath(L"a.mov"), DM_NO_ERROR);
    ASSERT_EQ(info->setReelName(L"A1"), DM_NO_ERROR);
    const auto input = DmSourceNode::MediaInput::create(50, 1000, info, fcm, DM_MEDIA_VIDEO, true);
    ASSERT_EQ(input->setFcm(L"50 fps"), DM_NO_ERROR);
    DmLayerBuilder builder(0, DM_MEDIA_VIDEO, 90000);
    for (const auto& element : std::initializer_list<CoSharedPtr<DmTreeNode>>{
             DmGapNode::create(DM_MEDIA_VIDEO, 0, 5), DmSourceNode::create(input, 0, 10, 2, false, false),
             DmTrxEffectNode::create(DmVDissolveSettings::create(), 0, 4, 1),
             DmSourceNode::create(input, 0, 6, 4, false, false)})
        ASSERT_EQ(builder.append(element), DM_NO_ERROR);
    const auto composition = DmCompositionNode::create(L"cut", fcm, {});
    ASSERT_EQ(composition->setStartTC(90000, fcm), DM_NO_ERROR);
    ASSERT_EQ(composition->addCueMark(DmCueMark::create(L"m", 90003)), DM_NO_ERROR);
    const auto track = DmTrackNode::create(1, DM_MEDIA_VIDEO);
    track->addChild(builder.finish());
    composition->addChild(track);
    const auto root = DmRoot::create();
    root->addChild(composition);

    const std::string text = write(*root);
    for (const std::string& expected :
         {R"("global_start_time":)" + time(90000), R"("marked_range":)" + range(3, 0), range(1001, 11), range(999, 9),
          range(1000, 25), R"("in_offset":)" + time(1), R"("out_offset":)" + time(3), std::string(R"("reel":"A1")"),
          std::string(R"("target_url":"a.mov")"), std::string(R"("OTIO_SCHEMA":"Gap.1")")})
        EXPECT_NE(text.find(expected), std::string::npos) << expected << "\n" << text;
    EXPECT_EQ(write(*read(text).root), text);

    // A cut inside counts in its own mode, and what stands behind it in that of the outer one.
    ASSERT_EQ(composition->setFCM(L"50 fps"), DM_NO_ERROR);
    DmLayerBuilder outer(0, DM_MEDIA_VIDEO);
    for (const auto& element : std::initializer_list<CoSharedPtr<DmTreeNode>>{
             DmContainerNode::create(composition, DM_MEDIA_VIDEO, 0, 7), DmGapNode::create(DM_MEDIA_VIDEO, 0, 5)})
        ASSERT_EQ(outer.append(element), DM_NO_ERROR);
    const auto around = DmCompositionNode::create(L"around", fcm, {});
    const auto outerTrack = DmTrackNode::create(1, DM_MEDIA_VIDEO);
    outerTrack->addChild(outer.finish());
    around->addChild(outerTrack);
    root->removeChild(0);
    root->addChild(around);
    const std::string nested = write(*root);
    EXPECT_NE(nested.find(R"("in_offset":)" + time(1, "50.0")), std::string::npos) << nested;
    EXPECT_NE(nested.find(range(0, 5)), std::string::npos) << nested;
}

TEST(Otio, CarriesCutListsThrough)
{
    struct Case
    {
        const char* feature;
        std::string events;
        const char* written = "";
        const char* message = ""; ///< of writing OpenTimelineIO
    };
    const std::string first = "001  A1       V     C        01:00:00:00 01:00:04:00 10:00:00:00 10:00:04:00\n";
    const std::string outgoing = "002  A1       V     C        01:00:04:00 01:00:04:00 10:00:04:00 10:00:04:00\n";
    const std::string mix = "002  A2       V     D    025 02:00:00:00 02:00:03:00 10:00:04:00 10:00:07:00\n";
    const std::string names = "* FROM CLIP NAME: one\n* SOURCE FILE: one.mov\n* SOURCE PATH: /one\n";
    const Case cases[] = {
        {"looks",
         first + "* ASC_SOP (1.1000 1.0000 0.9500)(0.0100 0.0000 -0.0100)(1.0000 1.0000 1.2000)\n* ASC_SAT 0.9000\n",
         R"("cdl":{"asc_sop":{"slope":[1.1,1.0,0.95],"offset":[0.01,0.0,-0.01],"power":[1.0,1.0,1.2]},"asc_sat":0.9})"},
        {"a saturation", first + "* ASC_SAT 0.9000\n", R"("cdl":{"asc_sat":0.9})"},
        {"notes", first + "* a still\nEFFECTS NAME IS BLUR\nSPLIT:    AUDIO DELAY= 00:00:01:00\n* KEY CLIP NAME: k\n",
         R"("comments":["a still","EFFECTS NAME IS BLUR","SPLIT:    AUDIO DELAY= 00:00:01:00","KEY CLIP NAME: k"])"},
        {"names, of which the model has its own", first + names, R"("cmx_3600":{"reel":"A1"})"},
        {"notes of the head", "* of the whole\n" + first, R"("comments":["of the whole"])"},
        {"notes of a transition", first + outgoing + "* from\n" + mix + "* to\n", R"("comments":["from"])"},
        {"a note of picture and sound",
         "001  A1       B     C        01:00:00:00 01:00:04:00 10:00:00:00 10:00:04:00\n* both\n"},
        {"a speed", "001  A1       V     C        01:00:00:00 01:00:08:00 10:00:00:00 10:00:04:00\n"
                    "M2   A1             050.0                01:00:00:00\n"},
        {"an outgoing side of its own",
         first + "002  A3       V     C        01:00:04:00 01:00:04:00 10:00:04:00 10:00:04:00\n" + mix},
        {"a source side of its own", "001  A1       V     C        01:00:00:00 01:00:04:00 10:00:00:00 10:00:04:00\n"
                                     "M2   A1             000.0                01:00:00:00\n"},
        {"a background", "001  A1       V     K B      01:00:00:00 01:00:04:00 10:00:00:00 10:00:04:00\n"},
    };
    for (const Case& each : cases)
    {
        SCOPED_TRACE(each.feature);
        const std::string text = "TITLE: cut\nFCM: NON-DROP FRAME\n" + each.events;
        Report report;
        const CoSharedPtr<DmRoot> listed = edlToTree(*readEdl(text, DM::FCM_25, report), report);
        ASSERT_TRUE(listed) << report.toString("cut.edl");
        const std::string written = write(*listed);
        EXPECT_EQ(written.find("warning: ") == written.npos, *each.message == 0) << written;
        EXPECT_NE(written.find(each.message), std::string::npos) << written;
        const CoSharedPtr<DmRoot> back = read(written.substr(0, written.find("cut.json"))).root;
        ASSERT_TRUE(back);
        const std::string again = icTest::written(*treeToEdl(*back, {}, report));
        EXPECT_EQ(again == text, each.written != nullptr) << again;
        EXPECT_NE(written.find(each.written ? each.written : ""), std::string::npos) << written;
    }
}

TEST(Otio, MutesWhatStandsOnATrackThatIsOff)
{
    const std::string one = clip("one", range(10, 20), R"(,"enabled":true)" + file(range(0, 50)));
    const std::string gap = R"({"OTIO_SCHEMA":"Gap.1","source_range":)" + range(0, 9) + "}";
    const Read made = read(timeline(track(one + "," + gap + "," + one, "Video", R"(,"enabled":false)")));
    EXPECT_TRUE(made.segment(0).getMuted());
    EXPECT_FALSE(made.segment(2).getMuted()) << "a gap";
    EXPECT_TRUE(made.segment(4).getMuted());

    ASSERT_EQ(made.segment(4).setMuted(false), DM_NO_ERROR);
    const Read again = read(write(*made.root));
    EXPECT_TRUE(again.segment(0).getMuted());
    EXPECT_FALSE(again.segment(4).getMuted());
    EXPECT_NE(write(*made.root).find(R"("kind":"Video","enabled":true)"), std::string::npos) << write(*made.root);
}

TEST(Otio, NamesWhatIsNoneOfOursUnderOurKey)
{
    const std::array<const char*, 2> cases[] = {
        {R"("x")", "ZRdmtree"},
        {R"({"x":1})", "x"},
        {R"({"node":7})", "node"},
        {R"({"node":{"y":{"is":1}}})", "y"},
        {R"({"node":{"shotName":{}}})", "shotName"},
        {R"({"node":{"srcInput":{"inside":{"z":{"is":1}}}}})", "srcInput"},
    };
    for (const auto& [own, name] : cases)
        EXPECT_NE(read("\n" + clip("a", range(0, 5), R"(,"metadata":{"ZRdmtree":)" + std::string(own) + "}"))
                      .messages.find("cut.otio:2: warning: a: \"" + std::string(name) + "\" among"),
                  std::string::npos)
            << own;
}

TEST(Otio, SaysWhatIsWrongAndWhere)
{
    struct Case
    {
        std::string text;
        const char* message;
        const char* choice = nullptr; ///< of a lenient reader, where it carries on
    };
    std::string deep = clip("a", range(0, 5));
    for (int i = 0; i < 100; ++i)
        deep = stack(track(deep));
    std::string many;
    for (int i = 0; i < 300; ++i)
        many += clip("a", range(0, 5)) + ",\n";
    const Case cases[] = {
        {track(many + clip("b", "null")), "cut.otio:301: b, V1, 00:01:00:00: an item without a length",
         "taken as zero"},
        {deep, "stacks nested too deeply", "what is inside plays as a gap"},
        {"", "cut.otio:1: The document is empty."},
        {"{\n\n\"a\":", "cut.otio:3: "},
        {std::string("{}\0{}", 5), "cut.otio:1: a null character"},
        {std::string(100000, '['), "cut.otio:1: nested too deeply"},
        {"[]", "no timeline, stack, track or clip"},
        {"\n" + clip("a", range(0, 5, "48.0")),
         "no frame-code mode has the rate 48; name one to convert to with --fcm, the best is '24 fps'"},
        {"\n" + clip("a", range(0, 5, "119.88")), "--fcm, the best is '59.94 fps NDF'"},
        {"\n" + clip("a", range(0, 5, "15.0")), "--fcm, the best is '30 fps'"},
        {"\n" + clip("a", range(0, 5, "23.0")), "--fcm, the best is '23.976 fps'"},
        {"\n" + clip("a", "null"), "cut.otio:2: a, V1, 00:00:00:00: an item without a length", "taken as zero"},
        {"\n" + clip("a", range(0, -5)), R"("duration" in "source_range" is negative)", "taken as zero"},
        {track("\n7"), "cut.otio:1: V1: a child that is no object", "left out"},
        {track(clip("a", range(0, 5)) + ",\n" + transition(-1, 2)),
         "cut.otio:2: V1, 00:00:00:05: a transition with a negative offset", "taken as zero"},
        {clip("a\\n\\n", "\nnull"), "cut.otio:1: a\\x0a\\x0a, V1, 00:00:00:00: an item without a length",
         "taken as zero"},
        {track(clip("a\\n\\n", range(0, 5)) + ",\n" + clip("b", range(0, -5))),
         R"(cut.otio:2: b, V1, 00:00:00:05: "duration" in "source_range" is negative)", "taken as zero"},
        {clip("a", range(0, 5), R"(,"x":1e400)"), "Number too big"},
        {clip("a", range(0, 5), R"(,"x":NaNe300)"), "a number that is too large, or none"},
        {clip("a", range(0, 5), R"(,"x":"\udc00")"), "a text that is no UTF-8"},
        {clip("a", range(0, 5, "0.0")), R"("rate" in "duration" in "source_range" is not above zero)", "taken as zero"},
        {clip("a", range(0, 5, "NaN")), R"("rate" in "duration" in "source_range" is no finite number)",
         "taken as zero"},
        {R"({"OTIO_SCHEMA":"Odd.1"})", "an object of the schema Odd is no timeline, stack, track or clip",
         "an empty composition stands for it"},
        {collection("7"), "a child that is no object", "left out"},
    };
    for (const Case& each : cases)
    {
        const Read made = read(each.text);
        EXPECT_FALSE(made.root) << each.text.substr(0, 200);
        EXPECT_NE(made.messages.find(each.message), std::string::npos) << made.messages;
        const Read carried = read(each.text, DM::FCM_NOT_DEFINED, Report::Lenient);
        ASSERT_EQ(carried.root != nullptr, each.choice != nullptr) << carried.messages;
        EXPECT_NE(carried.messages.find(each.choice ? each.choice : each.message), std::string::npos)
            << carried.messages;
    }
}

TEST(Otio, APartOfAFrameCoversNothing)
{
    std::string part = range(3, 1);
    part.replace(part.find("1.0}"), 3, "0.25");
    const std::string text = track(clip("a", range(0, 5)) + "," + clip("b", part) + "," + clip("c", range(0, 5)));
    const Read made = read(text);
    ASSERT_TRUE(made.root) << made.messages;
    EXPECT_EQ(canonical(write(*made.root)), canonical(text));
}

TEST(Otio, KeepsIntegersOfSixtyFourBitsAndNamesLonger)
{
    for (const char* const number :
         {"0", "-1", "9223372036854775807", "-9223372036854775808", "9223372036854775808", "18446744073709551615"})
    {
        const std::string text = R"("metadata":{"uid":)" + std::string(number) + "}";
        const Read made = read(clip("a", range(0, 5), "," + text));
        ASSERT_TRUE(made.root) << made.messages;
        EXPECT_EQ(made.messages, "");
        EXPECT_NE(write(*made.root).find(text), std::string::npos) << write(*made.root);
    }
    for (const char* const number : {"18446744073709551616", "-9223372036854775809", "123456789012345678901234567890"})
        EXPECT_EQ(read("\n" + clip("a", range(0, 5), R"(,"metadata":{"uid":)" + std::string(number) + "}")).messages,
                  "cut.otio:2: warning: integers beyond 64 bits (1): kept to 17 digits\n");
}

TEST(Otio, ConvertsRatesAndTellsByHowMuch)
{
    const Read exact = read(track(clip("a", range(25, 50)) + "," + clip("b", range(50, 100, "50.0"))));
    ASSERT_TRUE(exact.root) << exact.messages;
    EXPECT_EQ(exact.segment(2).getRecLength(), 50);
    EXPECT_EQ(exact.messages.find("warning"), std::string::npos) << exact.messages;

    const Read moved = read(clip("a", range(0, 12, "48.0")), DM::FCM_25);
    ASSERT_TRUE(moved.root) << moved.messages;
    EXPECT_EQ(moved.segment(0).getRecLength(), 6);
    EXPECT_NE(moved.messages.find("at most 0.25 frames (10 ms)"), std::string::npos) << moved.messages;
}

TEST(Otio, IsReadInPiecesToTheSameDocument)
{
    // Six clips of one shape; what a case names stands otherwise in the fourth, or around them. `manner`: that in which
    // all of them say it otherwise.
    using Pair = std::pair<std::string_view, std::string_view>;
    const auto timeline = [](std::string_view from, std::string_view to, const std::vector<Pair>& manner)
    {
        bool isReplaced = false;
        const auto replace = [&](std::string text)
        {
            if (const std::size_t at = from.empty() ? text.npos : text.find(from); at != text.npos)
            {
                text.replace(at, from.size(), to);
                isReplaced = true;
            }
            return text;
        };
        const auto time = [](int value)
        { return "{\"OTIO_SCHEMA\": \"RationalTime.1\", \"rate\": 24.0, \"value\": " + std::to_string(value) + ".0}"; };
        const auto range = [&](int start, int length)
        {
            return "{\"OTIO_SCHEMA\": \"TimeRange.1\", \"duration\": " + time(length) +
                   ",\n\"start_time\": " + time(start) + "}";
        };
        std::string text = R"({"OTIO_SCHEMA": "Timeline.1", "metadata": {}, "name": "t", "global_start_time": null,
"tracks": {"OTIO_SCHEMA": "Stack.1", "metadata": {}, "name": "tracks", "source_range": null, "effects": [],
"markers": [], "enabled": true, "children": [
    {"OTIO_SCHEMA": "Track.1", "metadata": {}, "name": "V1", "source_range": null, "effects": [], "markers": [],
    "enabled": true,
    "children": [
)";
        for (int i = 0; i < 6; ++i)
        {
            std::string clip =
                R"({"OTIO_SCHEMA": "Clip.2", "metadata": {"cmx_3600": {"reel": "A1", "comments": ["SOURCE FILE: s)" +
                std::to_string(i) + R"("]}, "id": )" + std::to_string(i) + R"(}, "name": "c)" + std::to_string(i) +
                "\", \"source_range\": " + range(100 + i, 20 + i) +
                R"(, "effects": [], "markers": [], "enabled": true, "media_references": {"DEFAULT_MEDIA": )" +
                R"({"OTIO_SCHEMA": "ExternalReference.1", "metadata": {}, "name": "m", "available_range": )" +
                range(90, 1000) + R"(, "available_image_bounds": null, "target_url": "file:///m/a)" +
                std::to_string(i % 2) + R"(.mov"}}, "active_media_reference_key": "DEFAULT_MEDIA"})";
            for (const auto& [usual, other] : manner)
                clip.replace(clip.find(usual), usual.size(), other);
            text += (i == 0 ? "        " : ",\n        ") + (i == 3 ? replace(clip) : clip);
        }
        text += "\n    ],\n    \"kind\": \"Video\"}]}}";
        return isReplaced ? text : replace(text);
    };
    const auto transition = [](const char* offset)
    {
        return std::string(R"({"OTIO_SCHEMA": "Transition.1", "metadata": {}, "name": "", "transition_type": )") +
               R"("SMPTE_Dissolve", "in_offset": {"OTIO_SCHEMA": "RationalTime.1", "rate": 24.0, "value": )" + offset +
               R"(}, "out_offset": {"OTIO_SCHEMA": "RationalTime.1", "rate": 24.0, "value": 6.0}}, {"OTIO_SCHEMA")";
    };
    const std::string dissolve = transition("4.0");
    const std::string fraction = transition("4.25");
    const std::string two = dissolve.substr(0, dissolve.size() - 14) + dissolve;
    const struct
    {
        std::string_view from;
        std::string_view to;
    } cases[] = {
        {"", ""},
        {"\"c3\"", "\"\""},
        {"\"c3\"", "\"untitled\""},
        {"\"c3\"", R"("\u00e9\n")"},
        {"\"c3\"", "\"\xC3\xA9\""},
        {"\"c3\"", "\"\xC3\""},
        {"\"c3\"", "null"},
        {"103.0", "103"},
        {"103.0", "103.5"},
        {"103.0", "-3.0"},
        {"103.0", "80.0"},
        {"103.0", "1e3"},
        {"103.0", "0103.0"},
        {"103.0", "1000000000103.0"},
        {"23.0", "0.0"},
        {"23.0", "2000.0"},
        {"24.0", "25.0"},
        {"1000.0", "999.0"},
        {"/m/a1", "/m/a%201"},
        {"/m/a1", "/C:/a1"},
        {"file:///m/a1.mov", ""},
        {"file:///m/a1.mov", "http://m/a1.mov"},
        {"\"reel\": \"A1\"", "\"reel\": 1"},
        {"\"SOURCE FILE: s3\"", "\"free\", \"FROM CLIP NAME: s3\""},
        {"\"SOURCE FILE: s3\"", "\"LOC: 01:00:00:00 RED x\""},
        {"\"id\": 3", R"("id": 3, "ZRdmtree": {"node": {"shotName": {"is": "s"}}})"},
        {"\"id\": 3", R"("id": 3, "cdl": {"asc_sat": 0.5})"},
        {"\"id\": 3", R"("id": 123456789012345678901234567890)"},
        {"\"effects\": []", R"("effects": [{"OTIO_SCHEMA": "LinearTimeWarp.1", "time_scalar": 2.0}])"},
        {"\"effects\": []", "\"effects\": [,]"},
        {"\"enabled\": true", "\"enabled\": false"},
        {"Clip.2", "Clip.3"},
        {"Clip.2", "Strange.1"},
        {"{\"OTIO_SCHEMA\"", dissolve},
        {"{\"OTIO_SCHEMA\"", fraction},
        {"{\"OTIO_SCHEMA\"", two},
        {"{\"OTIO_SCHEMA\"", "7, {\"OTIO_SCHEMA\""},
        {"{\"OTIO_SCHEMA\"", ", {\"OTIO_SCHEMA\""},
        {"{\"OTIO_SCHEMA\"", "]}, {\"OTIO_SCHEMA\""},
        {"{\"OTIO_SCHEMA\"", "[\n    ], {\"OTIO_SCHEMA\""},
        {"\"t\"", "\"\\n\\n\""},
        {"\"source_range\": null, \"effects\": [], \"markers\": [],\n    \"enabled\"",
         R"("source_range": {"OTIO_SCHEMA": "TimeRange.1", "duration": {"OTIO_SCHEMA": "RationalTime.1", "rate": 24.0,
"value": 50.0}, "start_time": {"OTIO_SCHEMA": "RationalTime.1", "rate": 24.0, "value": 10.0}}, "enabled")"},
        {"Timeline.1", "Strange.1"},
    };
    const std::vector<Pair> old = {{"Clip.2", "Clip.1"},
                                   {"\"enabled\": true, ", ""},
                                   {R"("media_references": {"DEFAULT_MEDIA": )", "\"media_reference\": "},
                                   {R"(}}, "active_media_reference_key": "DEFAULT_MEDIA")", "}"},
                                   {"\"available_image_bounds\": null, ", ""},
                                   {"\"name\": \"m\"", "\"name\": null"}};
    for (const auto& each : cases)
        for (const auto& [leniency, manner] :
             {std::pair(Report::Strict, std::vector<Pair>()), {Report::Lenient, {}}, {Report::Lenient, old}})
        {
            const std::string text = timeline(each.from, each.to, manner);
            SCOPED_TRACE(std::string(each.from).append(" as ").append(each.to));
            Report ofPieces(leniency);
            Report ofWhole(leniency);
            const CoSharedPtr<DmRoot> pieces = readOtio(text, DM::FCM_NOT_DEFINED, ofPieces);
            const CoSharedPtr<DmRoot> whole = readOtio(text, DM::FCM_NOT_DEFINED, ofWhole, true);
            EXPECT_EQ(ofPieces.toString("cut.otio"), ofWhole.toString("cut.otio"));
            ASSERT_EQ(pieces == nullptr, whole == nullptr);
            bool isEqual = !pieces;
            std::string difference;
            EXPECT_TRUE(!pieces || (dmDeepEqual(*pieces, *whole, isEqual, &difference) == DM_NO_ERROR && isEqual))
                << difference;
        }
}

TEST(OtioJson, IsReadQuicklyToTheSameValues)
{
    const struct
    {
        const char* text;
        bool isQuick = true;
    } cases[] = {
        {"0"},
        {"-0"},
        {"-0.0"},
        {"7"},
        {"-12345"},
        {"999999999999999999"},
        {"-999999999999999999"},
        {"1000000000000000000"},
        {"9223372036854775807"},
        {"-9223372036854775807"},
        {"9223372036854775808"},
        {"9999999999999999999"},
        {"-9223372036854775808", false}, // the JSON library's again
        {"18446744073709551615", false},
        {"12345678901234567890123", false},
        {"0.1"},
        {"23.976023976023978"},
        {"123456789012345.5"},
        {"12345678901234.5"},
        {"9007199254740993.0"},
        {"1e3"},
        {"-2.5E-3"},
        {"0.000000000000001"},
        {"1e-400"},
        {"1e400", false},
        {"01", false},
        {"1.", false},
        {".5", false},
        {"+1", false},
        {"1e", false},
        {"-", false},
        {"true"},
        {"false"},
        {"null"},
        {"tru", false},
        {R"("")"},
        {R"("a text that is longer than sixteen characters, and \"quoted\" behind them")"},
        {R"("\b\f\n\r\t\/\\")"},
        {R"("caf\u00e9 \u20AC \ud83d\ude00")"},
        {"\"caf\xC3\xA9, caf\xC3\xA9, caf\xC3\xA9\""},
        {"\"caf\xC3\"", false},
        {R"("\ud83d")", false},
        {R"("\ude00\ud83d")", false},
        {R"("\u12g4")", false},
        {R"("\x")", false},
        {"\"a\tb\"", false},
        {"\"open", false},
        {"[]"},
        {"{}"},
        {R"([ 1 , [ 2 ] , { "a" : [ ] } ])"},
        {"{\r\n                                  \"name\"\t:                    [\n1,\n2]\n}"},
        {R"({"name": 1, "name": 2, "other": {"name": null}})"},
        {R"({"first": 1, "n\u0061me": 2})"},
        {R"({"n\u0061me": 2})", false}, // tells where the object stands
        {R"({"a": 1,})", false},
        {R"({"a" 1})", false},
        {R"({1: 1})", false},
        {"[1,]", false},
        {"[1 2]", false},
        {"[1}", false},
        {"1] 2", false},
    };
    const auto written = [](const otio::Value& value)
    {
        otio::json::StringBuffer text;
        otio::json::Writer<otio::json::StringBuffer> writer(text);
        value.Accept(writer);
        return std::string(text.GetString());
    };
    for (const auto& each : cases)
    {
        SCOPED_TRACE(each.text);
        const std::string text = std::string("[0, ") + each.text + "]";
        otio::json::Document quick;
        ASSERT_EQ(otio::parseQuickly(quick, text), each.isQuick);
        // What is no number of JSON's is left to the JSON library, and all else with it.
        otio::ParsedText usualText(std::string("[NaN, ") + each.text + "]");
        otio::json::Document usual;
        otio::JsonFault fault;
        if (usualText.parse(usual, fault) && each.isQuick)
            EXPECT_EQ(written(quick[1]), written(usual[1]));
        else
            EXPECT_FALSE(each.isQuick) << fault.what;
    }
}
