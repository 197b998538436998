#include "icFcp7xmlReader.h"

#include "icFcp7xmlPlainElements.h"
#include "icIds.h"
#include "icLook.h"
#include "icPath.h"
#include "icText.h"
#include "icTimeCode.h"
#include "icTree.h"

#include "dmADissolveSettings.h"
#include "dmATimewarpSettings.h"
#include "dmAudioEffects.h"
#include "dmCutNode.h"
#include "dmGapNode.h"
#include "dmLayerBuilder.h"
#include "dmMaterial.h"
#include "dmReelNode.h"
#include "dmStoredLabel.h"
#include "dmTimewarpSettings.h"
#include "dmTransformEffects.h"
#include "dmUtf8.h"
#include "dmVDissolveSettings.h"
#include "dmWipeSettings.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <deque>
#include <numeric>

namespace interchange
{

using namespace xmeml;

namespace
{

constexpr int deepestNesting = 75; ///< of sequences: what documents can be read again with
/// What an element becomes takes so many bytes, however little stands in it; a file of next to nothing else is refused
/// where that would be out of all proportion.
constexpr std::array<std::pair<std::string_view, std::size_t>, 6> weights{{{"track", 750},
                                                                           {"marker", 140},
                                                                           {"clipitem", 1400},
                                                                           {"generatoritem", 1400},
                                                                           {"transitionitem", 2200},
                                                                           {"sequence", 2600}}};
constexpr std::size_t weightOfNode = 64;
constexpr std::size_t mostForAByte = 30;
constexpr std::size_t mostForAll = std::size_t{32} << 20; ///< beside that

constexpr Loss speedOfSound{"DM617", "plays at normal speed"};
constexpr double leastLength = 0.5;
constexpr double limit = 1e12; ///< of times, in frames

std::optional<double> numberOf(pugi::xml_node parent, const char* name)
{
    const std::optional<double> number = toNumber<double>(trimmed(textOf(parent, name)));
    return number && std::abs(*number) <= limit ? number : std::nullopt;
}
bool isTrue(std::string_view text)
{
    return equalsNoCase(trimmed(text), "TRUE");
}

bool isOff(pugi::xml_node element)
{
    return element.child("enabled") && !isTrue(textOf(element, "enabled"));
}

/// Without what comes of rates that are no whole numbers.
double settled(double frames)
{
    constexpr double nearly = 1e-6;
    return std::abs(std::round(frames) - frames) < nearly ? std::round(frames) : frames;
}
bool isNamed(pugi::xml_node node, std::string_view name)
{
    return node.name() == name;
}
pugi::xml_node effectOf(pugi::xml_node item, std::string_view effectId)
{
    for (const pugi::xml_node filter : item.children("filter"))
        if (filter.child("effect").child_value("effectid") == effectId)
            return filter.child("effect");
    return {};
}
pugi::xml_node parameterOf(pugi::xml_node effect, std::string_view id)
{
    for (const pugi::xml_node parameter : effect.children("parameter"))
        if (parameter.child_value("parameterid") == id)
            return parameter;
    return {};
}

/// A file as it is defined.
struct Medium
{
    pugi::xml_node element;
    Rate rate;
    DM::FrameCodeModes fcm = DM::FCM_NOT_DEFINED; ///< in which its material counts
    std::optional<double> length;                 ///< in frames of that
    double span = 0;                              ///< the length, or as much as is known to be there
    double begin = 0;
};

/// The speed of a clip.
struct Speed
{
    bool isSet = false;
    bool isKeyed = false;
    double factor = 1; ///< 0 for a freeze
};

/// An item on its way to a layer. Times are record time.
struct Entry
{
    pugi::xml_node element;
    bool isMix = false;
    double start = 0; ///< with what transitions show of it
    double end = 0;
    double recIn = 0;
    double recOut = 0;
    double in = 0; ///< in the clip's own frames
    double out = 0;
    Rate rate;
    Speed speed;
    // Of a transition
    bool hasIncoming = false;
    bool hasOutgoing = false;
    double cut = 0;
};

class Maker
{
public:
    Maker(const ParsedXml& xml, const Options& options, Report& report)
        : _xml(xml)
        , _options(options)
        , _report(report)
    {
    }

    CoSharedPtr<DmRoot> make();

private:
    /// What a clip can be linked by.
    struct Made
    {
        CoSharedPtr<DmSegmentNode> node;
        pugi::xml_node element;
        const std::string* label; ///< of its track: "V1"

        std::string_view id() const { return element.attribute("id").value(); }
    };
    /// A sequence that is being read.
    struct Stage
    {
        DmCompositionNode& node;
        pugi::xml_node element;
        DM::FrameCodeModes fcm;
        double fps;
        double origin;
        xmeml::Sequence size; ///< for the units of pictures
        std::vector<Made> clips;
        double end;
        std::deque<std::string> labels{}; ///< of its tracks
        bool isTrackOff = false;
    };

    // Messages
    void mistake(pugi::xml_node at, std::string what, std::string_view choice)
    {
        _report.mistake(_xml.lineOf(at), std::move(what), choice);
        _report.expect(at.internal_object());
    }
    void warn(pugi::xml_node at, std::string what)
    {
        _report.add(Report::Warning, _xml.lineOf(at), std::move(what));
        _report.expect(at.internal_object());
    }
    Hint& hintOf(const DmTreeNode& node, pugi::xml_node element)
    {
        Hint& hint = _hints[&node];
        hint.isRead = true;
        hint.element = element;
        return hint;
    }
    void came(const DmTreeNode& node, pugi::xml_node at)
    {
        _report.became(at.internal_object(), node);
        if (_options.places)
            _report.came(node, _xml.lineOf(at));
    }

