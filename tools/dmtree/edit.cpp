// dmtree edit: a cut room's operations on a timeline, from the command line or a script.
#include "dmtree.h"
#include "documents.h"
#include "modes.h"
#include "textFile.h"

#include "CoNumber.h"
#include "dmEdit.h"
#include "dmGapNode.h"
#include "dmKeyFrame.h"
#include "dmPlayed.h"
#include "dmPropertyFactory.h"
#include "dmSourceInput.h"
#include "dmStoredLabel.h"
#include "dmUtf8.h"
#include "dmWipeSettings.h"
#include "icInterchange.h"
#include "tuLabel.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <iterator>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

struct Options
{
    std::string in;
    std::string out;
    std::string script;
    std::vector<std::string> words;
    int composition = 1;
    std::string fcm;
    bool lenient = false;
    bool dryRun = false;
    bool ask = false;
    DmEditOptions edit;
    bool unlinked = false;
    bool unsynced = false;
    bool shorten = false;
    std::string unlockedTracks;
};

using Words = std::vector<std::string>;

/// What addresses and amounts mean in the timeline as it is.
class Room
{
public:
    Room(DmEdit& edit, const Options& options)
        : _edit(edit)
        , _options(options)
    {
    }

    DmEdit& edit() const { return _edit; }
    const Options& options() const { return _options; }
    DmTimeline now() const { return _edit.timeline(); }
    DM::FrameCodeModes fcm() const { return dmModeOrDefault(dmFcmFromText(now().composition()->getFCM())); }

    /// The record time of a label.
    double time(const std::string& label) const
    {
        if (label == "-")
            return dmNoTime; // a point that is not given
        double read = 0.0;
        if (const DmStatus status = now().readLabel(label, read); status.failed())
            throw std::runtime_error(dmUtf8(status.info()));
        return read;
    }

    static double number(const std::string& word)
    {
        const std::optional<double> value = DM::CoNumber::whole(word.starts_with('+') ? word.substr(1) : word);
        return value ? *value : throw std::runtime_error(word + ": no number");
    }

    std::optional<int> findTrack(const std::string& name) const
    {
        const DmTimeline timeline = now();
        DmString wide;
        static_cast<void>(dmFromUtf8(name, wide));
        for (int t = 0; t < timeline.trackCount(); ++t)
            if (timeline.track(t) && !wide.empty() && timeline.track(t)->getName() == wide)
                return t;
        for (int t = 0; t < timeline.trackCount(); ++t)
            if (const DmTrackNode* const node = timeline.track(t))
                if ((node->getMediaType() == DM_MEDIA_AUDIO ? "A" : "V") + std::to_string(node->getTrackNum()) == name)
                    return t;
        return {};
    }
    int track(const std::string& name) const
    {
        const std::optional<int> found = findTrack(name);
        return found ? *found : throw std::runtime_error(name + ": no such track");
    }
    std::vector<int> tracks(const std::string& names) const
    {
        std::vector<int> all;
        std::istringstream list(names);
        for (std::string name; std::getline(list, name, ',');)
            all.push_back(track(name));
        return all;
    }

    /// TRACK[.LAYER]: by default the top layer that plays something at the time.
    DmLayerPlace layer(const std::string& name, double at) const
    {
        const DmTimeline timeline = now();
        const std::size_t dot = name.rfind('.');
        if (dot != std::string::npos && !findTrack(name))
        {
            const int number = static_cast<int>(Room::number(name.substr(dot + 1)));
            const DmLayerPlace place{track(name.substr(0, dot)), number - 1};
            if (!timeline.layer(place))
                throw std::runtime_error(name + ": no such layer");
            return place;
        }
        const int number = track(name);
        for (int l = timeline.layerCount(number); l-- > 0;)
            if (const auto place = timeline.at({number, l}, at);
                place && !dynamic_cast<const DmGapNode*>(timeline.storedElement(*place)))
                return {number, l};
        return {number, 0};
    }

