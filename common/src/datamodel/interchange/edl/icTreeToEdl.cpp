#include "icTreeToEdl.h"

#include "icEdlKept.h"
#include "icEdlLine.h"
#include "icText.h"

#include "dmCompositionNode.h"
#include "dmLayerNode.h"
#include "dmStoredLabel.h"
#include "dmTrackNode.h"
#include "dmUtf8.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <span>
#include <tuple>
#include <vector>

namespace interchange
{

namespace
{

constexpr Loss videoTrack{"DM724", "left out"};
constexpr Loss audioTrack{"DM725", "left out"};
constexpr Loss furtherLayer{"DM726", "left out"};
constexpr Loss furtherComposition{"DM727", "left out"};
constexpr Loss compositionMark{"DM723", "left out"};
constexpr Loss overlap{"DM703", "written as they are"};

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
        return std::tie(line.reel, event.transition, event.sourceDrop, event.wipePattern, event.transitionLength,
                        event.source, event.record);
    };
    return fields(a) == fields(b);
}

/// Adds the channel of an edit to another one that is the same but for that.
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
            (line.look && line.look != into.lines[i].look) ||
            (!into.position && line.event.speed != into.lines[i].event.speed))
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

class ListMaker
{
public:
    ListMaker(const DmCompositionNode& composition, DM::FrameCodeModes fcm, Report& report)
        : _composition(composition)
        , _report(report)
        , _fcm(fcm)
        , _offset(composition.getLabelTime(0.0))
        , _lines(fcm, _offset, report)
    {
    }

    EdlList make();

private:
    // Tracks

    void chooseTracks();
    void addTrack(const DmTrackNode& track, EdlChannels channel);
    void addLayer(const DmLayerNode& layer, EdlChannels channel, bool isFirst);
    std::optional<int> freeChannel(const DmTrackNode& track);

    void addEdit(const DmSegmentNode& segment, const DmTrxEffectNode* mix, const DmTreeNode* previous,
                 EdlChannels channel);
    void addCompositionMarks();

    // The whole

    bool keepsOrder() const;
    void settleOrder();
    EdlList written();

    const DmCompositionNode& _composition;
    Report& _report;
    DM::FrameCodeModes _fcm;
    double _offset; ///< from the record times of nodes to those of the list
    EdlLineMaker _lines;
    std::uint64_t _usedAudio = 0;
    std::vector<Edit> _edits;
    std::size_t _pictures = 0; ///< how many of the edits are the primary track's
};

EdlList ListMaker::make()
{
    chooseTracks();
    addCompositionMarks();
    settleOrder();
    return written();
}

/// Whether a track's sources came from a list, so that its channel is one of that list's.
bool isOfList(const DmTrackNode& track)
{
    for (int i = 0; i < track.getNbChildren(); ++i)
        if (const DmTreeNode* const layer = track.getChild(i))
            for (int j = 0; j < layer->getNbChildren(); ++j)
                if (const DmTreeNode* const element = layer->getChild(j))
                {
                    const auto* const attached = dynamic_cast<const DmSourceNode*>(element->getBaseBlob());
                    const std::optional<EdlKept> kept = EdlKept::of(attached ? *attached : *element);
                    if (kept && kept->position)
                        return true;
                }
    return false;
}

bool isChannel(int number)
{
    return number >= 1 && number <= EdlChannels::limit;
}

std::uint64_t bit(int channel)
{
    return std::uint64_t{1} << (channel - 1);
}

std::optional<int> ListMaker::freeChannel(const DmTrackNode& track)
{
    int channel = track.getTrackChannel();
    if (!isChannel(channel) || (_usedAudio & bit(channel)) != 0)
        for (channel = 1; channel <= EdlChannels::limit && (_usedAudio & bit(channel)) != 0;)
            ++channel;
    if (!isChannel(channel))
        return std::nullopt;
    _usedAudio |= bit(channel);
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
    if (primary < count)
    {
        const int channel = track(primary)->getTrackChannel();
        const bool kept = isChannel(channel) && isOfList(*track(primary));
        addTrack(*track(primary), {bit(kept ? channel : 1), 0});
        _pictures = _edits.size();
    }
    for (int i = 0; i < count; ++i)
    {
        const DmTrackNode* const other = track(i);
        if (!other || i == primary)
            continue;
        _report.at({nullptr, other->getMediaType(), other->getTrackNum(), dmNoTime, _fcm, {}});
        if (other->getMediaType() != DM_MEDIA_AUDIO)
        {
            if (isChannel(other->getTrackChannel()) && isOfList(*other))
                addTrack(*other, {bit(other->getTrackChannel()), 0});
            else
                _report.lose(videoTrack);
        }
        else if (const std::optional<int> channel = freeChannel(*other))
            addTrack(*other, {0, bit(*channel)});
        else
            _report.lose(audioTrack);
    }
}

void ListMaker::addTrack(const DmTrackNode& track, EdlChannels channel)
{
    bool isFirst = true;
    for (int i = 0; i < track.getNbChildren(); ++i)
        if (const auto* const layer = dynamic_cast<const DmLayerNode*>(track.getChild(i)))
        {
            addLayer(*layer, channel, isFirst);
            isFirst = false;
        }
}

