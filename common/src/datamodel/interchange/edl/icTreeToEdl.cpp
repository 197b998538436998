#include "icTreeToEdl.h"

#include "icEdlGrammar.h"
#include "icEdlKept.h"
#include "icEdlLine.h"
#include "icLeftovers.h"
#include "icMisplaced.h"
#include "icMode.h"
#include "icText.h"
#include "icTree.h"
#include "icUnsaid.h"

#include "dmCompositionNode.h"
#include "dmCutNode.h"
#include "dmLayerNode.h"
#include "dmStoredLabel.h"
#include "dmTrackNode.h"
#include "dmUtf8.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <map>
#include <set>
#include <span>
#include <tuple>
#include <vector>

namespace interchange
{

namespace
{

constexpr Loss lostTrack{"DM725", "left out"};
constexpr Loss furtherLayer{"DM726", "left out"};
constexpr Loss furtherComposition{"DM727", "left out"};
constexpr Loss compositionMark{"DM723", "left out"};
constexpr Loss unfilled{"DM741", "the list begins with its first event, and ends with its last"};
constexpr Loss emptyTrack{"DM743", "left out"};
constexpr Loss overlap{"DM703", "the later one covers the end of the earlier"};
constexpr Loss titleControls{"DM733", "control characters are written as blanks"};

/// An event, or the two lines of a transition.
struct Edit
{
    std::optional<std::uint32_t> position; ///< in the list that it came from
    bool isKey = false;
    std::vector<EdlLine> lines;

    const EdlEvent& event() const { return lines.back().event; }
};

bool isSame(const EdlLine& a, const EdlLine& b)
{
    const auto fields = [](const EdlLine& line)
    {
        const EdlEvent& event = line.event;
        return std::tie(line.reel, line.medium, event.transition, event.sourceDrop, event.wipePattern,
                        event.transitionLength, event.source, event.record, event.speed);
    };
    return fields(a) == fields(b);
}

/// Whether a source is called what its list called it, or what the reader made up where that named none.
bool isNamedAsRead(const DmTreeNode& node)
{
    const std::optional<EdlKept> kept = EdlKept::of(node);
    const std::string name = clipName(node);
    return kept && (kept->madeName == name || clipNameOf(*kept, {}, false) == name);
}

/// Adds the channel of an edit to another one that is the same clip but for that: of the same medium, source and record
/// range and speed. Those that stood apart in the list that was read stay apart.
bool merge(Edit& into, const Edit& from)
{
    if (into.position != from.position || !std::ranges::equal(into.lines, from.lines, isSame))
        return false;
    for (std::size_t i = 0; i < into.lines.size(); ++i)
    {
        const EdlChannels& more = from.lines[i].event.channels;
        EdlChannels& channels = into.lines[i].event.channels;
        const EdlLine& line = from.lines[i];
        if ((channels.video & more.video) != 0 || (channels.audio & more.audio) != 0 || !line.marks.empty() ||
            (line.look && line.look != into.lines[i].look))
            return false;
    }
    for (std::size_t i = 0; i < into.lines.size(); ++i)
    {
        into.lines[i].event.channels.video |= from.lines[i].event.channels.video;
        into.lines[i].event.channels.audio |= from.lines[i].event.channels.audio;
        std::vector<Note>& notes = into.lines[i].notes;
        for (const Note& note : from.lines[i].notes)
            if (!isOfModel(note.kind) && std::ranges::find(notes, note) == notes.end())
                notes.push_back(note);
    }
    return true;
}

/// The properties of nodes that a list says, or has no need to.
constexpr std::wstring_view saidProperties[] = {L"name",
                                                L"effects",
                                                L"segmentMarks",
                                                L"cueMarks",
                                                L"muted",
                                                L"effect",
                                                L"fcm",
                                                L"startTC",
                                                L"startTCStr",
                                                L"startTcFcm",
                                                L"trackNum",
                                                L"trackChannel",
                                                L"srcInput.name",
                                                L"srcInput.mediaType",
                                                L"srcInput.srcLength",
                                                L"srcInput.srcFcm",
                                                L"srcInput.srcIn",
                                                L"srcInput.srcInStr",
                                                L"srcInput.srcInFcm",
                                                L"srcInput.hasMedia",
                                                L"srcInput.extraDataDictionary",
                                                L"srcInput.srcInfo.sourceType",
                                                L"srcInput.srcInfo.fileType",
                                                L"srcInput.srcInfo.name",
                                                L"srcInput.srcInfo.reelName",
                                                L"srcInput.srcInfo.track",
                                                L"srcInput.srcInfo.path",
                                                L"srcInput.reelName",
                                                L"srcInput.inputType"};

class ListMaker
{
public:
    ListMaker(const DmCompositionNode& composition, DM::FrameCodeModes fcm, std::size_t reelLength, Report& report)
        : _composition(composition)
        , _report(report)
        , _fcm(fcm)
        , _offset(composition.getLabelTime(0.0))
        , _reels(reelLength)
        , _lines(fcm, _offset, report, _reels)
    {
    }