    struct At
    {
        DmLayerPlace layer;
        double time;
    };
    At at(const std::string& address) const
    {
        const std::size_t sign = address.rfind('@');
        if (sign == std::string::npos)
            throw std::runtime_error(address + ": no address; one is TRACK[.LAYER]@LABEL");
        const double when = time(address.substr(sign + 1));
        return {layer(address.substr(0, sign), when), when};
    }
    /// The element that contains the time.
    DmElementPlace element(const std::string& address) const
    {
        const At place = at(address);
        const auto found = now().at(place.layer, place.time);
        if (!found)
            throw std::runtime_error(address + ": nothing plays there");
        return *found;
    }
    DmElementPlace segment(const std::string& address) const
    {
        const DmElementPlace place = element(address);
        if (!dynamic_cast<const DmSegmentNode*>(now().storedElement(place)))
            throw std::runtime_error(address + ": a transition plays there");
        return place;
    }
    /// A cut by its time exactly, or a transition by any time in it.
    DmElementPlace seam(const std::string& address) const
    {
        const At at_ = at(address);
        DmElementPlace place = element(address);
        if (!dynamic_cast<const DmSegmentNode*>(now().storedElement(place)))
            return place;
        if (now().recIn(place) != at_.time || place.index == 0)
            throw std::runtime_error(address + ": no seam there");
        --place.index;
        return place;
    }

    /// What goes in: a copy of a segment of this timeline, or gap:, black: or bars: and a number of frames.
    CoSharedPtr<DmSegmentNode> material(const std::string& word, const DmLayerPlace& into) const
    {
        const std::size_t colon = word.find(':');
        const std::string kind = word.substr(0, colon);
        const DmTimeline timeline = now();
        const DmLayerNode* const layerNode = timeline.layer(into);
        const eDmTreeMediaType type = layerNode ? layerNode->getMediaType() : DM_MEDIA_VIDEO;
        if (colon != std::string::npos && (kind == "gap" || kind == "black" || kind == "bars"))
        {
            const double length = number(word.substr(colon + 1));
            if (!(length >= 1.0))
                throw std::runtime_error(word + ": at least one frame");
            if (kind == "gap")
                return DmGapNode::create(type, 0.0, length);
            const bool sound = type == DM_MEDIA_AUDIO;
            const auto input =
                DmSourceNode::GeneratedInput::create(sound ? (kind == "black" ? L"INPUT_SILENCE" : L"INPUT_TONE")
                                                           : (kind == "black" ? L"INPUT_BLACK" : L"INPUT_SMPTE_BARS"),
                                                     length, type);
            const auto source = DmSourceNode::create(input, 0.0, length, 0.0, false, false);
            static_cast<void>(source->setName(DmString(kind.c_str())));
            return source;
        }
        return DM::staticPointerCast<DmSegmentNode>(timeline.element(segment(word)));
    }

private:
    DmEdit& _edit;
    const Options& _options;
};

DmStatus trimmed(const Room& room, const Words& words, bool ripple)
{
    const DmElementPlace place = room.segment(words[0]);
    if (words[1] != "head" && words[1] != "tail")
        throw std::runtime_error(words[1] + ": neither head nor tail");
    const eDmEdge edge = words[1] == "head" ? DM_HEAD : DM_TAIL;
    return ripple ? room.edit().rippleTrim(place, edge, words[2]) : room.edit().trim(place, edge, words[2]);
}

/// TRACK@IN OUT
template <class Do>
DmStatus onRange(const Room& room, const Words& words, Do&& operation)
{
    const Room::At from = room.at(words[0]);
    return operation(from.layer, from.time, words[1]);
}