void ListMaker::addLayer(const DmLayerNode& layer, EdlChannels channel, bool isFirst)
{
    const DmTreeNode* previous = nullptr;
    const DmTrxEffectNode* mix = nullptr;
    std::int64_t end = std::numeric_limits<std::int64_t>::min();
    for (int i = 0; i < layer.getNbChildren(); ++i)
    {
        const auto* segment = dynamic_cast<const DmSegmentNode*>(layer.getChild(i));
        if (!segment)
        {
            mix = dynamic_cast<const DmTrxEffectNode*>(layer.getChild(i));
            continue;
        }
        if (segment->whatIs() == DM_GAP_NODE)
            if (const auto* const source = dynamic_cast<const DmSourceNode*>(segment->getBaseBlob()))
                segment = source;
        const std::optional<EdlKept> kept = isFirst ? std::nullopt : EdlKept::of(*segment);
        const bool isKey = kept && kept->transition != EdlTransition::Cut;
        const bool isPlain = segment->whatIs() == DM_GAP_NODE;
        if (!isFirst && !isKey)
        {
            if (!isPlain)
                _report.lose(furtherLayer);
        }
        else if (!isPlain || mix)
        {
            addEdit(*segment, mix, previous, channel);
            Edit& edit = _edits.back();
            edit.isKey = isKey;
            if (edit.event().record.in < end)
                _report.lose(overlap);
            end = edit.event().record.out;
        }
        previous = segment;
        mix = nullptr;
    }
}

void ListMaker::addEdit(const DmSegmentNode& segment, const DmTrxEffectNode* mix, const DmTreeNode* previous,
                        EdlChannels channel)
{
    Edit edit;
    const std::optional<EdlKept> kept = EdlKept::of(segment);
    const auto* const attached = mix ? dynamic_cast<const DmSourceNode*>(mix->getBaseBlob()) : nullptr;
    if (kept)
        edit.position = kept->position;
    if (attached)
    {
        edit.lines.push_back(_lines.line(*attached, nullptr, channel));
        if (const std::optional<EdlKept> first = EdlKept::of(*attached))
            edit.position = first->position;
    }
    else if (mix && !edit.position)
        edit.lines.push_back(_lines.outgoingLine(*mix, previous, channel));

    EdlLine incoming = _lines.line(segment, mix, channel);
    if (mix)
    {
        const std::string from = attached ? clipName(*attached) : previous ? clipName(*previous) : std::string();
        const auto note = std::ranges::find(incoming.notes, NoteKind::FromClipName, &Note::kind);
        const bool hasTo = std::ranges::count(incoming.notes, NoteKind::ToClipName, &Note::kind) != 0;
        const bool hasNote = note != incoming.notes.end();
        if (!kept && !hasNote && !from.empty())
            incoming.notes.insert(incoming.notes.begin(), {NoteKind::FromClipName, from});
        else if (hasNote && !from.empty() && (!kept || (attached && hasTo)))
            note->text = from;
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
        _report.at({nullptr, DM_MEDIA_VIDEO, 1, time, _fcm, {}});
        const auto behind = std::ranges::upper_bound(
            pictures, time, {}, [](const Edit& edit) { return static_cast<double>(edit.event().record.in); });
        if (behind == pictures.begin() || mark.getCueMarkTime() == dmNoTime ||
            time >= static_cast<double>(std::prev(behind)->event().record.out))
            _report.lose(compositionMark);
        else
            _lines.addMark(std::prev(behind)->lines.back(), mark, 0.0);
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
    if (keepsOrder())
        return;
    std::ranges::stable_sort(_edits, {}, recordIn);
    std::uint32_t number = 0;
    for (Edit& edit : _edits)
    {
        // A key has the number of its background.
        if (!edit.isKey || number == 0)
            ++number;
        for (EdlLine& line : edit.lines)
            line.event.number = number;
    }
}

EdlList ListMaker::written()
{
    EdlList list;
    list.title = list.keep(dmUtf8(_composition.getName()));
    list.fcm = _fcm;
    const std::optional<EdlKept> head = EdlKept::of(_composition);
    for (const Note& note : notesOf(_composition))
        list.addNote(note.kind, list.keep(note.text));
    for (Edit& edit : _edits)
        for (EdlLine& line : edit.lines)
        {
            line.event.reel = list.keep(std::move(line.reel));
            list.addEvent(line.event);
            if (line.look)
                list.look() = *line.look;
            for (Note& note : line.notes)
                list.addNote(note.kind, list.keep(std::move(note.text)));
            for (EdlLine::Mark& mark : line.marks)
                list.addMarker({mark.at, mark.colour, list.keep(std::move(mark.text))});
        }
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

std::optional<EdlList> treeToEdl(const DmRoot& root, DM::FrameCodeModes fcm, Report& report)
{
    const std::vector<const DmCompositionNode*> compositions = compositionsOf(root);
    if (compositions.empty())
    {
        report.add(Report::Error, 0, "the document holds no composition");
        return std::nullopt;
    }
    const DmCompositionNode& composition = *compositions.front();
    for (const DmString* const text : {&composition.getStartTcFcm(), &composition.getFCM()})
        if (const DM::FrameCodeModes own = dmFcmFromText(*text); own != DM::FCM_NOT_DEFINED)
            fcm = own;
    if (fcm == DM::FCM_NOT_DEFINED)
    {
        report.add(Report::Error, 0, "the composition names no frame-code mode, and no other was given");
        return std::nullopt;
    }
    ListMaker maker(composition, fcm, report);
    for (std::size_t i = 1; i < compositions.size(); ++i)
        report.lose(furtherComposition);
    return maker.make();
}

} // namespace interchange