    EdlList make(const DmRoot& root);

private:
    // Tracks

    void chooseTracks();
    /// A track on its way into the list.
    struct Place
    {
        const DmTrackNode& track;
        EdlChannels channel;
    };
    void addTrack(const DmTrackNode& track, EdlChannels channel);
    void tellUnsaid(const DmLayerNode& layer, const Place& place);
    void addLayer(const DmLayerNode& layer, const Place& place, bool isFirst);
    std::optional<int> freeChannel(const DmTrackNode& track, std::uint64_t& used);

    /// A segment of a layer, with what stands before it; in record order.
    struct Played
    {
        const DmSegmentNode* segment;
        const DmTrxEffectNode* mix;
        const DmTreeNode* previous;

        double recIn() const { return mix ? mix->getRecIn() : segment->getRecIn(); }
    };
    std::vector<Played> playedOf(const DmLayerNode& layer);
    /// Whether the next one's line of no length says all of a source that only its transition shows.
    static bool isOnlyMixedFrom(const Played& played, const Played& next);
    void addEdit(const Played& played, double recOut, const Place& place);
    EdlLine outgoingLine(const Played& played, const Place& place, Edit& edit);
    /// What the node has of the list that it came from: of two copies of one, the first keeps number, place and notes.
    std::optional<EdlKept> keptOf(const DmTreeNode& node, EdlChannels channel);
    void at(const DmTreeNode& node, const Place& place, double recIn);
    void addCompositionMarks();

    // The whole

    bool keepsOrder() const;
    void settleOrder();
    EdlList written();
    void nameAsMade(EdlLine& line) const;
    /// Of what no event fills, at the begin and the end: nobody has to read a list to know when it is over.
    void tellEnds();