DmStatus onSeam(const Room& room, const Words& words, const CoSharedPtr<DmEffectSettings>& effect)
{
    static constexpr std::pair<const char*, eDmSeamAlignment> alignments[] = {
        {"begins", DM_BEGINS_AT_CUT}, {"centred", DM_CENTRED_ON_CUT}, {"ends", DM_ENDS_AT_CUT}};
    const std::string word = words.size() > 2 ? words[2] : "begins";
    for (const auto& [name, alignment] : alignments)
        if (word == name)
            return room.edit().transition(room.seam(words[0]), words[1], alignment, effect);
    throw std::runtime_error(word + ": neither begins, centred nor ends");
}

DmString wide(const std::string& text)
{
    DmString out;
    if (!dmFromUtf8(text, out))
        throw std::runtime_error(text + ": no UTF-8");
    return out;
}

DmTimeline openOther(const Room& room, const std::string& path)
{
    CoSharedPtr<DmTreeNode> other =
        dmtree::requireDocument(path, room.options().lenient, room.options().fcm, {}, room.fcm());
    DmStatus status;
    DmTimeline timeline = DmTimeline::takeOver(std::move(other), 0, &status);
    if (!timeline)
        throw std::runtime_error(path + ": " + dmUtf8(status.info()));
    return timeline;
}

struct Operation
{
    const char* name;
    std::size_t least, most; ///< arguments
    const char* usage;
    const char* example;
    DmStatus (*run)(const Room& room, const Words& words);
};

