#include "icEdlToTree.h"

#include "icEdlKept.h"
#include "icLook.h"
#include "icText.h"
#include "icTree.h"

#include "dmADissolveSettings.h"
#include "dmATimewarpSettings.h"
#include "dmCompositionNode.h"
#include "dmGapNode.h"
#include "dmLayerBuilder.h"
#include "dmSourceInput.h"
#include "dmTimewarpSettings.h"
#include "dmTrackNode.h"
#include "dmTrxEffectNode.h"
#include "dmVDissolveSettings.h"
#include "dmWipeSettings.h"

#include "tuTimeUnit.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <new>
#include <vector>

namespace interchange
{

namespace
{

constexpr Loss noChannel{"DM611", "left out"};
constexpr Loss lookOfSound{"DM612", "left out"};

constexpr std::size_t mostLayers = 16; ///< of keys over keys: what finds no room is covered by the next one

bool isKey(const EdlEvent& event)
{
    return event.transition == EdlTransition::Key || event.transition == EdlTransition::KeyOut;
}

/// A dissolve or a wipe.
bool isMix(const EdlEvent& event)
{
    return event.isTransition() && !isKey(event);
}

struct Channel
{
    eDmTreeMediaType mediaType;
    int number; ///< from 1 on
};

std::string nameOf(Channel channel)
{
    return (channel.mediaType == DM_MEDIA_VIDEO ? "V" : "A") + std::to_string(channel.number);
}

/// An event as it stands on the timeline, beside the list's times where they make sense.
struct Place
{
    std::int64_t recIn; ///< of the source: behind the transition
    std::int64_t length;
    std::int64_t relIn;
};

class TreeMaker
{
public:
    TreeMaker(const EdlList& list, Report& report)
        : _list(list)
        , _report(report)
    {
    }

    CoSharedPtr<DmRoot> make();

private:
    using Events = std::vector<std::uint32_t>; ///< positions in the list

    CoSharedPtr<DmTrackNode> track(Channel channel, const Events& events);
    CoSharedPtr<DmLayerNode> layer(int number, Channel channel, const Events& events);
    /// Whether the event is the line that only names what the next one mixes from.
    bool isOutgoing(std::uint32_t position) const;

    CoSharedPtr<DmTrxEffectNode> transition(const EdlEvent& event, Channel channel, std::int64_t length) const;
    CoSharedPtr<DmEffectSettings> mix(const EdlEvent& event, eDmTreeMediaType mediaType, double length) const;
    CoSharedPtr<DmSourceNode> source(std::uint32_t position, Channel channel, Place place);
    CoSharedPtr<DmSourceNode::Input> input(const EdlEvent& event, Channel channel, const EdlKept& kept,
                                           double leastLength) const;
    void addSpeed(DmSourceNode& node, const EdlEvent& event, eDmTreeMediaType mediaType) const;
    void addMarks(DmSourceNode& node, const EdlEvent& event) const;
    static bool isFirstChannel(const EdlEvent& event, Channel channel);
    static EdlKept kept(const EdlList& list, EdlRun notes);