    const DmCompositionNode& _composition;
    Report& _report;
    DM::FrameCodeModes _fcm;
    double _offset; ///< from the record times of nodes to those of the list
    EdlReels _reels;
    EdlLineMaker _lines;
    std::set<std::tuple<std::uint32_t, std::uint64_t, std::uint64_t>> _taken; ///< positions, by channel
    std::map<std::string, std::string, std::less<>> _clipsOfReels;            ///< as notes name them
    std::vector<CoSharedPtr<DmTrxEffectNode>> _mended; ///< copies of transitions that say other times than they take
    std::vector<Edit> _edits;
    double _end = 0; ///< of what stands in the tracks, as nodes count
    Unsaid _unsaid{edlLeftover.format, saidProperties};
    Unsaid _unsaidOfGaps{edlLeftover.format, {}}; ///< of which nothing becomes an event
    std::size_t _pictures = 0;                    ///< how many of the edits are the primary track's
};

EdlList ListMaker::make(const DmRoot& root)
{
    _unsaid.reportAround(root, _report);
    _report.at({.node = &_composition});
    _unsaid.report(_composition, _report);
    chooseTracks();
    addCompositionMarks();
    settleOrder();
    tellEnds();
    return written();
}

void ListMaker::tellEnds()
{
    if (_edits.empty())
        return;
    double first = std::numeric_limits<double>::max();
    double last = std::numeric_limits<double>::lowest();
    for (const Edit& edit : _edits)
    {
        first = std::min(first, static_cast<double>(edit.event().record.in));
        last = std::max(last, static_cast<double>(edit.event().record.out));
    }
    const auto tell = [this](double from, double to)
    {
        if (to - from < 1.0)
            return;
        _report.at({&_composition, DM_MEDIA_UNDEFINED, 0, from, _fcm});
        _report.lose(unfilled);
    };
    tell(_offset + _composition.getRecordStart(), first);
    tell(last, _offset + _end);
}

bool isChannel(int number)
{
    return number >= 1 && number <= EdlChannels::limit;
}

std::uint64_t bit(int channel)
{
    return std::uint64_t{1} << (channel - 1);
}

std::optional<int> ListMaker::freeChannel(const DmTrackNode& track, std::uint64_t& used)
{
    int channel = track.getTrackNum();
    if (!isChannel(channel) || (used & bit(channel)) != 0)
        for (channel = 1; channel <= EdlChannels::limit && (used & bit(channel)) != 0;)
            ++channel;
    if (!isChannel(channel))
        return std::nullopt;
    used |= bit(channel);
    return channel;
}

void ListMaker::chooseTracks()
{
    const auto track = [this](int index) { return dynamic_cast<const DmTrackNode*>(_composition.getChild(index)); };
    const auto isVideo = [&](int index) { return track(index) && track(index)->getMediaType() == DM_MEDIA_VIDEO; };
    int primary = _composition.getPrimaryVideoTrackIndex();
    const int count = _composition.getNbChildren();
    if (!isVideo(primary))
        for (primary = 0; primary < count && !isVideo(primary);)
            ++primary;
    std::uint64_t video = 0;
    std::uint64_t audio = 0;
    const auto add = [&](int index)
    {
        const DmTrackNode& node = *track(index);
        const bool isAudio = node.getMediaType() == DM_MEDIA_AUDIO;
        if (const std::optional<int> channel = freeChannel(node, isAudio ? audio : video))
            return addTrack(node, isAudio ? EdlChannels{0, bit(*channel)} : EdlChannels{bit(*channel), 0});
        _report.at({&node, node.getMediaType(), node.getTrackNum(), dmNoTime, _fcm});
        _report.lose(lostTrack);
    };
    if (primary < count)
        add(primary);
    _pictures = _edits.size();
    for (int i = 0; i < count; ++i)
        if (track(i) && i != primary)
            add(i);
}

void ListMaker::addTrack(const DmTrackNode& track, EdlChannels channel)
{
    _report.at({.node = &track});
    _unsaid.report(track, _report);
    bool isFirst = true;
    const std::size_t edits = _edits.size();
    for (int i = 0; i < track.getNbChildren(); ++i)
        if (const auto* const layer = dynamic_cast<const DmLayerNode*>(track.getChild(i)))
        {
            addLayer(*layer, {track, channel}, isFirst);
            isFirst = false;
        }
    if (_edits.size() != edits)
        return;
    _report.at({&track, track.getMediaType(), track.getTrackNum(), dmNoTime, _fcm});
    _report.lose(emptyTrack);
}

std::vector<ListMaker::Played> ListMaker::playedOf(const DmLayerNode& layer)
{
    std::vector<Played> all;
    const DmTreeNode* previous = nullptr;
    const DmTrxEffectNode* mix = nullptr;
    for (int i = 0; i < layer.getNbChildren(); ++i)
    {
        const auto* segment = dynamic_cast<const DmSegmentNode*>(layer.getChild(i));
        if (!segment)
        {
            mix = dynamic_cast<const DmTrxEffectNode*>(layer.getChild(i));
            if (auto mended = mix ? mendedMix(*mix, previous, layer.getChild(i + 1)) : nullptr)
                mix = _mended.emplace_back(std::move(mended)).get();
            continue;
        }
        if (const auto* const source = dynamic_cast<const DmSourceNode*>(carriedBy(*segment)))
            segment = source;
        // A hole in front of it is nothing to come from.
        const auto* const before = dynamic_cast<const DmSegmentNode*>(previous);
        const double in = mix ? mix->getRecIn() : segment->getRecIn();
        constexpr double tolerance = 1e-6;
        const bool follows = before && std::abs(before->getRecOut() - in) <= tolerance;
        all.push_back({segment, mix, follows || (before && before->getRecOut() > in) ? previous : nullptr});
        previous = segment;
        mix = nullptr;
    }
    std::ranges::stable_sort(all, {}, &Played::recIn);
    return all;
}

bool ListMaker::isOnlyMixedFrom(const Played& played, const Played& next)
{
    constexpr double leastLength = 0.5; // of frames
    return !played.mix && played.segment->getRecLength() < leastLength && next.mix && next.previous == played.segment &&
           !EdlKept::of(*played.segment);
}

void ListMaker::at(const DmTreeNode& node, const Place& place, double recIn)
{
    _report.at({&node, place.track.getMediaType(), place.track.getTrackNum(), _offset + recIn, _fcm});
}

void ListMaker::tellUnsaid(const DmLayerNode& layer, const Place& place)
{
    _report.at({.node = &layer});
    _unsaid.report(layer, _report);
    for (int i = 0; i < layer.getNbChildren(); ++i)
        if (const auto* const cut = dynamic_cast<const DmCutNode*>(layer.getChild(i)))
        {
            at(*cut, place, cut->getRecIn());
            _unsaid.report(*cut, _report);
        }
}

void ListMaker::addLayer(const DmLayerNode& layer, const Place& place, bool isFirst)
{
    if (isFirst)
        tellUnsaid(layer, place);
    const std::vector<Played> all = playedOf(layer);
    for (std::size_t i = 0; i < all.size(); ++i)
    {
        const Played& played = all[i];
        _end = std::max(_end, played.segment->getRecOut());
        at(*played.segment, place, played.recIn());
        const std::optional<EdlKept> kept = isFirst ? std::nullopt : EdlKept::of(*played.segment);
        const bool isKey = kept && kept->transition != EdlTransition::Cut;
        const bool isPlain = played.segment->whatIs() == DM_GAP_NODE;
        if (!isFirst && !isKey)
        {
            if (!isPlain)
                _report.lose(furtherLayer);
            continue;
        }
        if (isPlain)
            _unsaidOfGaps.report(*played.segment, _report);
        if ((isPlain && !played.mix) || (i + 1 < all.size() && isOnlyMixedFrom(played, all[i + 1])))
            continue;
        double recOut = played.segment->getRecOut();
        if (i + 1 < all.size() && recOut - all[i + 1].recIn() > 1e-6)
        {
            _report.lose(overlap);
            recOut = std::max(all[i + 1].recIn(), played.recIn());
        }
        if (isPlain)
            recOut = std::min(recOut, played.segment->getRecIn()); // a hole: nobody has to say what it is
        else
            _unsaid.report(*played.segment, _report);
        addEdit(played, recOut, place);
        _edits.back().isKey = isKey;
    }
}

std::optional<EdlKept> ListMaker::keptOf(const DmTreeNode& node, EdlChannels channel)
{
    std::optional<EdlKept> kept = EdlKept::of(node);
    if (kept && kept->position && !_taken.insert({*kept->position, channel.video, channel.audio}).second)
    {
        kept->position.reset();
        kept->number = 0;
        kept->numberWidth = 0;
        kept->numberTail.clear();
        kept->fcmLine = EdlFcmLine::AsNeeded;
        kept->notes.clear();
    }
    return kept;
}

/// The line of no length in front of a transition. As the list had it, as long as the material in front of it ends
/// where it did then.
EdlLine ListMaker::outgoingLine(const Played& played, const Place& place, Edit& edit)
{
    EdlLine line = _lines.outgoingLine(*played.mix, played.previous, place.channel);
    const auto* const attached = dynamic_cast<const DmSourceNode*>(played.mix->getBaseBlob());
    if (!attached)
        return line;
    const std::optional<EdlKept> kept = keptOf(*attached, place.channel);
    if (kept)
        edit.position = kept->position;
    if (kept && kept->after && (!played.previous || *kept->after != line.event.source.in))
    {
        line.event.number = kept->number;
        line.event.numberWidth = kept->numberWidth;
        line.numberTail = kept->numberTail;
        line.labels = kept->labels;
        line.event.fcmLine = kept->fcmLine;
        line.spelling = kept->spelling;
        line.notes = kept->notes;
        std::erase_if(line.notes, [](const Note& note) { return isMarkOrLook(note.kind); });
        return line;
    }
    EdlLine own = _lines.line(*attached, {nullptr, place.channel, attached->getRecOut(), kept ? &*kept : nullptr});
    own.event.record = line.event.record; // the transition says when it is
    if (attached->getRecLength() > 0)
    {
        // What goes on under the transition, as edits leave it: the list names the point where it does.
        EdlRange& source = own.event.source;
        source.in = source.out = own.event.speed && own.event.speed->fps < 0 ? source.out : source.in;
        if (own.event.speed)
            own.event.speed->at = source.in;
    }
    return own;
}

void ListMaker::addEdit(const Played& played, double recOut, const Place& place)
{
    Edit edit;
    const DmTrxEffectNode* const mix = played.mix;
    const std::optional<EdlKept> kept = keptOf(*played.segment, place.channel);
    const auto* const attached = mix ? dynamic_cast<const DmSourceNode*>(mix->getBaseBlob()) : nullptr;
    if (kept)
        edit.position = kept->position;
    if (mix && (attached || !edit.position))
        edit.lines.push_back(outgoingLine(played, place, edit));

    EdlLine incoming = _lines.line(*played.segment, {mix, place.channel, recOut, kept ? &*kept : nullptr});
    if (!edit.lines.empty() && edit.lines.front().event.number == 0)
    {
        edit.lines.front().event.number = incoming.event.number;
        edit.lines.front().event.numberWidth = incoming.event.numberWidth;
        edit.lines.front().numberTail = incoming.numberTail;
    }
    if (mix)
    {
        const std::string from = attached          ? clipName(*attached)
                                 : played.previous ? clipName(*played.previous)
                                                   : std::string();
        const auto note = std::ranges::find(incoming.notes, NoteKind::FromClipName, &Note::kind);
        const bool hasTo = std::ranges::count(incoming.notes, NoteKind::ToClipName, &Note::kind) != 0;
        const bool hasNote = note != incoming.notes.end();
        if (!kept && !hasNote && !from.empty())
            incoming.notes.insert(incoming.notes.begin(), {NoteKind::FromClipName, from});
        else if (hasNote && !from.empty() && (!kept || (attached && hasTo && !isNamedAsRead(*attached))))
            note->text = from;
        const std::string name = clipName(*mix);
        const auto effect = std::ranges::find(incoming.notes, NoteKind::EffectName, &Note::kind);
        if (!name.empty() && effect != incoming.notes.end())
            effect->text = name;
        else if (!name.empty())
            incoming.notes.push_back({NoteKind::EffectName, name});
    }
    edit.lines.push_back(std::move(incoming));
    _edits.push_back(std::move(edit));
}

void ListMaker::addCompositionMarks()
{
    const std::span<Edit> pictures(_edits.data(), _pictures);
    for (const DmPropertySetPtr& set : _composition.getCueMarks())
    {
        if (!set)
            continue;
        const auto& mark = static_cast<const DmCueMark&>(*set);
        const double time = _offset + mark.getCueMarkTime();
        _report.at({&_composition, DM_MEDIA_VIDEO, 1, time, _fcm});
        const auto behind = std::ranges::upper_bound(
            pictures, time, {}, [](const Edit& edit) { return static_cast<double>(edit.event().record.in); });
        const auto plays = [time](const Edit& edit) {
            return time >= static_cast<double>(edit.event().record.in) &&
                   time < static_cast<double>(edit.event().record.out);
        };
        auto found = _edits.end();
        if (behind != pictures.begin() && plays(*std::prev(behind)))
            found = _edits.begin() + (std::prev(behind) - pictures.begin());
        else
            found = std::find_if(_edits.begin() + static_cast<std::ptrdiff_t>(_pictures), _edits.end(), plays);
        if (found == _edits.end() || mark.getCueMarkTime() == dmNoTime)
            _report.lose(compositionMark);
        else
            _lines.addMark(found->lines.back(), mark, mark.getCueMarkTime());
    }
}

bool ListMaker::keepsOrder() const
{
    std::array<std::int64_t, EdlChannels::limit> video{};
    std::array<std::int64_t, EdlChannels::limit> audio{};
    std::uint32_t number = 0;
    for (const Edit& edit : _edits)
    {
        const EdlEvent& event = edit.event();
        if (!edit.position || (event.number < number && event.number > 1 && number != 999))
            return false;
        number = event.number;
        const auto rises = [&event](std::uint64_t channels, auto& before)
        {
            for (; channels != 0; channels &= channels - 1)
            {
                std::int64_t& time = before[static_cast<std::size_t>(std::countr_zero(channels))];
                if (event.record.in < time)
                    return false;
                time = event.record.in;
            }
            return true;
        };
        if (!edit.isKey && (!rises(event.channels.video, video) || !rises(event.channels.audio, audio)))
            return false;
    }
    return true;
}

void ListMaker::settleOrder()
{
    const auto position = [](const Edit& edit)
    { return edit.position.value_or(std::numeric_limits<std::uint32_t>::max()); };
    const auto recordIn = [](const Edit& edit) { return edit.event().record.in; };
    const bool allKept = std::ranges::all_of(_edits, [](const Edit& edit) { return edit.position.has_value(); });
    if (allKept)
        std::ranges::stable_sort(_edits, {}, position);
    else
        std::ranges::stable_sort(_edits, {}, recordIn);

    std::vector<Edit> merged;
    merged.reserve(_edits.size());
    for (Edit& edit : _edits)
    {
        const auto isNear = [&](const Edit& other)
        { return allKept ? position(other) == position(edit) : recordIn(other) == recordIn(edit); };
        auto other = merged.rbegin();
        while (other != merged.rend() && isNear(*other) && !merge(*other, edit))
            ++other;
        if (other == merged.rend() || !isNear(*other))
            merged.push_back(std::move(edit));
    }
    _edits = std::move(merged);
    const std::optional<EdlKept> head = EdlKept::of(_composition);
    if ((allKept && head && head->hasOwnOrder) || keepsOrder())
        return;
    std::ranges::stable_sort(_edits, {}, recordIn);
    std::uint32_t number = 0;
    std::uint8_t width = 0; // the narrowest: of 1 to 10 it is 1
    for (const Edit& edit : _edits)
        if (const std::uint8_t own = edit.event().numberWidth; own != 0 && (width == 0 || own < width))
            width = own;
    std::uint32_t background = 0;
    for (Edit& edit : _edits)
    {
        // A key has the number of its background, as it had.
        if (!edit.isKey || number == 0 || edit.event().number != background)
            ++number;
        background = edit.event().number;
        for (EdlLine& line : edit.lines)
        {
            line.event.number = number;
            line.event.numberWidth = width;
            line.numberTail.clear();
        }
    }
}

/// A name that the reader made of a reel or a number stays, whatever these are by now.
void ListMaker::nameAsMade(EdlLine& line) const
{
    EdlKept now;
    now.number = line.event.number;
    now.numberTail = line.numberTail;
    if (line.madeName.empty() || line.madeName == clipNameOf(now, line.event.reel, false))
        return;
    const auto clip = _clipsOfReels.find(line.event.reel);
    if (clip != _clipsOfReels.end() && clip->second == line.madeName)
        return;
    const NoteKind kind = line.event.isTransition() ? NoteKind::ToClipName : NoteKind::FromClipName;
    const auto note = std::ranges::find(line.notes, kind, &Note::kind);
    if (note == line.notes.end())
        line.notes.push_back({kind, line.madeName});
    else
        note->text = line.madeName;
}

EdlList ListMaker::written()
{
    EdlList list;
    std::string title = clipName(_composition);
    if (blankControls(title))
    {
        _report.at({.node = &_composition});
        _report.lose(titleControls);
    }
    list.title = list.keep(std::move(title));
    list.fcm = _fcm;
    const auto textOf = [this](const Note& note, std::int64_t recordIn)
    { return note.kind == NoteKind::Unplayed ? movedLine(note.text, recordIn, _fcm) : note.text; };
    bool hasNoFcm = false;
    if (const std::optional<EdlKept> head = EdlKept::of(_composition))
    {
        hasNoFcm = head->hasNoFcm;
        list.isUntitled = head->isUntitled && list.title.empty();
        list.hasOwnOrder = head->hasOwnOrder &&
                           !std::ranges::is_sorted(_edits, {}, [](const Edit& edit) { return edit.event().record.in; });
        std::int64_t start = _edits.empty() ? 0 : _edits.front().event().record.in;
        for (const Edit& edit : _edits)
            start = std::min(start, edit.event().record.in);
        for (const Note& note : head->notes)
            list.addNote(note.kind, list.keep(textOf(note, start)), list.keep(note.written));
    }
    // Lists that were read say it once, wherever they do.
    std::set<std::string, std::less<>> said;
    const auto hear = [&](const auto& notes)
    {
        for (const auto& each : notes)
            if (const std::optional<EdlReelClip> clip = reelClipOf(each.kind, each.text))
                _clipsOfReels.emplace(clip->reel, clip->clip);
            else if (const std::optional<EdlLongReel> names = longReelOf(each.kind, each.text))
                said.insert(std::string(names->longName) + " REPLACED BY: " + std::string(names->shortName));
    };
    hear(list.notes);
    for (const Edit& edit : _edits)
        for (const EdlLine& line : edit.lines)
            hear(line.notes);
    const auto isSaid = [&said](const std::string& text) { return said.contains(text); };
    for (Edit& edit : _edits)
        for (EdlLine& line : edit.lines)
        {
            const std::string& reel = _reels.ofList(line.reel);
            std::string whole = reel != line.reel ? line.reel + " REPLACED BY: " + reel : std::string();
            if (!whole.empty() && !isSaid(whole))
                line.notes.push_back({NoteKind::Reel, std::move(whole)});
            line.event.reel = list.keep(reel);
            if (&line == &edit.lines.back())
                nameAsMade(line);
            const auto keep = [&list](std::string& text)
            { return text.empty() ? std::string_view() : list.keep(std::move(text)); };
            line.event.speedReel = keep(line.speedReel);
            line.event.spelling = keep(line.spelling);
            line.event.speedSpelling = keep(line.speedSpelling);
            line.event.labels = keep(line.labels);
            line.event.numberTail = keep(line.numberTail);
            list.addEvent(line.event);
            if (line.look)
                list.look() = *line.look;
            for (Note& note : line.notes)
                list.addNote(note.kind, list.keep(textOf(note, line.event.record.in)), keep(note.written));
            for (EdlLine::Mark& mark : line.marks)
                list.addMarker({mark.at, mark.colour, list.keep(std::move(mark.text))});
        }
    list.hasNoFcm = hasNoFcm;
    return list;
}

/// The compositions of a root, in its reels too.
std::vector<const DmCompositionNode*> compositionsOf(const DmRoot& root)
{
    std::vector<const DmCompositionNode*> found;
    const auto add = [&found](const DmTreeNode* node)
    {
        const auto* const composition = dynamic_cast<const DmCompositionNode*>(node);
        if (composition)
            found.push_back(composition);
        return composition != nullptr;
    };
    for (int i = 0; i < root.getNbChildren(); ++i)
        if (const DmTreeNode* const child = root.getChild(i); child && !add(child))
            for (int j = 0; j < child->getNbChildren(); ++j)
                add(child->getChild(j));
    return found;
}

} // namespace

std::optional<EdlList> treeToEdl(const DmRoot& root, const Options& options, Report& report)
{
    const std::vector<const DmCompositionNode*> compositions = compositionsOf(root);
    if (compositions.empty())
    {
        report.add("DM701", Report::Error, 0, "the document holds no composition");
        return std::nullopt;
    }
    const DmCompositionNode& composition = *compositions.front();
    const DM::FrameCodeModes fcm = modeOf(composition, options.fcm);
    if (fcm == DM::FCM_NOT_DEFINED)
    {
        report.add("DM701", Report::Error, 0,
                   "the composition names no frame-code mode, and no other was given (--fcm names one)");
        return std::nullopt;
    }
    constexpr std::string_view reelLength = "reel-length";
    const auto given = options.more.find(reelLength);
    const std::optional<std::size_t> length =
        given == options.more.end() ? std::optional(EdlReels::usualLength) : toNumber<std::size_t>(given->second);
    if (!length || *length == 0)
    {
        report.add("DM701", Report::Error, 0, "'" + given->second + "' is no length of a reel's name");
        return std::nullopt;
    }
    tellMisplaced(root, report);
    tellMisplaced(composition, report);
    ListMaker maker(composition, fcm, *length, report);
    for (std::size_t i = 1; i < compositions.size(); ++i)
    {
        report.at({compositions[i], DM_MEDIA_UNDEFINED, 0, dmNoTime, fcm});
        report.lose(furtherComposition);
    }
    return maker.make(root);
}

} // namespace interchange