const Operation operations[] = {
    {"insert", 2, 2, "AT WHAT", "insert V1@01:00:04:00 black:12",
     [](const Room& r, const Words& w)
     {
         const Room::At at = r.at(w[0]);
         return r.edit().insert(at.layer, at.time, r.material(w[1], at.layer));
     }},
    {"overwrite", 2, 2, "AT WHAT", "overwrite V1@01:00:04:00 V1@01:00:00:00",
     [](const Room& r, const Words& w)
     {
         const Room::At at = r.at(w[0]);
         return r.edit().overwrite(at.layer, at.time, r.material(w[1], at.layer));
     }},
    {"lift", 1, 2, "SEGMENT | AT OUT", "lift V1@01:00:02:00 01:00:03:00",
     [](const Room& r, const Words& w)
     {
         return w.size() == 1
                    ? r.edit().liftSegment(r.segment(w[0]))
                    : onRange(r, w, [&](auto layer, double in, auto& out) { return r.edit().lift(layer, in, out); });
     }},
    {"extract", 2, 2, "AT OUT", "extract V1@01:00:02:00 01:00:03:00",
     [](const Room& r, const Words& w)
     { return onRange(r, w, [&](auto layer, double in, auto& out) { return r.edit().extract(layer, in, out); }); }},
    {"remove", 1, 1, "SEGMENT", "remove V1@01:00:02:00",
     [](const Room& r, const Words& w) { return r.edit().extractSegment(r.segment(w[0])); }},
    {"trim", 3, 3, "SEGMENT head|tail AMOUNT", "trim V1@01:00:02:00 tail -6",
     [](const Room& r, const Words& w) { return trimmed(r, w, false); }},
    {"ripple", 3, 3, "SEGMENT head|tail AMOUNT", "ripple V1@01:00:02:00 tail @01:00:03:12",
     [](const Room& r, const Words& w) { return trimmed(r, w, true); }},
    {"roll", 2, 2, "SEAM AMOUNT", "roll V1@01:00:04:00 +3",
     [](const Room& r, const Words& w) { return r.edit().roll(r.seam(w[0]), w[1]); }},
    {"slip", 2, 2, "SEGMENT AMOUNT", "slip V1@01:00:02:00 -10",
     [](const Room& r, const Words& w) { return r.edit().slip(r.segment(w[0]), w[1]); }},
    {"slide", 2, 2, "SEGMENT AMOUNT", "slide V1@01:00:02:00 +5",
     [](const Room& r, const Words& w) { return r.edit().slide(r.segment(w[0]), w[1]); }},
    {"split", 1, 1, "AT", "split V1@01:00:02:12",
     [](const Room& r, const Words& w)
     {
         const Room::At at = r.at(w[0]);
         return r.edit().split(at.layer, at.time);
     }},
    {"join", 1, 1, "SEAM", "join V1@01:00:02:12",
     [](const Room& r, const Words& w) { return r.edit().join(r.seam(w[0])); }},
    {"replace", 2, 2, "SEGMENT WHAT", "replace V1@01:00:02:00 V1@01:00:08:00",
     [](const Room& r, const Words& w)
     {
         const DmElementPlace place = r.segment(w[0]);
         return r.edit().replace(place, r.material(w[1], place.inLayer()));
     }},
    {"swap", 2, 2, "SEGMENT SEGMENT", "swap V1@01:00:00:00 V1@01:00:04:00",
     [](const Room& r, const Words& w) { return r.edit().swap(r.segment(w[0]), r.segment(w[1])); }},
    {"move", 2, 2, "SEGMENT AT", "move V1@01:00:02:00 V2@01:00:05:00",
     [](const Room& r, const Words& w)
     {
         const Room::At at = r.at(w[1]);
         return r.edit().move(r.segment(w[0]), at.layer, at.time);
     }},
    {"fill", 4, 5, "AT OUT SEGMENT SOURCE-IN [SOURCE-OUT]", "fill V1@01:00:02:00 - V1@01:00:08:00 25 75",
     [](const Room& r, const Words& w)
     {
         const Room::At at = r.at(w[0]);
         const auto position = [&](std::size_t word) -> DmEditTime
         {
             if (w.size() <= word || w[word] == "-")
                 return dmNoTime;
             const std::optional<double> frames = DM::CoNumber::whole(w[word]);
             return frames ? DmEditTime(*frames) : DmEditTime(w[word]);
         };
         return r.edit().fill(at.layer, r.material(w[2], at.layer), at.time, r.time(w[1]), position(3), position(4));
     }},
    {"dissolve", 2, 3, "SEAM LENGTH [begins|centred|ends]", "dissolve V1@01:00:04:00 12 centred",
     [](const Room& r, const Words& w) { return onSeam(r, w, nullptr); }},
    {"wipe", 2, 3, "SEAM LENGTH [begins|centred|ends]", "wipe V1@01:00:04:00 12",
     [](const Room& r, const Words& w) { return onSeam(r, w, DmWipeSettings::create()); }},
    {"cut", 1, 1, "SEAM", "cut V1@01:00:04:00",
     [](const Room& r, const Words& w) { return r.edit().cut(r.seam(w[0])); }},
    {"speed", 2, 2, "SEGMENT FACTOR", "speed V1@01:00:02:00 0.5",
     [](const Room& r, const Words& w) { return r.edit().speed(r.segment(w[0]), Room::number(w[1])); }},
    {"freeze", 1, 1, "SEGMENT", "freeze V1@01:00:02:00",
     [](const Room& r, const Words& w) { return r.edit().freeze(r.segment(w[0]), r.at(w[0]).time); }},
    {"reverse", 1, 1, "SEGMENT", "reverse V1@01:00:02:00",
     [](const Room& r, const Words& w) { return r.edit().reverse(r.segment(w[0])); }},
    {"mute", 1, 1, "SEGMENT", "mute V1@01:00:02:00",
     [](const Room& r, const Words& w) { return r.edit().mute(r.segment(w[0]), true); }},
    {"unmute", 1, 1, "SEGMENT", "unmute V1@01:00:02:00",
     [](const Room& r, const Words& w) { return r.edit().mute(r.segment(w[0]), false); }},
    {"rename", 2, 2, "SEGMENT NAME", "rename V1@01:00:02:00 'Shot 12'",
     [](const Room& r, const Words& w) { return r.edit().rename(r.element(w[0]), wide(w[1])); }},
    {"mark", 2, 2, "LABEL|SEGMENT NAME", "mark 01:00:02:00 'check this'",
     [](const Room& r, const Words& w)
     {
         const CoSharedPtr<DmCueMark> mark = DmCueMark::create();
         static_cast<void>(mark->setCueMarkName(wide(w[1])));
         if (w[0].find('@') == std::string::npos)
         {
             static_cast<void>(mark->setCueMarkTime(r.time(w[0])));
             return r.edit().addMark(mark);
         }
         // A segment's counts from its material's begin.
         const DmElementPlace place = r.segment(w[0]);
         const CoSharedPtr<DmTreeNode> element = r.now().element(place);
         const std::optional<double> frame = DmPlayed(*element->asSegment(), r.fcm()).frameAt(r.at(w[0]).time);
         if (!frame)
             throw std::runtime_error(w[0] + ": no frame of its material is known to play there");
         static_cast<void>(mark->setCueMarkTime(*frame));
         return r.edit().addMark(place, mark);
     }},
    {"effect", 2, 2, "SEGMENT CLASS", "effect V1@01:00:02:00 DmResizeSettings",
     [](const Room& r, const Words& w)
     {
         DmPropertySet* made = nullptr;
         static_cast<void>(DmPropertyFactory::getInstance().createPropertySetInstance(wide(w[1]), {}, 0, made));
         const auto effect = DM::dynamicPointerCast<DmEffectSettings>(DmPropertySetPtr(made));
         if (!effect)
             throw std::runtime_error(w[1] + ": no class of effects");
         return r.edit().addEffect(r.segment(w[0]), effect);
     }},
    {"drop-effect", 2, 2, "SEGMENT NUMBER", "drop-effect V1@01:00:02:00 1",
     [](const Room& r, const Words& w)
     { return r.edit().removeEffect(r.segment(w[0]), static_cast<int>(Room::number(w[1])) - 1); }},
    {"key", 4, 4, "SEGMENT NUMBER CHANNEL VALUE", "key V1@01:00:02:00 1 scale_x 0.5",
     [](const Room& r, const Words& w)
     {
         const DmElementPlace place = r.segment(w[0]);
         const CoSharedPtr<DmKeyFrame> key = DmKeyFrame::create();
         static_cast<void>(key->setFrame(static_cast<float>(r.at(w[0]).time - r.now().recIn(place))));
         static_cast<void>(key->setValue(static_cast<float>(Room::number(w[3]))));
         return r.edit().addKeyFrame(place, static_cast<int>(Room::number(w[1])) - 1, wide(w[2]), key);
     }},
    {"range", 2, 2, "IN OUT", "range 01:00:02:00 01:00:10:00",
     [](const Room& r, const Words& w) { return r.edit().trimToRange(w[0], w[1]); }},
    {"append", 1, 1, "FILE", "append reel2.json",
     [](const Room& r, const Words& w) { return r.edit().concatenate(openOther(r, w[0])); }},
    {"stack", 1, 1, "FILE", "stack titles.json",
     [](const Room& r, const Words& w) { return r.edit().stack(openOther(r, w[0])); }},
    {"flatten", 0, 0, "", "flatten", [](const Room& r, const Words&) { return r.edit().flatten(); }},
    {"keep-tracks", 1, 1, "TRACK,...", "keep-tracks V1,A1",
     [](const Room& r, const Words& w) { return r.edit().keepTracks(r.tracks(w[0])); }},
    {"drop-tracks", 1, 1, "TRACK,...", "drop-tracks A1",
     [](const Room& r, const Words& w) { return r.edit().dropTracks(r.tracks(w[0])); }},
    {"drop-transitions", 0, 0, "", "drop-transitions",
     [](const Room& r, const Words&) { return r.edit().dropTransitions(); }},
    {"drop-effects", 0, 0, "", "drop-effects", [](const Room& r, const Words&) { return r.edit().dropEffects(); }},
    {"relink-path", 2, 2, "FROM TO", "relink-path /mnt/old/ /mnt/new/",
     [](const Room& r, const Words& w) {
         return r.edit().relink({wide(w[0]), wide(w[1]), {}, {}, {}, {}});
     }},
    {"relink-name", 2, 2, "FROM TO", "relink-name A001C003 A001C003_graded",
     [](const Room& r, const Words& w) {
         return r.edit().relink({{}, {}, wide(w[0]), wide(w[1]), {}, {}});
     }},
    {"relink-reel", 2, 2, "FROM TO", "relink-reel TAPE01 T001",
     [](const Room& r, const Words& w) {
         return r.edit().relink({{}, {}, {}, {}, wide(w[0]), wide(w[1])});
     }},
    {"redact", 0, 0, "", "redact", [](const Room& r, const Words&) { return r.edit().redact(); }},
    {"conform", 1, 2, "MODE [labels|clock]", "conform 25 clock",
     [](const Room& r, const Words& w)
     {
         if (const std::string wrong = dmtree::checkMode(w[0]); !wrong.empty())
             throw std::runtime_error(wrong);
         if (w.size() > 1 && w[1] != "labels" && w[1] != "clock")
             throw std::runtime_error(w[1] + ": neither labels nor clock");
         return r.edit().conform(dmtree::modeOf(w[0]),
                                 w.size() > 1 && w[1] == "clock" ? DmEdit::Conform::Clock : DmEdit::Conform::Labels);
     }},
};