    const EdlList& _list;
    Report& _report;
    std::int64_t _start = 0;
};

CoSharedPtr<DmRoot> TreeMaker::make()
{
    const DmString fcm = DmString(DM::FcmUtil::getFCMString(_list.fcm));
    const auto composition = made(DmCompositionNode::create(toDmString(_list.title), fcm, {}));
    if (_list.headNotes.count != 0)
        require(kept(_list, _list.headNotes).keepOn(*composition));

    std::array<Events, EdlChannels::limit> video;
    std::array<Events, EdlChannels::limit> audio;
    std::int64_t end = 0;
    _start = _list.events.empty() ? 0 : std::numeric_limits<std::int64_t>::max();
    for (std::uint32_t i = 0; i < _list.events.size(); ++i)
    {
        const EdlEvent& event = _list.events[i];
        for (std::uint64_t rest = event.channels.video; rest != 0; rest &= rest - 1)
            video[static_cast<std::size_t>(std::countr_zero(rest))].push_back(i);
        for (std::uint64_t rest = event.channels.audio; rest != 0; rest &= rest - 1)
            audio[static_cast<std::size_t>(std::countr_zero(rest))].push_back(i);
        if (event.channels.isEmpty())
            _report.lose(noChannel);
        _start = std::min(_start, event.record.in);
        end = std::max(end, event.record.out);
    }
    require(composition->setStartTC(static_cast<double>(_start), fcm));
    require(composition->setCompLength(static_cast<double>(std::max<std::int64_t>(0, end - _start))));

    const auto addTracks = [&](eDmTreeMediaType mediaType, const auto& channels)
    {
        for (int i = 0; i < EdlChannels::limit; ++i)
            if (const Events& events = channels[static_cast<std::size_t>(i)]; !events.empty())
                composition->addChild(track({mediaType, i + 1}, events));
    };
    addTracks(DM_MEDIA_VIDEO, video);
    if (composition->getNbChildren() != 0)
        require(composition->setPrimaryVideoTrackIndex(0));
    addTracks(DM_MEDIA_AUDIO, audio);

    auto root = made(DmRoot::create());
    root->addChild(composition);
    return root;
}

CoSharedPtr<DmTrackNode> TreeMaker::track(Channel channel, const Events& events)
{
    auto track = made(DmTrackNode::create(channel.number, channel.mediaType));
    require(track->setTrackChannel(channel.number));
    require(track->setName(toDmString(nameOf(channel))));

    // The first layer has what is cut, the others the keys over it, each on the first one that has room.
    std::vector<Events> layers(1);
    std::vector<std::int64_t> ends(1);
    for (const std::uint32_t position : events)
    {
        const EdlEvent& event = _list.events[position];
        std::size_t layer = 0;
        if (isKey(event))
            for (layer = 1; layer < layers.size() && layer < mostLayers && ends[layer] > event.record.in;)
                ++layer;
        if (layer == layers.size())
        {
            layers.emplace_back();
            ends.push_back(0);
        }
        layers[std::min(layer, layers.size() - 1)].push_back(position);
        ends[std::min(layer, layers.size() - 1)] = event.record.out;
    }
    for (std::size_t i = 0; i < layers.size(); ++i)
    {
        // Only a list with mistakes in it is not in order.
        const auto recordIn = [this](std::uint32_t position) { return _list.events[position].record.in; };
        if (!std::ranges::is_sorted(layers[i], {}, recordIn))
            std::ranges::stable_sort(layers[i], {}, recordIn);
        track->addChild(layer(static_cast<int>(i), channel, layers[i]));
    }
    return track;
}

bool TreeMaker::isOutgoing(std::uint32_t position) const
{
    if (position + 1 >= _list.events.size())
        return false;
    const EdlEvent& event = _list.events[position];
    const EdlEvent& next = _list.events[position + 1];
    return event.record.length() == 0 && !event.isTransition() && isMix(next) && next.number == event.number &&
           next.record.in == event.record.in && next.channels == event.channels;
}

CoSharedPtr<DmLayerNode> TreeMaker::layer(int number, Channel channel, const Events& events)
{
    DmLayerBuilder builder(number, channel.mediaType, static_cast<double>(_start));
    CoSharedPtr<DmSourceNode> outgoing;
    for (std::size_t i = 0; i < events.size(); ++i)
    {
        const EdlEvent& event = _list.events[events[i]];
        const bool isLast = i + 1 == events.size();
        const std::int64_t out =
            isLast ? event.record.out : std::min(event.record.out, _list.events[events[i + 1]].record.in);
        const std::int64_t length = std::max<std::int64_t>(0, out - event.record.in);
        if (isOutgoing(events[i]))
        {
            outgoing = source(events[i], channel, {event.record.in, 0, 0});
            continue;
        }
        std::int64_t mixed = 0;
        if (isMix(event))
        {
            mixed = std::min<std::int64_t>(event.transitionLength, length);
            const auto node = transition(event, channel, mixed);
            if (outgoing)
                require(node->setBaseBlob(outgoing));
            require(builder.place(node));
        }
        outgoing.reset();
        const auto node = source(events[i], channel, {event.record.in + mixed, length - mixed, mixed});
        if (length > mixed)
        {
            require(builder.place(node));
            continue;
        }
        const auto gap = made(DmGapNode::create(channel.mediaType, node->getRecIn(), 0.0));
        require(gap->setBaseBlob(node));
        require(builder.place(gap));
    }
    return made(builder.finish());
}

CoSharedPtr<DmTrxEffectNode> TreeMaker::transition(const EdlEvent& event, Channel channel, std::int64_t length) const
{
    const auto effect = mix(event, channel.mediaType, static_cast<double>(length));
    return made(DmTrxEffectNode::create(effect, static_cast<double>(event.record.in), static_cast<double>(length)));
}

CoSharedPtr<DmEffectSettings> TreeMaker::mix(const EdlEvent& event, eDmTreeMediaType mediaType, double length) const
{
    const auto ofLength = [length](const auto& effect) -> CoSharedPtr<DmEffectSettings>
    {
        require(made(effect)->setLength(length));
        return effect;
    };
    if (mediaType == DM_MEDIA_AUDIO)
        return ofLength(DmADissolveSettings::create());
    if (event.transition != EdlTransition::Wipe)
        return ofLength(DmVDissolveSettings::create());
    const auto wipe = made(DmWipeSettings::create());
    require(wipe->setSmptePattern(event.wipePattern));
    return ofLength(wipe);
}

bool TreeMaker::isFirstChannel(const EdlEvent& event, Channel channel)
{
    const bool hasVideo = event.channels.video != 0;
    return hasVideo == (channel.mediaType == DM_MEDIA_VIDEO) &&
           std::countr_zero(hasVideo ? event.channels.video : event.channels.audio) + 1 == channel.number;
}

EdlKept TreeMaker::kept(const EdlList& list, EdlRun notes)
{
    EdlKept kept;
    for (const EdlNote& note : list.notesOf(notes))
        kept.notes.push_back({note.kind, std::string(note.text)});
    return kept;
}

CoSharedPtr<DmSourceNode> TreeMaker::source(std::uint32_t position, Channel channel, Place place)
{
    const EdlEvent& event = _list.events[position];
    const bool isFirst = isFirstChannel(event, channel);
    EdlKept kept = TreeMaker::kept(_list, event.notes);
    kept.position = position;
    kept.number = event.number;
    kept.speed = event.speed;
    const bool isWipeOfSound = event.transition == EdlTransition::Wipe && channel.mediaType == DM_MEDIA_AUDIO;
    if (isKey(event) || event.transition == EdlTransition::KeyBackground || isWipeOfSound)
    {
        kept.transition = event.transition;
        kept.wipePattern = event.wipePattern;
        kept.transitionLength = event.transitionLength;
    }
    const bool isTape = edlReelKind(event.reel) == EdlReelKind::Tape;
    if (!isTape || event.speed || event.source.length() != event.record.length())
    {
        kept.source = event.source;
        kept.recordLength = event.record.length();
    }
    if (!isTape)
        kept.reel = event.reel;

    const std::int64_t relIn = isTape && event.source.length() <= 1 && event.speed ? 0 : place.relIn;
    auto node = made(DmSourceNode::create(input(event, channel, kept, static_cast<double>(relIn + place.length)),
                                          static_cast<double>(place.recIn), static_cast<double>(place.length),
                                          static_cast<double>(relIn), false, false));
    require(node->setSegmentId(toDmString(std::to_string(position + 1) + '-' + nameOf(channel))));
    if (const std::string_view name = kept.clipName(event.isTransition()); !name.empty())
        require(node->setName(toDmString(name)));
    if (event.speed)
        addSpeed(*node, event, channel.mediaType);
    if (const Look* const look = _list.lookOf(event))
    {
        if (channel.mediaType == DM_MEDIA_VIDEO)
            require(node->addEffect(toLookSettings(*look)));
        else if (isFirst)
            _report.lose(lookOfSound);
    }
    if (isFirst)
        addMarks(*node, event);
    else
        kept.notes.clear();
    require(kept.keepOn(*node));
    return node;
}

CoSharedPtr<DmSourceNode::Input> TreeMaker::input(const EdlEvent& event, Channel channel, const EdlKept& kept,
                                                  double leastLength) const
{
    const DM::FrameCodeModes fcm = _list.sourceFcm(event);
    const DmString fcmText = DmString(DM::FcmUtil::getFCMString(fcm));
    // What is played must lie within the material, even of what plays slower; a single frame may be held for ever.
    const double length = static_cast<double>(std::max<std::int64_t>(event.source.length(), 0));
    const double srcLength = length == 1.0 && event.speed ? length : std::max({length, leastLength, 1.0});
    if (const EdlReelKind kind = edlReelKind(event.reel); kind != EdlReelKind::Tape)
    {
        const bool isAudio = channel.mediaType == DM_MEDIA_AUDIO;
        const wchar_t* const type = kind == EdlReelKind::Black ? (isAudio ? L"INPUT_SILENCE" : L"INPUT_BLACK")
                                    : isAudio                  ? L"INPUT_TONE"
                                    : fcm == DM::FCM_25        ? L"INPUT_PAL_BARS"
                                                               : L"INPUT_SMPTE_BARS";
        const auto generated = made(DmSourceNode::GeneratedInput::create(type, srcLength, channel.mediaType));
        require(generated->setFcm(fcmText));
        return generated;
    }
    const auto info = made(DmSourceInfo::create());
    require(info->setSourceType(DmSourceInfo::Reel));
    require(info->setReelName(toDmString(event.reel)));
    require(info->setTrack(channel.number));
    if (const Note* const file = kept.find(NoteKind::SourceFile))
        require(info->setName(toDmString(file->text)));
    if (const Note* const path = kept.find(NoteKind::SourcePath))
        require(info->setPath(toDmString(path->text)));
    const auto media = made(DmSourceNode::MediaInput::create(srcLength, static_cast<double>(event.source.in), info,
                                                             fcmText, channel.mediaType, false));
    require(media->setFcm(fcmText));
    char label[DM::TimeUnit::labelSize];
    DM::TimeUnit(static_cast<double>(event.source.in)).toTimeCode(label, sizeof label, fcm);
    require(media->setSrcInStr(DmString(label)));
    return media;
}

void TreeMaker::addSpeed(DmSourceNode& node, const EdlEvent& event, eDmTreeMediaType mediaType) const
{
    const double speed = event.speed->fps / DM::FcmUtil::getDoubleFPS(_list.sourceFcm(event));
    if (mediaType == DM_MEDIA_VIDEO)
    {
        const auto warp = made(DmVTimewarpSettings::create());
        require(warp->setSpeed(speed));
        require(node.addEffect(warp));
    }
    else if (speed > 0)
    {
        const auto warp = made(DmATimewarpSettings::create());
        require(warp->setRatio(static_cast<float>(1 / speed)));
        require(node.addEffect(warp));
    }
}

void TreeMaker::addMarks(DmSourceNode& node, const EdlEvent& event) const
{
    for (const EdlMarker& marker : _list.markersOf(event))
    {
        const double time = static_cast<double>(marker.at) - (node.getRecIn() - node.getRelIn());
        const auto mark = made(DmCueMark::create(toDmString(marker.text), time));
        for (const NamedColour& colour : namedColours())
            if (colour.name == marker.colour)
            {
                require(mark->setCueMarkColorRed(colour.red));
                require(mark->setCueMarkColorGreen(colour.green));
                require(mark->setCueMarkColorBlue(colour.blue));
                // A mark without a colour is black as well.
                if (colour.red == 0 && colour.green == 0 && colour.blue == 0)
                    require(mark->setCueMarkComment(toDmString(colour.name)));
            }
        require(node.addSegmentMark(mark));
    }
}

} // namespace

CoSharedPtr<DmRoot> edlToTree(const EdlList& list, Report& report)
{
    try
    {
        return TreeMaker(list, report).make();
    }
    catch (...)
    {
        report.addException();
    }
    return {};
}

} // namespace interchange