    void findDefinitions();
    void addSequences(DmRoot& root);
    CoSharedPtr<DmCompositionNode> sequence(pugi::xml_node element, bool isTop);
    DM::FrameCodeModes modeOf(pugi::xml_node sequence);
    void addTracks(Stage& stage, pugi::xml_node kind, eDmTreeMediaType mediaType);
    std::vector<Entry> entriesOf(const Stage& stage, pugi::xml_node track);
    bool readMix(const Stage& stage, Entry& entry);
    bool readClip(const Stage& stage, Entry& entry, Entry* before, const Entry* behind, double last);
    static Speed speedOf(pugi::xml_node item);
    void place(Stage& stage, DmLayerBuilder& layer, const std::vector<Entry>& entries, eDmTreeMediaType mediaType,
               const std::string& label);
    CoSharedPtr<DmTrxEffectNode> transition(const Entry& entry, eDmTreeMediaType mediaType);
    CoSharedPtr<DmSegmentNode> clip(Stage& stage, const Entry& entry, eDmTreeMediaType mediaType,
                                    const std::string& label);
    CoSharedPtr<DmSourceNode::Input> input(const Entry& entry, const Medium& medium, double length,
                                           eDmTreeMediaType mediaType);
    Medium mediumOf(const Stage& stage, const Entry& entry, pugi::xml_node file);
    void addEffects(Stage& stage, DmSegmentNode& node, const Entry& entry, const Medium& medium, Hint& hint);
    bool addChannels(const Stage& stage, DmEffectSettings& effect, pugi::xml_node element, double clipTime,
                     double recordPerClip);
    CoSharedPtr<DmCueMark> mark(pugi::xml_node marker, double origin, double ratio);
    void link(Stage& stage);
    void keepForms(DmRoot& root);
    void keep(DmTreeNode& node, pugi::xml_node element, pugi::xml_node plain, bool isAlways, bool isLast,
              const Series& series = {});
    /// Lets go of an item whose form is kept: what the parser has of it takes as much memory as the form that it left.
    void drop(const DmTreeNode& node, pugi::xml_node element);

    const ParsedXml& _xml;
    const Options& _options;
    Report& _report;
    std::map<std::string, pugi::xml_node, std::less<>> _files;
    std::map<std::string, pugi::xml_node, std::less<>> _sequences;
    std::map<const void*, CoSharedPtr<DmCompositionNode>> _read; ///< by element
    std::set<const void*> _open;                                 ///< being read
    int _depth = 0;