const Operation* operationNamed(const std::string& name)
{
    const auto* const found =
        std::ranges::find_if(operations, [&](const Operation& operation) { return name == operation.name; });
    return found == std::end(operations) ? nullptr : found;
}

/// In front of an operation, with a container: it is done to the composition that this one plays.
const std::string insideWord = "inside";

struct Step
{
    Words containers; ///< that the operation is inside of, the outermost first
    const Operation* operation;
    Words arguments;
    std::string where; ///< "cut.txt:3: " of a script, else empty
};

/// Splits words into operations.
void addSteps(std::vector<Step>& steps, const Words& words, const std::string& where)
{
    for (std::size_t i = 0; i < words.size();)
    {
        Step step{{}, nullptr, {}, where};
        for (; words[i] == insideWord; i += 2)
        {
            if (i + 2 >= words.size())
                throw std::runtime_error(where + insideWord + ": wants SEGMENT OPERATION");
            step.containers.push_back(words[i + 1]);
        }
        const Operation* const operation = step.operation = operationNamed(words[i]);
        if (!operation)
            throw std::runtime_error(where + words[i] + ": no operation; --help lists them");
        for (++i; i < words.size() && step.arguments.size() < operation->most; ++i)
        {
            if (step.arguments.size() >= operation->least && (operationNamed(words[i]) || words[i] == insideWord))
                break;
            step.arguments.push_back(words[i]);
        }
        if (step.arguments.size() < operation->least)
            throw std::runtime_error(where + operation->name + ": wants " + operation->usage);
        steps.push_back(std::move(step));
    }
}

