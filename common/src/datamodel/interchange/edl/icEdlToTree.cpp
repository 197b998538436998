#include "icEdlToTree.h"

#include "icEdlChecks.h"
#include "icEdlGrammar.h"
#include "icEdlKept.h"
#include "icEdlLine.h"
#include "icIds.h"
#include "icLook.h"
#include "icText.h"
#include "icTree.h"

#include "dmADissolveSettings.h"
#include "dmATimewarpSettings.h"
#include "dmCompositionNode.h"
#include "dmGapNode.h"
#include "dmLayerBuilder.h"
#include "dmMaterial.h"
#include "dmPlayed.h"
#include "dmSourceInput.h"
#include "dmTimewarpSettings.h"
#include "dmTrackNode.h"
#include "dmTrxEffectNode.h"
#include "dmUtf8.h"
#include "dmVDissolveSettings.h"
#include "dmWipeSettings.h"

#include "tuTimeUnit.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <map>
#include <new>
#include <utility>
#include <vector>

namespace interchange
{

namespace
{

constexpr Loss speedOfSound{"DM617", "plays at normal speed"};
constexpr Loss otherOutgoing{"DM619", "mix from what plays there"};
constexpr Loss outgoingJump{"DM620", "mix from what follows there"};

constexpr std::size_t mostLayers = 16; ///< of keys over keys: what finds no room is covered by the next one

/// A dissolve or a wipe.
bool isMix(const EdlEvent& event)
{
    return event.isTransition() && !event.isKey();
}

/// A picture or a sound that the list generates as nothing.
bool isBlack(const DmSegmentNode& segment)
{
    const auto* const source = as<DmSourceNode>(&segment);
    const auto* const input =
        source ? dynamic_cast<const DmSourceNode::GeneratedInput*>(source->getSrcInput()) : nullptr;
    return segment.whatIs() == DM_GAP_NODE ||
           (input && (input->getInputType() == L"INPUT_BLACK" || input->getInputType() == L"INPUT_SILENCE"));
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

/// A part of an event that plays: the whole, or what others that are laid over it leave.
struct Piece
{
    std::uint32_t position; ///< of the event
    std::int64_t in;
    std::int64_t out;
    bool isHead; ///< the first of the event's

    std::int64_t length() const { return out - in; }
};

class TreeMaker
{
public:
    TreeMaker(const EdlList& list, Report& report, bool tellsPlaces)
        : _list(list)
        , _report(report)
        , _tellsPlaces(tellsPlaces)
        , _fcmTexts{DmString(DM::FcmUtil::getFCMString(DM::FcmUtil::toNonDrop(list.fcm))),
                    DmString(DM::FcmUtil::getFCMString(DM::FcmUtil::toDrop(list.fcm)))}
        , _groups(list.events.size())
        , _lines(list.fcm, 0.0, _unheard, _reels)
    {
    }

    CoSharedPtr<DmRoot> make();

private:
    using Events = std::vector<std::uint32_t>; ///< positions in the list

    CoSharedPtr<DmTrackNode> track(Channel channel, const Events& events);
    CoSharedPtr<DmLayerNode> layer(int number, Channel channel, const Events& events);
    /// Of events in record order: the later of two that overlap covers the earlier, which goes on behind it.
    std::vector<Piece> piecesOf(const Events& events) const;
    /// Whether the event is the line that only names what the next one mixes from.
    bool isOutgoing(std::uint32_t position) const;
    /// Says so where what it names is not what plays there; `before`: null where nothing does.
    void checkOutgoing(const EdlEvent& outgoing, const EdlEvent& event, const EdlEvent* before, Channel channel);

    CoSharedPtr<DmTrxEffectNode> transition(const EdlEvent& event, Channel channel, std::int64_t length) const;
    CoSharedPtr<DmEffectSettings> mix(const EdlEvent& event, eDmTreeMediaType mediaType, double length) const;
    /// `mixed`: how much of the piece the transition in front of it has.
    CoSharedPtr<DmSourceNode> source(const Piece& piece, Channel channel, std::int64_t mixed);
    CoSharedPtr<DmSourceNode::Input> input(const EdlEvent& event, Channel channel, const EdlKept& kept,
                                           double srcLength) const;
    EdlKept keptOf(const EdlEvent& event, Channel channel, std::uint32_t position) const;
    std::string clipName(const EdlEvent& event, EdlKept& kept) const;
    std::string idOf(const Piece& piece, const DmSourceNode& node, const EdlKept& kept);
    static double speedOf(const EdlList& list, const EdlEvent& event, eDmTreeMediaType mediaType);
    static void addSpeed(DmSourceNode& node, double speed, eDmTreeMediaType mediaType);
    void readReels();
    void lose(const Loss& loss, const EdlEvent& event, std::optional<Channel> channel = {});
    void came(const DmTreeNode& node, const EdlEvent& event)
    {
        if (event.line != 0)
            _report.lineBecame(event.line, node);
        if (_tellsPlaces && event.line != 0)
            _report.came(node, event.line);
    }
    void addMarks(DmSourceNode& node, const EdlEvent& event) const;
    static bool isFirstChannel(const EdlEvent& event, Channel channel);
    /// `recordIn`: what times on the record side count from.
    static EdlKept kept(const EdlList& list, EdlRun notes, std::int64_t recordIn);

    const EdlList& _list;
    Report& _report;
    bool _tellsPlaces;
    std::array<DmString, 2> _fcmTexts; ///< of sources that drop no labels, and of those that do
    std::int64_t _start = 0;
    std::map<std::string_view, std::string_view> _longReels;
    std::map<std::string_view, std::string_view> _clipsOfReels;
    IdMaker _ids;
    std::vector<std::string> _groups;                                     ///< of events, by position
    std::map<std::pair<std::uint32_t, std::int64_t>, std::string> _tails; ///< of what goes on behind others
    Report _unheard;
    EdlReels _reels;
    EdlLineMaker _lines; ///< for what the list would say of what stands on the timeline
};

/// A system that shortens reels' names says so, once a reel; another one names the clip of a reel.
void TreeMaker::readReels()
{
    for (const EdlNote& note : _list.notes)
        if (const std::optional<EdlReelClip> clip = reelClipOf(note.kind, note.text))
            _clipsOfReels.emplace(clip->reel, clip->clip);
        else if (const std::optional<EdlLongReel> reel = longReelOf(note.kind, note.text))
            _longReels.emplace(reel->shortName, reel->longName);
}

void TreeMaker::lose(const Loss& loss, const EdlEvent& event, std::optional<Channel> channel)
{
    Where where = whereOf(_list, event);
    if (channel)
    {
        where.mediaType = channel->mediaType;
        where.track = channel->number;
    }
    _report.at(where);
    _report.lose(loss, event.line);
    _report.at({});
}

CoSharedPtr<DmRoot> TreeMaker::make()
{
    const DmString fcm = DmString(DM::FcmUtil::getFCMString(_list.fcm));
    const auto composition = orBadAlloc(
        DmCompositionNode::create(_list.title.empty() ? DmString(L"untitled") : toDmString(_list.title), fcm, {}));
    readReels();

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
        _start = std::min(_start, event.record.in);
        end = std::max(end, event.record.out);
    }
    EdlKept head = kept(_list, _list.headNotes, _start);
    head.isUntitled = _list.isUntitled;
    head.hasNoFcm = _list.hasNoFcm;
    head.hasOwnOrder = _list.hasOwnOrder;
    require(head.keepOn(*composition));
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

    auto root = orBadAlloc(DmRoot::create());
    root->addChild(composition);
    return root;
}

CoSharedPtr<DmTrackNode> TreeMaker::track(Channel channel, const Events& events)
{
    auto track = orBadAlloc(DmTrackNode::create(channel.number, channel.mediaType));
    require(track->setTrackChannel(channel.number));
    require(track->setName(toDmString(nameOf(channel))));

    // The first layer has what is cut, the others the keys over it, each on the first one that has room.
    std::vector<Events> layers(1);
    std::vector<std::int64_t> ends(1);
    for (const std::uint32_t position : events)
    {
        const EdlEvent& event = _list.events[position];
        std::size_t layer = 0;
        if (event.isKey())
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
    return event.record.length() == 0 && !event.isTransition() && isMix(next) && next.hasNumberOf(event) &&
           next.record.in == event.record.in && next.channels == event.channels;
}

void TreeMaker::checkOutgoing(const EdlEvent& outgoing, const EdlEvent& event, const EdlEvent* before, Channel channel)
{
    const auto isOutgoingReel = [&](std::string_view reel)
    { return std::ranges::equal(reel, outgoing.reel, {}, toUpper, toUpper); };
    if (edlReelKind(outgoing.reel) != EdlReelKind::Tape)
        return;
    if (!before || !isOutgoingReel(before->reel))
        return lose(otherOutgoing, event, channel);
    constexpr double tolerance = 0.005;
    const double speed = _list.speedOf(*before);
    if (speed <= 0 && channel.mediaType == DM_MEDIA_AUDIO) // which is said
        return;
    // Where it ends, or another event covers its end.
    const std::int64_t covered = before->record.out - event.record.in;
    const double end =
        static_cast<double>(speed < 0 ? before->source.in : before->source.out) - static_cast<double>(covered) * speed;
    const double later = static_cast<double>(outgoing.source.in) - end;
    const double slower = outgoing.speed ? std::abs(_list.speedOf(outgoing) - speed) : 0.0;
    const bool isHeld = speed == 0 && outgoing.source.in == before->source.in;
    if (!isHeld && (std::abs(later) > (before->speed ? 2.0 * std::max(1.0, std::abs(speed)) : 0.0) ||
                    slower > tolerance * std::max(1.0, std::abs(speed))))
        lose(outgoingJump, event, channel);
}

std::vector<Piece> TreeMaker::piecesOf(const Events& events) const
{
    std::vector<Piece> pieces;
    pieces.reserve(events.size());
    std::vector<Piece> under; // the last of them plays; `in` is how far it has come
    const auto playUntil = [&](std::int64_t time)
    {
        std::int64_t from = std::numeric_limits<std::int64_t>::min();
        while (!under.empty())
        {
            Piece& top = under.back();
            top.in = std::max(top.in, std::min(from, top.out));
            const std::int64_t end = std::min(top.out, time);
            // One that nothing is left of stands where it begins, as another one does.
            const std::int64_t begin = end > top.in ? top.in : _list.events[top.position].record.in;
            if (end > top.in || (top.isHead && end == top.out))
            {
                pieces.push_back({top.position, begin, end > top.in ? end : begin, top.isHead});
                top.isHead = false;
            }
            top.in = std::max(top.in, end);
            from = std::max(from, end);
            if (top.in < top.out)
                break;
            under.pop_back();
        }
    };
    for (const std::uint32_t position : events)
    {
        const EdlRange& record = _list.events[position].record;
        playUntil(record.in);
        // What another covers from end to end is there all the same.
        if (!under.empty() && under.back().isHead && under.back().out <= record.out)
        {
            pieces.push_back({under.back().position, record.in, record.in, true});
            under.pop_back();
        }
        under.push_back({position, record.in, std::max(record.in, record.out), true});
    }
    playUntil(std::numeric_limits<std::int64_t>::max());
    std::ranges::stable_sort(pieces, {}, [](const Piece& piece) { return std::pair(piece.in, piece.out); });
    return pieces;
}

CoSharedPtr<DmLayerNode> TreeMaker::layer(int number, Channel channel, const Events& events)
{
    DmLayerBuilder builder(number, channel.mediaType, static_cast<double>(_start));
    CoSharedPtr<DmSourceNode> outgoing;
    CoSharedPtr<DmSegmentNode> previous;
    const EdlEvent* leaves = nullptr; // that the outgoing one is of
    const EdlEvent* before = nullptr; // and the previous one
    for (const Piece& piece : piecesOf(events))
    {
        const EdlEvent& event = _list.events[piece.position];
        if (isOutgoing(piece.position))
        {
            outgoing = source(piece, channel, 0);
            leaves = &event;
            continue;
        }
        std::int64_t mixed = 0;
        if (isMix(event) && piece.in == event.record.in)
        {
            mixed = std::min<std::int64_t>(event.transitionLength, piece.length());
            const auto node = transition(event, channel, mixed);
            if (outgoing)
            {
                const bool follows = previous && previous->getRecOut() == static_cast<double>(piece.in);
                checkOutgoing(*leaves, event, follows ? before : nullptr, channel);
                if (follows && isBlack(*outgoing) && !isBlack(*previous))
                {
                    // A cut to black, from which the next one comes: nothing stands between them that would mix.
                    previous = orBadAlloc(DmGapNode::create(channel.mediaType, static_cast<double>(piece.in), 0.0));
                    require(builder.place(previous));
                }
                // What the model says of the material that goes out: as long as it does, the list's own line holds.
                if (std::optional<EdlKept> kept = EdlKept::of(*outgoing); kept && follows)
                {
                    kept->after = _lines.outgoingLine(*node, previous.get(), {}).event.source.in;
                    require(kept->keepOn(*outgoing));
                }
                require(node->setBaseBlob(outgoing));
            }
            came(*node, event);
            require(builder.place(node));
        }
        outgoing.reset();
        const auto node = source(piece, channel, mixed);
        came(*node, event);
        previous = node;
        before = &event;
        if (piece.length() > mixed)
        {
            require(builder.place(node));
            continue;
        }
        const auto gap = orBadAlloc(DmGapNode::create(channel.mediaType, node->getRecIn(), 0.0));
        require(gap->setBaseBlob(node));
        require(builder.place(gap));
    }
    return orBadAlloc(builder.finish());
}

CoSharedPtr<DmTrxEffectNode> TreeMaker::transition(const EdlEvent& event, Channel channel, std::int64_t length) const
{
    const auto effect = mix(event, channel.mediaType, static_cast<double>(length));
    const auto node =
        orBadAlloc(DmTrxEffectNode::create(effect, static_cast<double>(event.record.in), static_cast<double>(length)));
    for (const EdlNote& note : _list.notesOf(event))
        if (note.kind == NoteKind::EffectName && node->getName() == L"untitled")
            setText(*node, DmTreeNode::Name, note.text);
    return node;
}

CoSharedPtr<DmEffectSettings> TreeMaker::mix(const EdlEvent& event, eDmTreeMediaType mediaType, double length) const
{
    const auto ofLength = [length](const auto& effect) -> CoSharedPtr<DmEffectSettings>
    {
        require(orBadAlloc(effect)->setLength(length));
        return effect;
    };
    if (mediaType == DM_MEDIA_AUDIO)
        return ofLength(DmADissolveSettings::create());
    if (event.transition != EdlTransition::Wipe)
        return ofLength(DmVDissolveSettings::create());
    const auto wipe = orBadAlloc(DmWipeSettings::create());
    require(wipe->setSmptePattern(event.wipePattern));
    return ofLength(wipe);
}

bool TreeMaker::isFirstChannel(const EdlEvent& event, Channel channel)
{
    const bool hasVideo = event.channels.video != 0;
    return hasVideo == (channel.mediaType == DM_MEDIA_VIDEO) &&
           std::countr_zero(hasVideo ? event.channels.video : event.channels.audio) + 1 == channel.number;
}

EdlKept TreeMaker::kept(const EdlList& list, EdlRun notes, std::int64_t recordIn)
{
    EdlKept kept;
    kept.notes.reserve(notes.count);
    for (const EdlNote& note : list.notesOf(notes))
        kept.notes.push_back(
            {note.kind,
             note.kind == NoteKind::Unplayed ? movedLine(note.text, -recordIn, list.fcm) : std::string(note.text),
             std::string(note.written)});
    return kept;
}

double TreeMaker::speedOf(const EdlList& list, const EdlEvent& event, eDmTreeMediaType mediaType)
{
    // Sound has no words for what stands still or plays backwards.
    const double speed = list.speedOf(event);
    return mediaType == DM_MEDIA_AUDIO && speed <= 0 ? 1.0 : speed;
}

std::string TreeMaker::clipName(const EdlEvent& event, EdlKept& kept) const
{
    const Note* const note = clipNote(kept.notes, event.isTransition());
    const auto ofReel = _clipsOfReels.find(event.reel);
    if (!note || note->text.empty())
        kept.madeName = ofReel != _clipsOfReels.end() ? std::string(ofReel->second)
                                                      : clipNameOf(kept, event.reel, event.isTransition());
    return kept.madeName.empty() ? clipNameOf(kept, event.reel, event.isTransition()) : kept.madeName;
}

EdlKept TreeMaker::keptOf(const EdlEvent& event, Channel channel, std::uint32_t position) const
{
    EdlKept kept = TreeMaker::kept(_list, event.notes, event.record.in);
    kept.position = position;
    kept.fcmLine = event.fcmLine;
    kept.number = event.number;
    kept.numberWidth = event.numberWidth;
    kept.numberTail = event.numberTail;
    kept.labels = event.labels;
    kept.speed = event.speed;
    kept.speedHasNoTime = event.speedHasNoTime;
    kept.speedHasNoReel = event.speedHasNoReel;
    kept.speedReel = event.speedReel;
    // How many blanks stand between channels and transition is the writer's business.
    std::string_view transition = event.spelling;
    if (const std::string_view channels = takeFirstWord(transition); !channels.empty())
        kept.spelling.append(channels).append(" ").append(transition);
    kept.speedSpelling = event.speedSpelling;
    const bool isWipeOfSound = event.transition == EdlTransition::Wipe && channel.mediaType == DM_MEDIA_AUDIO;
    if (event.isKey() || event.transition == EdlTransition::KeyBackground || isWipeOfSound)
    {
        kept.transition = event.transition;
        kept.keyFades = event.keyFades;
        kept.wipePattern = event.wipePattern;
        kept.transitionLength = event.transitionLength;
    }
    const bool isTape = edlReelKind(event.reel) == EdlReelKind::Tape;
    if (!isTape || event.speed || event.source.length() != event.record.length())
    {
        kept.source = event.source;
        kept.recordLength = event.record.length();
    }
    const auto longReel = _longReels.find(event.reel);
    if (!isTape || !EdlReels::isPlain(event.reel) || longReel != _longReels.end())
        kept.reel = event.reel;
    if (longReel != _longReels.end())
        kept.longReel = longReel->second;
    return kept;
}

std::string TreeMaker::idOf(const Piece& piece, const DmSourceNode& node, const EdlKept& kept)
{
    std::string& group = piece.isHead ? _groups[piece.position] : _tails[{piece.position, piece.in}];
    if (!group.empty())
        return group;
    // Of the auxiliary source, the clip's name says what it is, where the list has one.
    const EdlEvent& event = _list.events[piece.position];
    const bool isNamed = equalsNoCase(event.reel, "AX") && kept.madeName.empty() && !pathNote(kept.notes);
    return group = isNamed ? _ids.make(node, dmUtf8(node.getName())) : _ids.make(node);
}

CoSharedPtr<DmSourceNode> TreeMaker::source(const Piece& piece, Channel channel, std::int64_t mixed)
{
    const EdlEvent& event = _list.events[piece.position];
    const bool isFirst = isFirstChannel(event, channel) && piece.isHead;
    EdlKept kept = keptOf(event, channel, piece.position);
    const std::string name = clipName(event, kept);

    // What plays of the range: at a speed, so much of it more or less; backwards, from its end on.
    const double speed = speedOf(_list, event, channel.mediaType);
    const double length = static_cast<double>(piece.length() - mixed);
    const auto before = static_cast<double>(piece.in + mixed - event.record.in);
    const auto behind = static_cast<double>(event.record.out - piece.out);
    const double relIn = (speed < 0 ? behind : before) * std::abs(speed);
    // It must lie within the material, even of what plays slower; a single frame may be held for ever.
    const auto own = static_cast<double>(std::max<std::int64_t>(event.source.length(), 0));
    const double srcLength =
        speed == 0 && own == 1.0 ? own : std::max({own, relIn + length * std::max(1.0, std::abs(speed)), 1.0});
    auto node = orBadAlloc(DmSourceNode::create(input(event, channel, kept, srcLength),
                                                static_cast<double>(piece.in + mixed), length, relIn, false, false));
    setText(*node, DmTreeNode::Name, name);
    if (event.speed && speed != 1.0)
        addSpeed(*node, speed, channel.mediaType);
    if (channel.mediaType == DM_MEDIA_AUDIO && _list.speedOf(event) <= 0 && piece.isHead)
        lose(speedOfSound, event, channel);
    if (event.speed)
        kept.plays = DmPlayed(*node, _list.fcm).speed();
    if (!isOutgoing(piece.position))
        setText(*node, DmSegmentNode::SegmentId, idOf(piece, *node, kept) + '#' + nameOf(channel));
    if (const Look* const look = _list.lookOf(event); look && channel.mediaType == DM_MEDIA_VIDEO)
        require(node->addEffect(toLookSettings(*look)));
    if (isFirst)
        addMarks(*node, event);
    else
        kept.notes.clear();
    // What goes on behind another event is none of the list's own.
    if (piece.isHead)
        require(kept.keepOn(*node));
    return node;
}

CoSharedPtr<DmSourceNode::Input> TreeMaker::input(const EdlEvent& event, Channel channel, const EdlKept& kept,
                                                  double srcLength) const
{
    const DM::FrameCodeModes fcm = _list.sourceFcm(event);
    const DmString& fcmText = _fcmTexts[event.sourceDrop ? 1 : 0];
    if (const EdlReelKind kind = edlReelKind(event.reel); kind != EdlReelKind::Tape)
    {
        const bool isAudio = channel.mediaType == DM_MEDIA_AUDIO;
        const wchar_t* const type = kind == EdlReelKind::Black ? (isAudio ? L"INPUT_SILENCE" : L"INPUT_BLACK")
                                    : isAudio                  ? L"INPUT_TONE"
                                    : fcm == DM::FCM_25        ? L"INPUT_PAL_BARS"
                                                               : L"INPUT_SMPTE_BARS";
        const auto generated = orBadAlloc(DmSourceNode::GeneratedInput::create(type, srcLength, channel.mediaType));
        require(generated->setFcm(fcmText));
        return generated;
    }
    // It copies the info that it is given: this one is filled where it stays.
    static const CoSharedPtr<DmSourceInfo> fresh = DmSourceInfo::create();
    const Note* const path = pathNote(kept.notes);
    const auto media = orBadAlloc(DmSourceNode::MediaInput::create(srcLength, static_cast<double>(event.source.in),
                                                                   fresh, fcmText, channel.mediaType, path != nullptr));
    DmSourceInfo* const info = media->getSrcInfo();
    if (!info)
        throw std::bad_alloc();
    require(info->setSourceType(DmSourceInfo::Reel));
    setText(*info, DmSourceInfo::ReelName, kept.longReel.empty() ? event.reel : std::string_view(kept.longReel));
    require(info->setTrack(channel.number));
    if (const Note* const file = fileNote(kept.notes))
        setText(*info, DmSourceInfo::Name, file->text);
    if (path)
        setText(*info, DmSourceInfo::Path, path->text);
    require(media->setFcm(fcmText));
    char label[DM::TimeUnit::labelSize];
    DM::TimeUnit(static_cast<double>(event.source.in)).toTimeCode(label, sizeof label, fcm);
    setText(*media, DmSourceNode::MediaInput::SrcInStr, label);
    require(dmSetMaterialLengthUnknown(*media));
    return media;
}

void TreeMaker::addSpeed(DmSourceNode& node, double speed, eDmTreeMediaType mediaType)
{
    if (mediaType == DM_MEDIA_VIDEO)
    {
        const auto warp = orBadAlloc(DmVTimewarpSettings::create());
        require(warp->setSpeed(speed));
        require(node.addEffect(warp));
    }
    else
    {
        const auto warp = orBadAlloc(DmATimewarpSettings::create());
        require(warp->setRatio(static_cast<float>(1 / speed)));
        require(node.addEffect(warp));
    }
}

void TreeMaker::addMarks(DmSourceNode& node, const EdlEvent& event) const
{
    for (const EdlMarker& marker : _list.markersOf(event))
    {
        const double time = timeOfMark(node, _list.fcm, static_cast<double>(marker.at));
        const auto mark = orBadAlloc(DmCueMark::create(toDmString(marker.text), time));
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
    for (const EdlNote& note : _list.notesOf(event))
        if (const std::optional<EdlNoteMark> said = isFree(note.kind) ? parseNoteMark(note.text) : std::nullopt)
        {
            const double time = timeOfMark(node, _list.fcm, static_cast<double>(event.record.in));
            const auto mark = orBadAlloc(DmCueMark::create(toDmString(said->name), time));
            require(mark->setCueMarkComment(toDmString(said->comment)));
            require(mark->setCueMarkDuration(static_cast<double>(said->length)));
            const NamedColour colour = said->colour.value_or(NamedColour{});
            require(mark->setCueMarkColorRed(colour.red));
            require(mark->setCueMarkColorGreen(colour.green));
            require(mark->setCueMarkColorBlue(colour.blue));
            require(node.addSegmentMark(mark));
        }
}

} // namespace

CoSharedPtr<DmRoot> edlToTree(const EdlList& list, Report& report, bool places)
{
    try
    {
        return TreeMaker(list, report, places).make();
    }
    catch (...)
    {
        report.addException();
    }
    return {};
}

} // namespace interchange