    // For the forms
    NodeSet _nodes;
    std::unordered_map<const DmTreeNode*, Hint> _hints;
    SharedLeftovers _forms{leftoverType};
};

void Maker::findDefinitions()
{
    const std::size_t most = mostForAByte * _xml.size() + mostForAll;
    std::size_t weight = 0;
    for (pugi::xml_node at = _xml.root(); at;)
    {
        weight += weightOfNode;
        if (const auto* const heavy = std::ranges::find(weights, std::string_view(at.name()),
                                                        &std::pair<std::string_view, std::size_t>::first);
            heavy != weights.end())
            weight += heavy->second;
        if (weight > most)
            return _report.add(Report::Error, _xml.lineOf(at),
                               "too many elements with next to nothing in them: they would take more than " +
                                   std::to_string(mostForAByte) + " times the memory of the file");
        if (isNamed(at, "file") && at.first_child() && at.attribute("id"))
            _files.emplace(at.attribute("id").value(), at);
        if (isNamed(at, "sequence") && at.first_child() && at.attribute("id"))
            _sequences.emplace(at.attribute("id").value(), at);
        if (at.first_child())
        {
            at = at.first_child();
            continue;
        }
        while (at && !at.next_sibling())
            at = at.parent();
        at = at ? at.next_sibling() : at;
    }
}

void Maker::addSequences(DmRoot& root)
{
    std::map<const void*, CoSharedPtr<DmReelNode>> reels;
    for (pugi::xml_node at = _xml.root().first_child(); at;)
    {
        const bool isSequence = isNamed(at, "sequence") && at.first_child();
        if (isSequence)
        {
            pugi::xml_node bin = at.parent();
            while (bin && !isNamed(bin, "bin"))
                bin = bin.parent();
            const CoSharedPtr<DmCompositionNode> made = sequence(at, true);
            _nodes.insert(at.internal_object());
            if (bin && made)
            {
                CoSharedPtr<DmReelNode>& reel = reels[bin.internal_object()];
                if (!reel)
                {
                    reel = orBadAlloc(DmReelNode::create());
                    if (const std::string_view name = textOf(bin, "name"); !name.empty())
                        require(reel->setName(toDmString(name)));
                    came(*reel, bin);
                    root.addChild(reel);
                }
                reel->addChild(made);
            }
            else if (made)
                root.addChild(made);
        }
        // What is inside clips belongs to their tracks.
        const bool goesInto = !isSequence && (isNamed(at, "project") || isNamed(at, "children") || isNamed(at, "bin"));
        if (goesInto && at.first_child())
        {
            at = at.first_child();
            continue;
        }
        while (at && !at.next_sibling())
            at = at.parent();
        at = at ? at.next_sibling() : at;
    }
}

CoSharedPtr<DmRoot> Maker::make()
{
    if (!isNamed(_xml.root(), "xmeml"))
    {
        _report.add(Report::Error, _xml.lineOf(_xml.root()), "no xmeml");
        return {};
    }
    findDefinitions();
    if (_report.hasErrors())
        return {};
    auto root = orBadAlloc(DmRoot::create());
    addSequences(*root);
    if (root->getNbChildren() == 0)
        mistake(_xml.root(), "no sequence", "the document holds nothing");
    if (_report.hasErrors())
        return {};
    keepForms(*root);
    return root;
}

// Sequences

DM::FrameCodeModes Maker::modeOf(pugi::xml_node sequence)
{
    const pugi::xml_node timecode = sequence.child("timecode");
    const bool drops = equalsNoCase(trimmed(textOf(timecode, "displayformat")), "DF");
    std::optional<Rate> rate = Rate::of(sequence.child("rate"));
    if (!rate)
        rate = Rate::of(timecode.child("rate"));
    const DM::FrameCodeModes said = rate ? rate->mode(drops) : DM::FCM_NOT_DEFINED;
    if (said != DM::FCM_NOT_DEFINED)
        return said;
    const DM::FrameCodeModes other = _options.fcm != DM::FCM_NOT_DEFINED ? _options.fcm
                                     : rate ? DM::FcmUtil::FPStoApproximateFCM(rate->fps(), drops)
                                            : DM::FCM_24;
    const std::string choice = std::string("its times are converted to '") + DM::FcmUtil::getFCMString(other) + "'";
    if (!rate && _options.fcm == DM::FCM_NOT_DEFINED)
        mistake(sequence, "a sequence without a rate", "taken as '24 fps'");
    else if (rate && _options.fcm == DM::FCM_NOT_DEFINED)
        mistake(sequence, "a sequence at " + timeText(rate->fps()) + " frames a second, which no frame-code mode has",
                choice);
    return other;
}

CoSharedPtr<DmCompositionNode> Maker::sequence(pugi::xml_node element, bool isTop)
{
    if (const auto found = _read.find(element.internal_object()); found != _read.end())
        return found->second;
    if (_depth >= deepestNesting || !_open.insert(element.internal_object()).second)
    {
        mistake(element, _depth >= deepestNesting ? "sequences nested too deeply" : "a sequence that holds itself",
                "it plays nothing there");
        return {};
    }
    ++_depth;
    const DM::FrameCodeModes fcm = modeOf(element);
    const DmString fcmText = dmFcmText(fcm);
    const std::string_view name = textOf(element, "name");
    auto node =
        orBadAlloc(DmCompositionNode::create(name.empty() ? DmString(L"untitled") : toDmString(name), fcmText, {}));
    if (!isTop)
        require(node->setIsContainerComp(true));
    const std::optional<Rate> said = Rate::of(element.child("rate"));
    const double fps = DM::FcmUtil::getDoubleFPS(fcm);
    const double ratio = said && said->mode(false) == DM::FCM_NOT_DEFINED ? fps / said->fps() : 1.0;
    double start = std::max(0.0, std::round(numberOf(element.child("timecode"), "frame").value_or(0) * ratio));
    require(node->setStartTC(start, fcmText));
    start = node->getStartTC();
    const pugi::xml_node media = element.child("media");
    const pugi::xml_node picture = media.child("video").child("format").child("samplecharacteristics");
    const std::optional<double> width = numberOf(picture, "width");
    const std::optional<double> height = numberOf(picture, "height");
    constexpr double largest = 1e6;
    if (width && height && *width >= 1 && *height >= 1 && *width <= largest && *height <= largest)
        if (DmFrameResolution* const resolution = node->ownResolution())
        {
            require(resolution->setWidth(static_cast<int>(*width)));
            require(resolution->setHeight(static_cast<int>(*height)));
        }
    if (const auto rate = numberOf(media.child("audio").child("format").child("samplecharacteristics"), "samplerate");
        rate && *rate > 0)
        require(node->setSamplingRate(*rate));
    Stage stage{*node, element, fcm, fps, start, {}, {}, start};
    stage.size.node = node.get();
    stage.size.fcm = fcm;
    addTracks(stage, media.child("video"), DM_MEDIA_VIDEO);
    addTracks(stage, media.child("audio"), DM_MEDIA_AUDIO);
    link(stage);
    const double length = stage.end - start;
    require(node->setCompLength(length));
    for (const auto& [child, isIn] : {std::pair("in", true), std::pair("out", false)})
        if (const std::optional<double> time = numberOf(element, child); time && *time >= 0)
            require(isIn ? node->setInMark(start + *time * ratio) : node->setOutMark(start + *time * ratio));
    for (const pugi::xml_node marker : element.children("marker"))
        require(node->addCueMark(mark(marker, start, ratio)));
    Hint& hint = hintOf(*node, element);
    hint.id = element.attribute("id").value();
    hint.rate = said;
    came(*node, element);
    --_depth;
    _open.erase(element.internal_object());
    _read[element.internal_object()] = node;
    return node;
}

void Maker::addTracks(Stage& stage, pugi::xml_node kind, eDmTreeMediaType mediaType)
{
    int number = 0;
    for (const pugi::xml_node element : kind.children("track"))
    {
        ++number;
        const std::string& label =
            stage.labels.emplace_back((mediaType == DM_MEDIA_AUDIO ? "A" : "V") + std::to_string(number));
        const auto track = orBadAlloc(DmTrackNode::create(number, mediaType));
        const std::optional<double> channel = numberOf(element, "outputchannelindex");
        require(
            track->setTrackChannel(channel && *channel >= 0 && *channel <= 1e6 ? static_cast<int>(*channel) : number));
        DmLayerBuilder layer(0, mediaType, stage.origin);
        stage.isTrackOff = isOff(element);
        place(stage, layer, entriesOf(stage, element), mediaType, label);
        track->addChild(orBadAlloc(layer.finish()));
        stage.end = std::max(stage.end, layer.getEnd());
        const int index = stage.node.addChild(track) - 1;
        if (mediaType == DM_MEDIA_VIDEO && number == 1)
            require(stage.node.setPrimaryVideoTrackIndex(index));
        _nodes.insert(element.internal_object());
        hintOf(*track, element);
        came(*track, element);
    }
}

// Items

Speed Maker::speedOf(pugi::xml_node item)
{
    const pugi::xml_node effect = effectOf(item, "timeremap");
    if (!effect)
        return {};
    Speed speed;
    speed.isKeyed = numberOf(parameterOf(effect, "variablespeed"), "value").value_or(0) != 0;
    if (speed.isKeyed)
    {
        speed.isSet = static_cast<bool>(parameterOf(effect, "graphdict").child("keyframe"));
        speed.isKeyed = speed.isSet;
        return speed;
    }
    const std::optional<double> percent = numberOf(parameterOf(effect, "speed"), "value");
    if (!percent)
        return speed;
    speed.isSet = true;
    speed.factor = *percent / 100;
    if (isTrue(textOf(parameterOf(effect, "reverse"), "value")))
        speed.factor = -std::abs(speed.factor);
    constexpr double slowest = 1e-6;
    if (std::abs(speed.factor) < slowest)
        speed.factor = 0;
    return speed;
}

bool Maker::readMix(const Stage& stage, Entry& entry)
{
    const std::optional<double> start = numberOf(entry.element, "start");
    const std::optional<double> end = numberOf(entry.element, "end");
    if (!start || !end || *start < 0 || *end <= *start)
    {
        mistake(entry.element, "a transition without a length", "left out");
        return false;
    }
    const double ratio = stage.fps / entry.rate.fps();
    entry.start = entry.recIn = stage.origin + std::round(*start * ratio);
    entry.end = entry.recOut = stage.origin + std::round(*end * ratio);
    const double length = entry.end - entry.start;
    const std::string_view alignment = trimmed(textOf(entry.element, "alignment"));
    entry.cut = alignment.starts_with("start") ? 0.0 : alignment.starts_with("end") ? length : std::floor(length / 2);
    return length >= 1;
}

bool Maker::readClip(const Stage& stage, Entry& entry, Entry* before, const Entry* behind, double last)
{
    const pugi::xml_node element = entry.element;
    const std::optional<Rate> rate = Rate::of(element.child("rate"));
    // A sequence's times count in its own rate, whatever mode stands for that.
    const double recordRatio = stage.fps / entry.rate.fps();
    const Rate sequenceRate = entry.rate;
    entry.rate = rate.value_or(sequenceRate);
    entry.speed = speedOf(element);
    const double recordPerClip = stage.fps / entry.rate.fps();
    entry.in = numberOf(element, "in").value_or(0);
    if (entry.in == -1 && numberOf(element, "out").value_or(-1) == -1) // neither is set
        entry.in = 0;
    const double start = numberOf(element, "start").value_or(-1);
    const double end = numberOf(element, "end").value_or(-1);
    double out = numberOf(element, "out").value_or(-1);
    if (out < entry.in && end > start && start >= 0)
        out = entry.in + (end - start) * recordRatio / recordPerClip;
    entry.out = out;
    const double length = (out - entry.in) * recordPerClip;
    const auto record = [&](double time) { return stage.origin + time * recordRatio; };
    if (start >= 0)
        entry.start = record(start);
    else if (before)
        entry.start = before->start;
    else
        entry.start = end >= 0 ? record(end) - length : last;
    if (end >= 0)
        entry.end = record(end);
    else if (behind)
        entry.end = behind->end;
    else
        entry.end = entry.start + length;
    if (start < 0 && !before && end < 0)
        mistake(element, "a clip without a place", "it stands behind what is before it");
    const bool isSound = std::string_view(element.parent().parent().name()) == "audio";
    const auto whole = [isSound](double time) { return isSound ? std::round(time * 1000) / 1000 : std::round(time); };
    entry.start = whole(std::max(entry.start, stage.origin));
    entry.end = whole(entry.end);
    if (!(entry.end - entry.start >= leastLength))
    {
        mistake(element, "a clip without a length", "left out");
        return false;
    }
    if (std::abs(length - (entry.end - entry.start)) > 1.0 && out >= 0)
        warn(element, "in and out are " + timeText(length) + " frames of the sequence, start and end " +
                          timeText(entry.end - entry.start) + ": the record length holds");
    entry.recIn = entry.start;
    entry.recOut = entry.end;
    if (before && entry.start < before->end && entry.end >= before->end)
    {
        entry.recIn = before->end;
        before->hasIncoming = true;
    }
    return true;
}

std::vector<Entry> Maker::entriesOf(const Stage& stage, pugi::xml_node track)
{
    const auto isItem = [](pugi::xml_node child)
    { return isNamed(child, "clipitem") || isNamed(child, "generatoritem") || isNamed(child, "transitionitem"); };
    std::vector<Entry> entries; // what is left out makes room in front of what is still to be read
    entries.reserve(static_cast<std::size_t>(std::ranges::count_if(track.children(), isItem)));
    const Rate rate = Rate::of(stage.element.child("rate")).value_or(Rate::of(stage.fcm));
    double mixEnd = stage.origin;
    for (const pugi::xml_node child : track.children())
        if (isItem(child))
        {
            Entry entry;
            entry.element = child;
            entry.isMix = isNamed(child, "transitionitem");
            entry.rate = rate;
            if (entry.isMix)
            {
                if (!readMix(stage, entry))
                    continue;
                if (entry.start < mixEnd)
                {
                    mistake(child, "a transition that begins before the one before it has ended", "left out");
                    continue;
                }
                mixEnd = entry.end;
            }
            entries.push_back(entry);
        }
    double last = stage.origin;
    Entry* before = nullptr; ///< a transition right before
    std::size_t kept = 0;
    for (std::size_t i = 0; i < entries.size(); ++i)
    {
        Entry entry = entries[i];
        if (!entry.isMix)
        {
            Entry* const behind = i + 1 < entries.size() && entries[i + 1].isMix ? &entries[i + 1] : nullptr;
            if (!readClip(stage, entry, before, behind, last))
            {
                before = nullptr;
                continue;
            }
            if (behind && entry.end > behind->start && entry.start <= behind->start)
            {
                entry.recOut = std::max(entry.recIn, behind->start);
                behind->hasOutgoing = true;
            }
        }
        last = entry.end;
        entries[kept] = entry;
        before = entry.isMix ? &entries[kept] : nullptr;
        ++kept;
    }
    entries.resize(kept);
    std::ranges::stable_sort(entries, {}, &Entry::recIn);
    double end = stage.origin;
    for (std::size_t i = 0; i < entries.size(); ++i)
    {
        Entry& entry = entries[i];
        if (entry.recIn < end - 1e-6 && i > 0)
        {
            warn(entry.element, "begins before the item before it has ended: the later one covers that");
            Entry& earlier = entries[i - 1];
            if (entry.recIn - earlier.recIn >= leastLength)
                earlier.recOut = entry.recIn;
            else
            {
                entry.recIn = std::min(end, entry.recOut);
                entry.recOut = std::max(entry.recIn, entry.recOut);
            }
        }
        end = std::max(end, entry.recOut);
    }
    return entries;
}

void Maker::place(Stage& stage, DmLayerBuilder& layer, const std::vector<Entry>& entries, eDmTreeMediaType mediaType,
                  const std::string& label)
{
    // With a cut behind it where a segment follows: the builder takes a bare one for its own, and away.
    const auto nothing = [&](double time, bool isBehindMix)
    {
        require(layer.place(orBadAlloc(DmGapNode::create(mediaType, time, 0))));
        if (isBehindMix)
            require(layer.place(orBadAlloc(DmCutNode::create(mediaType, time))));
    };
    const Entry* previous = nullptr;
    for (const Entry& entry : entries)
    {
        const std::size_t before = _report.size();
        const bool touches = previous && layer.getEnd() >= entry.recIn - 1e-6;
        const double length = entry.recOut - entry.recIn;
        if (entry.isMix && length < 1)
        {
            mistake(entry.element, "a transition that another item covers", "left out");
            continue;
        }
        // A transition mixes with its neighbours: with nothing, where it has none.
        if (touches && ((entry.isMix && !entry.hasOutgoing && !previous->isMix) ||
                        (previous->isMix && !previous->hasIncoming && !entry.isMix)))
            nothing(layer.getEnd(), previous->isMix);
        if (entry.isMix)
        {
            const auto node = transition(entry, mediaType);
            _report.about(before, *node);
            require(layer.place(node));
            _nodes.insert(entry.element.internal_object());
            hintOf(*node, entry.element);
            came(*node, entry.element);
        }
        else if (const CoSharedPtr<DmSegmentNode> node = clip(stage, entry, mediaType, label))
        {
            _report.about(before, *node);
            if (length >= leastLength)
                require(layer.place(node));
            else
            {
                // Its transitions leave nothing of it.
                const auto gap = orBadAlloc(DmGapNode::create(mediaType, entry.recIn, 0));
                require(gap->setBaseBlob(node));
                require(layer.place(gap));
            }
        }
        else
            continue;
        previous = &entry;
    }
}

CoSharedPtr<DmTrxEffectNode> Maker::transition(const Entry& entry, eDmTreeMediaType mediaType)
{
    const pugi::xml_node effect = entry.element.child("effect");
    const double length = entry.recOut - entry.recIn;
    const std::string_view id = textOf(effect, "effectid");
    const std::optional<double> code = numberOf(effect, "wipecode");
    const bool isWipe = textOf(effect, "effectcategory") == "Wipe" || (code && *code > 0);
    const bool isDissolve = id == "Cross Dissolve" || id == "dissolve" || id.empty() || mediaType == DM_MEDIA_AUDIO;
    if (!isWipe && !isDissolve)
        _report.lose({"DM614", "read as dissolves"}, _xml.lineOf(entry.element));
    CoSharedPtr<DmEffectSettings> settings;
    const auto ofLength = [length](const auto& made) -> CoSharedPtr<DmEffectSettings>
    {
        require(orBadAlloc(made)->setLength(length));
        return made;
    };
    if (mediaType == DM_MEDIA_AUDIO)
        settings = ofLength(DmADissolveSettings::create());
    else if (!isWipe)
        settings = ofLength(DmVDissolveSettings::create());
    else
    {
        const auto wipe = orBadAlloc(DmWipeSettings::create());
        constexpr double highest = 999;
        require(wipe->setSmptePattern(static_cast<int>(std::clamp(code.value_or(1), 0.0, highest))));
        settings = ofLength(wipe);
    }
    auto node = orBadAlloc(DmTrxEffectNode::create(settings, entry.recIn, length, std::min(entry.cut, length)));
    if (const std::string_view name = textOf(entry.element, "name"); !name.empty())
        require(node->setName(toDmString(name)));
    return node;
}

// Clips

Medium Maker::mediumOf(const Stage& stage, const Entry& entry, pugi::xml_node file)
{
    Medium medium;
    medium.element = file;
    if (file && !file.first_child())
        if (const auto found = _files.find(std::string_view(file.attribute("id").value())); found != _files.end())
            medium.element = found->second;
    const pugi::xml_node timecode = medium.element.child("timecode");
    const bool drops = equalsNoCase(trimmed(textOf(timecode, "displayformat")), "DF");
    std::optional<Rate> rate = Rate::of(medium.element.child("rate"));
    if (!rate)
        rate = Rate::of(timecode.child("rate"));
    medium.rate = rate.value_or(entry.rate);
    medium.fcm = medium.rate.mode(drops);
    if (medium.fcm == DM::FCM_NOT_DEFINED)
        medium.fcm = entry.rate.mode(drops);
    // What has no file drops labels as the sequence does.
    if (medium.fcm == DM::FCM_NOT_DEFINED ||
        (!file && DM::FcmUtil::toNonDrop(medium.fcm) == DM::FcmUtil::toNonDrop(stage.fcm)))
        medium.fcm = stage.fcm;
    const double fps = DM::FcmUtil::getDoubleFPS(medium.fcm);
    if (const std::optional<double> length = numberOf(medium.element, "duration"); length && *length > 0)
    {
        medium.span = settled(*length * fps / medium.rate.fps());
        if (medium.element.child("duration").attribute(lengthMark).value() != std::string_view("unknown"))
            medium.length = medium.span;
    }
    std::optional<double> begin = numberOf(timecode, "frame");
    if (!begin)
        if (const std::optional<TimeLabel> label = parseTimeLabel(trimmed(textOf(timecode, "string")));
            label && isInDay(*label, medium.fcm))
            begin = static_cast<double>(framesOf(*label, medium.fcm)) * medium.rate.fps() / fps;
    medium.begin = begin.value_or(0) * fps / medium.rate.fps();
    return medium;
}

CoSharedPtr<DmSourceNode::Input> Maker::input(const Entry& entry, const Medium& medium, double length,
                                              eDmTreeMediaType mediaType)
{
    const DmString fcmText = dmFcmText(medium.fcm);
    if (isNamed(entry.element, "generatoritem"))
    {
        const GeneratorKind* const kind = generatorOf(textOf(entry.element.child("effect"), "effectid"));
        if (!kind)
            _report.lose({"DM615", "play as black"}, _xml.lineOf(entry.element));
        const wchar_t* const otherwise = mediaType == DM_MEDIA_AUDIO ? L"INPUT_SILENCE" : L"INPUT_BLACK";
        const auto generated =
            orBadAlloc(DmSourceNode::GeneratedInput::create(kind ? kind->type : otherwise, length, mediaType));
        require(generated->setFcm(fcmText));
        return generated;
    }
    const std::string path = pathOfUrl(trimmed(textOf(medium.element, "pathurl")));
    const auto info = orBadAlloc(DmSourceInfo::create());
    require(info->setSourceType(path.empty() ? DmSourceInfo::Unknown : DmSourceInfo::File));
    require(info->setName(toDmString(textOf(medium.element, "name"))));
    require(info->setPath(toDmString(path)));
    require(info->setReelName(toDmString(textOf(medium.element.child("timecode").child("reel"), "name"))));
    auto media =
        orBadAlloc(DmSourceNode::MediaInput::create(length, medium.begin, info, fcmText, mediaType, !path.empty()));
    require(media->setFcm(fcmText));
    std::string label;
    appendTimeLabel(label, std::llround(medium.begin), medium.fcm);
    require(media->setSrcInStr(toDmString(label)));
    if (medium.length)
        require(dmSetMaterialLength(*media, *medium.length));
    else
        require(dmSetMaterialLengthUnknown(*media));
    if (mediaType == DM_MEDIA_AUDIO)
    {
        const double channel = numberOf(entry.element.child("sourcetrack"), "trackindex").value_or(1);
        const auto audio = orBadAlloc(DmAudioProperties::create());
        require(audio->setChannelIdx(static_cast<int>(std::clamp(channel, 1.0, 1e5)) - 1));
        require(media->setAudioProperties(audio));
        require(info->setTrack(static_cast<int>(std::clamp(channel, 1.0, 1e5))));
    }
    return media;
}

CoSharedPtr<DmCueMark> Maker::mark(pugi::xml_node marker, double origin, double ratio)
{
    const double in = numberOf(marker, "in").value_or(0);
    const double out = numberOf(marker, "out").value_or(-1);
    auto made = orBadAlloc(DmCueMark::create(toDmString(textOf(marker, "name")), origin + in * ratio));
    require(made->setCueMarkComment(toDmString(textOf(marker, "comment"))));
    if (out > in && out != -1) // a point
        require(made->setCueMarkDuration((out - in) * ratio));
    if (const pugi::xml_node colour = marker.child("color"))
    {
        const auto part = [colour](const char* name)
        { return static_cast<int>(std::clamp(numberOf(colour, name).value_or(0), 0.0, 255.0)); };
        require(made->setCueMarkColorRed(part("red")));
        require(made->setCueMarkColorGreen(part("green")));
        require(made->setCueMarkColorBlue(part("blue")));
    }
    return made;
}

bool Maker::addChannels(const Stage& stage, DmEffectSettings& effect, pugi::xml_node element, double clipTime,
                        double recordPerClip)
{
    bool hasAny = false;
    for (const Parameter* const each : parametersOf(textOf(element, "effectid")))
    {
        const pugi::xml_node parameter = parameterOf(element, each->id);
        const auto valueIn = [each](pugi::xml_node holder)
        { return each->part ? numberOf(holder.child("value"), each->part) : numberOf(holder, "value"); };
        CoSharedPtr<DmAnimationChannel> channel;
        const auto open = [&]
        {
            if (!channel)
                channel = orBadAlloc(effect.getChannelByName(each->channel));
            hasAny = true;
        };
        const auto stored = [&](double value)
        { return static_cast<float>(std::clamp(channelValue(*each, value, stage.size), -1e9, 1e9)); };
        for (const pugi::xml_node key : parameter.children("keyframe"))
        {
            const std::optional<double> when = numberOf(key, "when");
            const std::optional<double> value = valueIn(key);
            if (!when || !value)
                continue;
            open();
            const auto made = orBadAlloc(DmKeyFrame::create2(
                static_cast<float>((*when - clipTime) * recordPerClip), stored(*value), {}, DmKeyFrame::InterpOrder{1},
                0, 0, 0, 0, DmKeyFrame::AutoRightVelocityFlag | DmKeyFrame::AutoLeftVelocityFlag));
            require(channel->addKeyFrame(made));
        }
        if (const std::optional<double> value = valueIn(parameter); value && !channel)
        {
            open();
            require(channel->setValue(stored(*value)));
        }
    }
    return hasAny;
}

void Maker::addEffects(Stage& stage, DmSegmentNode& node, const Entry& entry, const Medium& medium, Hint& hint)
{
    const bool isSound = node.getMediaType() == DM_MEDIA_AUDIO;
    const double recordPerClip = stage.fps / entry.rate.fps();
    const double clipTime =
        entry.in + (entry.speed.factor < 0 ? entry.end - entry.recOut : entry.recIn - entry.start) / recordPerClip;
    bool hasSpeed = false;
    for (const pugi::xml_node filter : entry.element.children("filter"))
    {
        const pugi::xml_node effect = filter.child("effect");
        const std::string_view id = textOf(effect, "effectid");
        CoSharedPtr<DmEffectSettings> made;
        if (id == "timeremap" && entry.speed.isSet && !hasSpeed)
        {
            hasSpeed = true;
            constexpr double fastest = 1e6;
            if (isSound)
            {
                if (entry.speed.isKeyed || entry.speed.factor <= 0 || entry.speed.factor > fastest)
                {
                    _report.lose(speedOfSound, _xml.lineOf(filter));
                    continue;
                }
                const auto warp = orBadAlloc(DmATimewarpSettings::create());
                require(warp->setRatio(static_cast<float>(1 / entry.speed.factor)));
                made = warp;
            }
            else
            {
                const auto warp = orBadAlloc(DmVTimewarpSettings::create());
                if (entry.speed.isKeyed)
                {
                    require(warp->setConstantSpeed(false));
                    const auto timing = orBadAlloc(warp->getChannelByName(L"timing"));
                    const double fps = DM::FcmUtil::getDoubleFPS(medium.fcm);
                    for (const pugi::xml_node key : parameterOf(effect, "graphdict").children("keyframe"))
                        if (const auto when = numberOf(key, "when"), value = numberOf(key, "value"); when && value)
                            require(timing->addKeyFrame(orBadAlloc(DmKeyFrame::create2(
                                static_cast<float>((*when - clipTime) * recordPerClip),
                                static_cast<float>(*value * fps / medium.rate.fps() - node.getRelIn()), {},
                                DmKeyFrame::InterpOrder{1}, 0, 0, 0, 0,
                                DmKeyFrame::AutoRightVelocityFlag | DmKeyFrame::AutoLeftVelocityFlag))));
                    hint.at = clipTime;
                }
                else
                    require(warp->setSpeed(entry.speed.factor));
                made = warp;
            }
        }
        else if (!isSound && (id == "basic" || id == "crop" || id == "opacity"))
        {
            const auto axis = orBadAlloc(DmAxisSettings::create());
            if (addChannels(stage, *axis, effect, clipTime, recordPerClip))
                made = axis;
        }
        else if (isSound && id == "audiolevels")
        {
            const auto gain = orBadAlloc(DmAudioGainSettings::create());
            if (addChannels(stage, *gain, effect, clipTime, recordPerClip))
                made = gain;
        }
        if (!made)
            continue;
        if (isOff(filter))
            require(made->setMuted(true));
        require(node.addEffect(made));
    }
    const pugi::xml_node colour = entry.element.child("colorinfo");
    Look look;
    readSop(textOf(colour, "asc_sop"), look);
    if (const auto numbers = numbersOf(textOf(colour, "asc_sat")); numbers.size() == 1 && numbers[0] >= 0)
    {
        look.saturation = numbers[0];
        look.hasSaturation = true;
    }
    if (!isSound && (look.hasSop || look.hasSaturation))
        require(node.addEffect(toLookSettings(look)));
}

CoSharedPtr<DmSegmentNode> Maker::clip(Stage& stage, const Entry& entry, eDmTreeMediaType mediaType,
                                       const std::string& label)
{
    const pugi::xml_node element = entry.element;
    const double length = entry.recOut - entry.recIn;
    pugi::xml_node nested = element.child("sequence");
    const pugi::xml_node place = nested;
    if (nested && !nested.first_child())
        if (const auto found = _sequences.find(std::string_view(nested.attribute("id").value()));
            found != _sequences.end())
            nested = found->second;
    Hint hint;
    hint.id = element.attribute("id").value();
    hint.isRead = true;
    hint.element = element;
    CoSharedPtr<DmCompositionNode> inside;
    if (nested && nested.first_child())
        inside = sequence(nested, false);
    const pugi::xml_node file = element.child("file");
    Medium medium = mediumOf(stage, entry, file);
    if (inside)
    {
        medium.fcm = dmFcmFromText(inside->getFCM());
        medium.span = inside->getCompLength();
        medium.length = medium.span;
        medium.begin = inside->getStartTC();
    }
    if (entry.rate != Rate::of(medium.fcm))
        hint.rate = entry.rate;
    const double fps = DM::FcmUtil::getDoubleFPS(medium.fcm);
    const double clipFps = entry.rate.fps();
    const bool isConstant = !entry.speed.isKeyed && entry.speed.factor != 0;
    const double speed = isConstant ? std::abs(entry.speed.factor) : 1.0;
    const bool isBackwards = entry.speed.factor < 0;
    const double head = (isBackwards ? entry.end - entry.recOut : entry.recIn - entry.start) / stage.fps * clipFps;
    double relIn = (entry.in + head) * speed * fps / clipFps;
    if (entry.speed.factor == 0)
        relIn = entry.in * fps / clipFps;
    if (entry.speed.isKeyed)
    {
        // Where the curve is at the segment's begin.
        std::vector<std::pair<double, double>> keys;
        for (const pugi::xml_node key : parameterOf(effectOf(element, "timeremap"), "graphdict").children("keyframe"))
            if (const auto when = numberOf(key, "when"), value = numberOf(key, "value"); when && value)
                keys.emplace_back(*when, *value);
        std::ranges::stable_sort(keys, {}, &std::pair<double, double>::first);
        double value = keys.empty() ? 0.0 : keys.front().second;
        for (std::size_t i = 0; i + 1 < keys.size(); ++i)
            if (const double at = entry.in + head; at >= keys[i].first && keys[i + 1].first > keys[i].first)
                value = keys[i].second + (keys[i + 1].second - keys[i].second) *
                                             std::min(1.0, (at - keys[i].first) / (keys[i + 1].first - keys[i].first));
        relIn = std::max(0.0, value * fps / medium.rate.fps());
    }
    if (const double nearest = std::round(relIn); mediaType != DM_MEDIA_AUDIO || std::abs(nearest - relIn) < 1e-3)
        relIn = std::abs(nearest - relIn) < 1e-3 ? nearest : relIn;
    double before = 0; ///< the file's begin
    if (relIn < 0)
    {
        warn(element, "plays from before its file begins, from frame " + timeText(relIn));
        before = -relIn;
        hint.before = before;
        medium.begin -= before;
        medium.span += before;
        if (medium.length)
            *medium.length += before;
        relIn = 0;
    }
    const double playedEnd = entry.speed.factor == 0 ? relIn + 1
                             : entry.speed.isKeyed   ? relIn
                                                     : relIn + length / stage.fps * fps * speed;
    const bool isEndless = isNamed(element, "generatoritem") || isTrue(textOf(element, "stillframe"));
    // With what the transitions beside it show of it.
    const double shownEnd =
        isConstant && !isBackwards ? playedEnd + (entry.end - entry.recOut) / stage.fps * fps * speed : playedEnd;
    if (medium.length && shownEnd > *medium.length + 0.5 && !isEndless)
        warn(element,
             "plays up to frame " + timeText(shownEnd) + " of " + timeText(*medium.length) + " that there are");
    const double materialLength = std::max({medium.span, std::ceil(playedEnd - 1e-6), relIn + length, 1.0});

    CoSharedPtr<DmSegmentNode> node;
    if (inside)
        node = orBadAlloc(DmContainerNode::create(inside, mediaType, entry.recIn, length, relIn));
    else
        node = orBadAlloc(DmSourceNode::create(input(entry, medium, materialLength, mediaType), entry.recIn, length,
                                               relIn, false, false));
    if (const std::string_view name = textOf(element, "name"); !name.empty())
        require(node->setName(toDmString(name)));
    hint.isOff = stage.isTrackOff && !isOff(element);
    if (hint.isOff || isOff(element))
        require(node->setMuted(true));
    addEffects(stage, *node, entry, medium, hint);
    for (const pugi::xml_node marker : element.children("marker"))
        require(node->addSegmentMark(mark(marker, before, fps / clipFps * speed)));

    const pugi::xml_node played = inside ? place : file;
    hint.media = played.attribute("id").value();
    hint.isReference = played && !played.first_child();
    hint.hasFile = static_cast<bool>(file);
    _nodes.insert(element.internal_object());
    if (inside)
        _nodes.insert(place.internal_object());
    came(*node, element);
    _hints.emplace(node.get(), std::move(hint));
    stage.clips.push_back({node, element, &label});
    return node;
}

/// Gives the clips of a sequence their ids; those that are linked share the part before the '#'.
void Maker::link(Stage& stage)
{
    std::unordered_map<std::string_view, std::size_t> byId;
    for (std::size_t i = 0; i < stage.clips.size(); ++i)
        if (const std::string_view id = stage.clips[i].id(); !id.empty())
            byId.emplace(id, i);
    std::vector<std::size_t> group(stage.clips.size());
    std::iota(group.begin(), group.end(), std::size_t{0});
    const auto rootOf = [&group](std::size_t i)
    {
        while (group[i] != i)
            i = group[i] = group[group[i]];
        return i;
    };
    for (std::size_t i = 0; i < stage.clips.size(); ++i)
        for (const pugi::xml_node each : stage.clips[i].element.children("link"))
            if (const auto found = byId.find(textOf(each, "linkclipref")); found != byId.end())
            {
                const std::size_t a = rootOf(i);
                const std::size_t b = rootOf(found->second);
                group[std::max(a, b)] = std::min(a, b);
            }
    std::vector<std::size_t> sizes(stage.clips.size());
    for (std::size_t i = 0; i < stage.clips.size(); ++i)
        ++sizes[rootOf(i)];
    if (std::ranges::any_of(sizes, [](std::size_t size) { return size > mostLinked; }))
    {
        warn(stage.element,
             "more than " + std::to_string(mostLinked) + " clips linked with each other: read as not linked");
        std::vector<std::size_t> roots(group.size());
        for (std::size_t i = 0; i < roots.size(); ++i)
            roots[i] = rootOf(i);
        for (std::size_t i = 0; i < roots.size(); ++i)
            group[i] = sizes[roots[i]] > mostLinked ? i : roots[i];
        for (std::size_t i = 0; i < roots.size(); ++i)
            sizes[i] = group[i] == i && roots[i] != i ? 1 : sizes[i];
        for (std::size_t& size : sizes)
            size = size > mostLinked ? 1 : size;
    }
    IdMaker ids;
    std::vector<std::string> names(stage.clips.size());
    for (std::size_t i = 0; i < stage.clips.size(); ++i)
    {
        const std::size_t first = rootOf(i);
        if (names[first].empty())
            names[first] = ids.make(*stage.clips[first].node);
        std::string id = names[first];
        if (sizes[first] > 1)
            id = ids.unique(id + '#' + *stage.clips[i].label);
        require(stage.clips[i].node->setSegmentId(toDmString(id)));
    }
}

// What the model does not say

void Maker::keep(DmTreeNode& node, pugi::xml_node element, pugi::xml_node plain, bool isAlways, bool isLast,
                 const Series& series)
{
    const auto hint = _hints.find(&node);
    std::string form = formOf(element, plain, _nodes, hint == _hints.end() ? "" : hint->second.marks(), isLast, series);
    constexpr std::size_t longestOfOurs = 1 << 16; // what is longer has more than we say
    if (!isAlways && form.size() <= longestOfOurs)
    {
        // Nothing is left over where we would write the same.
        struct Text final : public Output
        {
            void write(std::string_view written) override { text += written; }
            std::string text;
        };
        const WriteItems items = [](Output& out, std::string_view) { out.line(itemsName); };
        pugi::xml_document parsed;
        parsed.load_buffer(form.data(), form.size(),
                           pugi::parse_default | pugi::parse_ws_pcdata_single | pugi::parse_comments | pugi::parse_pi);
        Text ours;
        Text theirs;
        fill(ours, {}, plain, items);
        fill(theirs, parsed.document_element(), plain, items);
        if (ours.text == theirs.text)
            form.clear();
    }
    require(_forms.set(node, form));
}

void Maker::drop(const DmTreeNode& node, pugi::xml_node element)
{
    // Others may refer to what it defines.
    const auto isDefinition = [](pugi::xml_node each)
    { return each.first_child() && (isNamed(each, "file") || isNamed(each, "sequence")); };
    if (element.find_node(isDefinition))
        return;
    _nodes.erase(element.internal_object());
    _hints.erase(&node);
    element.parent().remove_child(element);
}

void Maker::keepForms(DmRoot& root)
{
    const Cut cut(root, DM::FCM_NOT_DEFINED, &_hints);
    PlainElements plain(cut, nullptr);
    std::set<const DmCompositionNode*> seen;
    std::set<const void*> keptFiles;
    // Where a sequence stands first, as the writer will have it.
    const auto keepSequence = [&](const auto& self, const Sequence& sequence, std::string& files) -> void
    {
        if (!seen.insert(sequence.node).second)
            return;
        for (const Track& track : sequence.tracks)
        {
            const auto ofTrack = _hints.find(track.node);
            if (ofTrack == _hints.end())
                continue;
            const pugi::xml_node trackElement = ofTrack->second.element;
            // In the track's form it says where the items stand.
            const pugi::xml_node firstItem = trackElement.find_child(
                [this](pugi::xml_node child) { return _nodes.contains(child.internal_object()); });
            for (const Item& item : track.items)
            {
                const DmTreeNode* const node = item.segment ? static_cast<const DmTreeNode*>(item.segment) : item.mix;
                const auto found = _hints.find(node);
                if (found == _hints.end())
                    continue;
                const pugi::xml_node element = found->second.element;
                pugi::xml_document scratch;
                keep(const_cast<DmTreeNode&>(*node), element, plain.item(scratch, sequence, track, item), !item.mix,
                     false, plain.series());
                pugi::xml_node file = element.child("file");
                if (const File* const known = item.segment ? cut.fileOf(*item.segment) : nullptr; known && file)
                {
                    if (!file.first_child())
                        if (const auto defined = _files.find(std::string_view(file.attribute("id").value()));
                            defined != _files.end())
                            file = defined->second;
                    // Others are defined by words that are kept as they stand.
                    const bool isInItem = isNamed(file.parent(), "clipitem");
                    if (file.first_child() && isInItem && keptFiles.insert(file.internal_object()).second)
                    {
                        pugi::xml_document ofFile;
                        files += formOf(file, plain.file(ofFile, sequence, *item.segment), _nodes);
                    }
                }
                if (const auto* const container = dynamic_cast<const DmContainerNode*>(item.segment))
                    if (const DmCompositionNode* const inside = cut.insideOf(*container))
                        self(self, *cut.find(inside), files);
                if (element != firstItem)
                    drop(*node, element);
            }
            pugi::xml_document scratch;
            keep(const_cast<DmTrackNode&>(*track.node), trackElement, plain.track(scratch, sequence, track), false,
                 true);
        }
    };
    for (const Sequence* const sequence : cut.top())
    {
        std::string files;
        keepSequence(keepSequence, *sequence, files);
        seen.erase(sequence->node);
        pugi::xml_document scratch;
        const Hint& hint = _hints.at(sequence->node);
        std::string form =
            formOf(hint.element, plain.sequence(scratch, *sequence), _nodes, hint.marks(), true, plain.series());
        if (!files.empty())
            form.insert(form.rfind("</"), "<our:files>" + files + "</our:files>");
        require(setLeftover(const_cast<DmCompositionNode&>(*sequence->node), leftoverType, form));
        seen.insert(sequence->node);
    }
    for (const DmCompositionNode* const node : seen)
        if (const Sequence* const sequence = cut.find(node); sequence && !sequence->isTop)
        {
            pugi::xml_document scratch;
            keep(const_cast<DmCompositionNode&>(*node), _hints.at(node).element, plain.sequence(scratch, *sequence),
                 true, true, plain.series());
        }
    pugi::xml_document scratch;
    pugi::xml_node top = add(scratch, "xmeml");
    add(top, itemsName);
    keep(root, _xml.root(), top, std::string_view(_xml.root().attribute("version").value()) != "5", true);
}

} // namespace

CoSharedPtr<DmRoot> readFcp7xml(std::string bytes, const Options& options, Report& report)
{
    try
    {
        if (fromUtf16(bytes))
            report.add(Report::Notice, 0, "the text is UTF-16: it goes out as UTF-8");
        // Other encodings say themselves what they are.
        const bool isOther = bytes.find('\0') < 4 || bytes.substr(0, 200).find("-16\"") != bytes.npos;
        std::string declared = bytes.substr(0, 200);
        std::ranges::transform(declared, declared.begin(), toUpper);
        if (!isOther && declared.find("8859-1") == declared.npos && makeUtf8(bytes))
            report.add(Report::Notice, 0, "the text is no UTF-8: taken as Latin-1");
        ParsedXml xml(std::move(bytes));
        XmlFault fault;
        if (!xml.parse(fault))
        {
            report.add(Report::Error, fault.line, fault.what);
            return {};
        }
        CoSharedPtr<DmRoot> root = Maker(xml, options, report).make();
        return report.hasErrors() ? CoSharedPtr<DmRoot>() : root;
    }
    catch (...)
    {
        report.addException();
    }
    return {};
}

} // namespace interchange