/// The words of a line: between blanks, or in quotes of either kind; '#' begins a comment.
Words wordsOf(const std::string& line, const std::string& where)
{
    Words words;
    for (std::size_t i = 0; i < line.size();)
    {
        const char c = line[i];
        if (c == ' ' || c == '\t' || c == '\r')
        {
            ++i;
            continue;
        }
        if (c == '#')
            break;
        std::string word;
        char quote = '\0';
        for (; i < line.size(); ++i)
        {
            const char each = line[i];
            if (quote != '\0' ? each == quote : each == '"' || each == '\'')
                quote = quote != '\0' ? '\0' : each;
            else if (quote == '\0' && (each == ' ' || each == '\t' || each == '\r'))
                break;
            else
                word += each;
        }
        if (quote != '\0')
            throw std::runtime_error(where + "a quote is not closed");
        words.push_back(std::move(word));
    }
    return words;
}

std::vector<Step> stepsOf(const Options& options)
{
    std::vector<Step> steps;
    addSteps(steps, options.words, "");
    if (options.script.empty())
        return steps;
    std::istringstream script(dmtree::readText(options.script));
    int number = 0;
    for (std::string line; std::getline(script, line);)
    {
        const std::string where = options.script + ':' + std::to_string(++number) + ": ";
        const Words words = wordsOf(line, where);
        const std::size_t before = steps.size();
        addSteps(steps, words, where);
        if (steps.size() > before + 1)
            throw std::runtime_error(where + "more than one operation");
    }
    return steps;
}

std::string called(const Step& step)
{
    std::string text;
    for (const std::string& container : step.containers)
        text += insideWord + ' ' + container + ' ';
    text += step.operation->name;
    for (const std::string& argument : step.arguments)
        text += ' ' + argument;
    return text;
}

/// Does the step, inside the containers from `level` on; what cannot be done is a status, or is thrown as text.
DmStatus done(DmEdit& session, const Options& options, const Step& step, std::size_t level = 0)
{
    const Room room(session, options);
    if (level == step.containers.size())
        return step.operation->run(room, step.arguments);
    return session.inside(room.segment(step.containers[level]),
                          [&](DmEdit& inner) { return done(inner, options, step, level + 1); });
}

int edit(const Options& given)
{
    Options options = given;
    options.edit.linked = !options.unlinked;
    options.edit.syncLock = !options.unsynced;
    options.edit.atTransition = options.shorten ? DmAtTransition::Shortened : DmAtTransition::Cut;
    const std::vector<Step> steps = stepsOf(options);
    if (steps.empty())
        throw std::runtime_error("no operation is given; --help lists them");
    if (options.out.empty() && !options.dryRun && !options.ask)
        throw std::runtime_error("name what to write with -o, or only try with --dry-run or --can");

    CoSharedPtr<DmTreeNode> root = dmtree::requireDocument(options.in, options.lenient, options.fcm);
    DmStatus status;
    DmTimeline start = DmTimeline::takeOver(std::move(root), options.composition - 1, &status);
    if (!start)
        throw std::runtime_error(options.in + ": " + dmUtf8(status.info()));

    DmEdit session(start, options.edit);
    DmEdit question = session.can();
    DmEdit& asked = options.ask ? question : session;
    int refused = 0;
    for (const Step& step : steps)
    {
        std::string why;
        try
        {
            asked.options().unlockedTracks = Room(asked, options).tracks(options.unlockedTracks);
            if (status = done(asked, options, step); !status.ok())
                why = dmUtf8(status.info());
        }
        catch (const std::exception& error)
        {
            why = error.what();
        }
        refused += !why.empty();
        if (!why.empty() && !options.ask)
            throw std::runtime_error(step.where + called(step) + ": " + why);
        if (options.ask || options.dryRun)
            std::cout << called(step) << ": " << (why.empty() ? "can be done" : why) << '\n';
    }
    if (options.ask)
        return refused == 0 ? dmtree::Fine : dmtree::Finding;
    for (const DmString& note : session.notes())
        std::cerr << "note: " << dmUtf8(note) << '\n';
    if (options.dryRun)
        return dmtree::Fine;

    const CoSharedPtr<DmRoot> edited = session.timeline().root();
    if (!edited)
        throw std::runtime_error(options.in + ": no document with a root");
    interchange::Options document; // standard output has no extension that would tell another format
    document.format = "json";
    const interchange::Writing written = options.out == "-" ? interchange::writeStream(*edited, std::cout, document)
                                                            : interchange::writeFile(*edited, options.out);
    std::cerr << dmFindingsText(options.out, written.findings);
    return written.done ? dmtree::Fine : dmtree::Unusable;
}

std::string examples()
{
    std::size_t widest = 0;
    for (const Operation& each : operations)
        widest = std::max(widest, std::string(each.name).size() + std::string(each.usage).size() + 1);
    std::string text;
    for (const Operation& each : operations)
    {
        std::string use = std::string(each.name) + ' ' + each.usage;
        use.resize(widest + 2, ' ');
        text += "  " + use + each.example + '\n';
    }
    return text;
}

} // namespace

void dmtree::addEdit(CLI::App& app, Run& run)
{
    CLI::App* const command = app.add_subcommand("edit", "Edit a timeline as a cut room does");
    const auto options = std::make_shared<Options>();
    command->add_option("IN", options->in, fileHelp)->required();
    command->add_option("OPERATION", options->words, "Operations with what they want, one behind the other");
    command->add_option("-o,--output", options->out,
                        "What to write, of any format that convert writes; - is standard output, for a document");
    command->add_option("--script", options->script,
                        "Operations from a file, one on each line, behind those of the command");
    command->add_option("--composition", options->composition, "Which composition of the document, from 1 on")
        ->check(CLI::PositiveNumber);
    command->add_flag("--dry-run", options->dryRun, "Say what can be done, and write nothing");
    command->add_flag("--can", options->ask,
                      "Say of each operation by itself whether it could be done, and write nothing");
    command->add_flag("--clamp", options->edit.clamp, "Take as many frames as there are");
    command->add_flag("--unlinked", options->unlinked, "Edit a segment without those that are linked with it");
    command->add_flag("--by-medium", options->edit.linkByMedium,
                      "Take picture and sound of one medium that are in sync for linked");
    command->add_flag("--no-sync", options->unsynced, "Leave the other tracks where they are");
    command->add_option("--unlocked", options->unlockedTracks,
                        "Leave these tracks where they are, separated by commas");
    command->add_flag("--cut-synced", options->edit.cutSynced, "Close up on the other tracks whatever plays there");
    command->add_flag("--shorten", options->shorten, "Shorten a transition that an edit meets, instead of a cut");
    command->add_flag("--insert", options->edit.insert, "Moves and fills push what is there, instead of replacing it");
    command->add_flag("--fit", options->edit.fit, "A fill with four points changes the speed");
    command->add_flag("--own", options->edit.ownComposition,
                      "With inside: this use of the composition gets one of its own, others keep theirs");
    command->add_flag("--keys-follow", options->edit.keysFollow,
                      "Keys move with the picture when a segment is slipped");
    command->add_flag("--keep-frames", options->edit.keepFrames, "Another speed changes the length");
    command->add_flag("--ripple", options->edit.ripple, "And pulls what is behind along");
    addMode(*command, options->fcm);
    addLenient(*command, options->lenient);
    command->footer(
        "A place is TRACK[.LAYER]@LABEL: the track by its name, or by V or A and its number; the layer from 1 on, by\n"
        "default the top one that plays there. SEGMENT is the one that plays at the label, SEAM a cut at exactly the\n"
        "label or the transition that plays there. An AMOUNT is frames or a length in labels, later is positive, or\n"
        "@LABEL to go to. WHAT goes in is a copy of a SEGMENT, or gap:FRAMES, black:FRAMES, bars:FRAMES.\n\n"
        "The first operation that cannot be done ends it: OUT then stays as it was, and the exit code is 2.\n\n"
        "Operations, each with an example:\n" +
        examples() +
        "  inside SEGMENT OPERATION is done to the composition that a container plays, in its labels:\n"
        "    inside V1@01:00:02:00 roll V1@00:00:04:00 +3\n"
        "\nExamples:\n"
        "  dmtree edit cut.json -o cut2.json ripple V1@01:00:02:00 tail -6 dissolve V1@01:00:04:00 12 centred\n"
        "  dmtree edit cut.edl -o cut.otio --script changes.txt");
    command->callback([&run, options] { run = [options] { return edit(*options); }; });
}
