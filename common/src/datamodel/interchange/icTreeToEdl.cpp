#include "icTreeToEdl.h"

#include "icEdlKept.h"

#include "dmADissolveSettings.h"
#include "dmATimewarpSettings.h"
#include "dmColourEffects.h"
#include "dmCompositionNode.h"
#include "dmContainerNode.h"
#include "dmGapNode.h"
#include "dmLayerNode.h"
#include "dmSourceInput.h"
#include "dmStoredLabel.h"
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
#include <span>
#include <tuple>
#include <vector>

namespace interchange
{

namespace
{

/// What a list cannot say, and what stands in it instead.
enum Loss : std::uint8_t
{
    LostEffect,
    OtherTransition,
    ChangingSpeed,
    NestedComposition,
    OtherGenerator,
    MutedSegment,
    VideoTrack,
    AudioTrack,
    FurtherLayer,
    FurtherComposition,
    BetweenFrames,
    OtherRate,
    BeforeZero,
    CompositionMark,
    MarkLength,
    MarkColour,
    Overlap,
    LossCount
};

struct LossText
{
    const char* what;
    const char* choice;
};
constexpr std::array<LossText, LossCount> lossTexts{{
    {"effects other than one constant speed and one look", "left out"},
    {"transitions other than dissolves and wipes", "written as dissolves"},
    {"speeds that change", "written at normal speed"},
    {"nested compositions", "written as events of reel AX"},
    {"generated sources other than black and bars", "written as events of reel AX"},
    {"muted segments", "written as if they played"},
    {"further video tracks", "left out"},
    {"audio tracks beyond what channels there are", "left out"},
    {"segments on further layers", "left out"},
    {"further compositions", "left out"},
    {"times between two frames", "moved to the nearest one"},
    {"sources that count in another frame rate", "written with the in-time of the same wall-clock time"},
    {"in-times before zero", "written as zero"},
    {"cue marks of the composition where no event plays", "left out"},
    {"cue marks with a length", "written as points"},
    {"cue marks of a colour that has no name", "written in the nearest one"},
    {"events that begin before the one before them has ended", "written as they are"},
}};

constexpr std::string_view noReel = "AX";
constexpr std::string_view blackReel = "BL";

struct Mark
{
    std::int64_t at;
    std::string_view colour;
    std::string text;
};

/// A line of the list to be.
struct Line
{
    EdlEvent event;
    std::string reel;
    std::vector<EdlKept::Note> notes;
    std::vector<Mark> marks;
    std::optional<EdlLook> look;
};

/// An event, or the two lines of a transition.
struct Edit
{
    std::optional<std::uint32_t> position; ///< in the list that it came from
    bool isKey = false;
    std::vector<Line> lines;

    const EdlEvent& event() const { return lines.back().event; }
};

bool isSame(const Line& a, const Line& b)
{
    const auto fields = [](const Line& line)
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
        const Line& line = from.lines[i];
        if ((channels.video & more.video) != 0 || (channels.audio & more.audio) != 0 || !line.marks.empty() ||
            (line.look && line.look != into.lines[i].look) ||
            (!into.position && line.event.speed != into.lines[i].event.speed))
            return false;
    }
    for (std::size_t i = 0; i < into.lines.size(); ++i)
    {
        into.lines[i].event.channels.video |= from.lines[i].event.channels.video;
        into.lines[i].event.channels.audio |= from.lines[i].event.channels.audio;
    }
    return true;
}

std::string clipName(const DmTreeNode& node)
{
    return node.getName() == L"untitled" ? std::string() : dmUtf8(node.getName());
}

class ListMaker
{
public:
    ListMaker(const DmCompositionNode& composition, DM::FrameCodeModes fcm)
        : _composition(composition)
        , _fcm(fcm)
    {
    }

    EdlList make();
    void lose(Loss loss) { ++_losses[loss]; }
    void tell(Report& report) const;

private:
    // Tracks

    void chooseTracks();
    void addTrack(const DmTrackNode& track, EdlChannels channel);
    void addLayer(const DmLayerNode& layer, EdlChannels channel, bool isFirst);
    std::optional<int> freeChannel(const DmTrackNode& track);

    // Lines

    void addEdit(const DmTreeNode& element, const DmTrxEffectNode* mix, const DmTreeNode* previous,
                 EdlChannels channel);
    Line line(const DmTreeNode& element, const DmTrxEffectNode* mix, EdlChannels channel);
    Line outgoingLine(const DmTrxEffectNode& mix, const DmTreeNode* previous, EdlChannels channel);
    void setTransition(Line& line, const DmTrxEffectNode& mix, const EdlKept* kept);
    void setMaterial(Line& line, const DmSourceNode& source, double mixLength, const EdlKept* kept);
    std::string reel(const DmSourceNode::Input* input, const EdlKept* kept);
    /// Where an input's material starts, in the list's mode or its source mode.
    double materialStart(const DmSourceNode::Input* input, bool& drop);
    /// The speed; 1 without an effect.
    double setEffects(Line& line, const DmSegmentNode& segment, const EdlKept* kept);
    void setNotes(Line& line, const DmSourceNode& source, const EdlKept* kept, bool isMix);
    void addMark(Line& line, const DmCueMark& mark, double origin);
    void addCompositionMarks();

    // The whole

    bool keepsOrder() const;
    void settleOrder();
    EdlList written();

    std::int64_t frames(double time);

    const DmCompositionNode& _composition;
    DM::FrameCodeModes _fcm;
    double _offset = 0; ///< from the record times of nodes to those of the list
    std::uint64_t _usedAudio = 0;
    std::vector<Edit> _edits;
    std::size_t _pictures = 0; ///< how many of the edits are the primary track's
    std::array<std::size_t, LossCount> _losses{};
};

std::int64_t ListMaker::frames(double time)
{
    constexpr double limit = 1e12;
    constexpr double tolerance = 1e-5;
    const double nearest = std::round(std::isfinite(time) ? std::clamp(time, -limit, limit) : 0.0);
    if (!(std::abs(nearest - time) <= tolerance))
        lose(BetweenFrames);
    return static_cast<std::int64_t>(nearest);
}

EdlList ListMaker::make()
{
    // Record times count from the start time code, or from zero.
    double earliest = dmNoTime;
    for (int i = 0; i < _composition.getNbChildren(); ++i)
        if (const DmTreeNode* const track = _composition.getChild(i))
            for (int j = 0; j < track->getNbChildren(); ++j)
                if (const auto* const layer = dynamic_cast<const DmLayerNode*>(track->getChild(j)))
                    earliest = std::min(earliest, layer->getLayerStartTC());
    _offset = earliest < _composition.getStartTC() ? _composition.getStartTC() : 0.0;

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
        if (other->getMediaType() != DM_MEDIA_AUDIO)
        {
            if (isChannel(other->getTrackChannel()) && isOfList(*other))
                addTrack(*other, {bit(other->getTrackChannel()), 0});
            else
                lose(VideoTrack);
        }
        else if (const std::optional<int> channel = freeChannel(*other))
            addTrack(*other, {0, bit(*channel)});
        else
            lose(AudioTrack);
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
        const DmTreeNode* element = layer.getChild(i);
        if (!element)
            continue;
        if (element->isTransition())
        {
            mix = dynamic_cast<const DmTrxEffectNode*>(element);
            continue;
        }
        if (element->whatIs() == DM_GAP_NODE)
            if (const auto* const source = dynamic_cast<const DmSourceNode*>(element->getBaseBlob()))
                element = source;
        const std::optional<EdlKept> kept = isFirst ? std::nullopt : EdlKept::of(*element);
        const bool isKey = kept && kept->transition != EdlTransition::Cut;
        const bool isPlain = element->whatIs() == DM_GAP_NODE;
        if (!isFirst && !isKey)
        {
            if (!isPlain)
                lose(FurtherLayer);
        }
        else if (!isPlain || mix)
        {
            addEdit(*element, mix, previous, channel);
            Edit& edit = _edits.back();
            edit.isKey = isKey;
            if (edit.event().record.in < end)
                lose(Overlap);
            end = edit.event().record.out;
        }
        previous = element;
        mix = nullptr;
    }
}

void ListMaker::addEdit(const DmTreeNode& element, const DmTrxEffectNode* mix, const DmTreeNode* previous,
                        EdlChannels channel)
{
    Edit edit;
    const std::optional<EdlKept> kept = EdlKept::of(element);
    const auto* const attached = mix ? dynamic_cast<const DmSourceNode*>(mix->getBaseBlob()) : nullptr;
    if (kept)
        edit.position = kept->position;
    if (attached)
    {
        edit.lines.push_back(line(*attached, nullptr, channel));
        if (const std::optional<EdlKept> first = EdlKept::of(*attached))
            edit.position = first->position;
    }
    else if (mix && !edit.position)
        edit.lines.push_back(outgoingLine(*mix, previous, channel));

    Line incoming = line(element, mix, channel);
    if (mix)
    {
        setTransition(incoming, *mix, kept ? &*kept : nullptr);
        const std::string from = attached ? clipName(*attached) : previous ? clipName(*previous) : std::string();
        const auto note = std::ranges::find(incoming.notes, EdlNoteKind::FromClipName, &EdlKept::Note::kind);
        const bool hasTo = std::ranges::count(incoming.notes, EdlNoteKind::ToClipName, &EdlKept::Note::kind) != 0;
        if (!kept && !from.empty())
            incoming.notes.insert(incoming.notes.begin(), {EdlNoteKind::FromClipName, from});
        else if (kept && attached && hasTo && note != incoming.notes.end() && !from.empty())
            note->text = from;
    }
    edit.lines.push_back(std::move(incoming));
    _edits.push_back(std::move(edit));
}

Line ListMaker::outgoingLine(const DmTrxEffectNode& mix, const DmTreeNode* previous, EdlChannels channel)
{
    Line line;
    line.event.channels = channel;
    line.event.record.in = line.event.record.out = frames(_offset + mix.getRecIn());
    line.event.sourceDrop = DM::FcmUtil::isDropFrame(_fcm);
    line.reel = previous && previous->whatIs() != DM_GAP_NODE ? noReel : blackReel;
    if (const auto* const source = dynamic_cast<const DmSourceNode*>(previous))
    {
        line.reel = reel(source->getSrcInput(), nullptr);
        const double start = materialStart(source->getSrcInput(), line.event.sourceDrop);
        line.event.source.in = frames(start + source->getRelIn() + source->getRecLength());
        line.event.source.out = line.event.source.in;
    }
    return line;
}

Line ListMaker::line(const DmTreeNode& element, const DmTrxEffectNode* mix, EdlChannels channel)
{
    const double mixLength = mix ? mix->getRecLength() : 0.0;
    const auto& segment = static_cast<const DmSegmentNode&>(element);
    const std::optional<EdlKept> found = EdlKept::of(element);
    const EdlKept* const kept = found ? &*found : nullptr;
    Line line;
    line.event.channels = channel;
    line.event.sourceDrop = DM::FcmUtil::isDropFrame(_fcm);
    line.event.record.in = frames(_offset + segment.getRecIn() - mixLength);
    line.event.record.out = frames(_offset + segment.getRecOut());
    line.event.source.out = line.event.record.length();
    if (kept)
    {
        line.event.number = kept->number;
        line.event.transition = kept->transition;
        line.event.wipePattern = kept->wipePattern;
        line.event.transitionLength = kept->transitionLength;
    }
    if (segment.getMuted())
        lose(MutedSegment);
    if (element.whatIs() == DM_GAP_NODE)
    {
        line.reel = blackReel;
        return line;
    }
    if (const auto* const source = dynamic_cast<const DmSourceNode*>(&element))
    {
        setMaterial(line, *source, mixLength, kept);
        setNotes(line, *source, kept, mix || line.event.isTransition());
    }
    else
    {
        lose(NestedComposition);
        line.reel = noReel;
        if (const std::string name = clipName(element); !name.empty())
            line.notes.push_back({mix ? EdlNoteKind::ToClipName : EdlNoteKind::FromClipName, name});
        setEffects(line, segment, nullptr);
    }
    for (const DmPropertySetPtr& mark : segment.getSegmentMarks())
        if (mark)
            addMark(line, static_cast<const DmCueMark&>(*mark), segment.getRecIn() - segment.getRelIn());
    return line;
}

void ListMaker::setTransition(Line& line, const DmTrxEffectNode& mix, const EdlKept* kept)
{
    EdlEvent& event = line.event;
    const DmEffectSettings* const effect = mix.getEffect();
    event.transitionLength = static_cast<std::uint32_t>(
        std::clamp<std::int64_t>(frames(mix.getRecLength()), 0, std::max<std::int64_t>(0, event.record.length())));
    event.transition = EdlTransition::Dissolve;
    event.wipePattern = 0;
    if (const auto* const wipe = dynamic_cast<const DmWipeSettings*>(effect))
    {
        event.transition = EdlTransition::Wipe;
        event.wipePattern = static_cast<std::uint16_t>(std::clamp(wipe->getSmptePattern(), 0, 999));
    }
    else if (dynamic_cast<const DmADissolveSettings*>(effect))
    {
        if (kept && kept->transition == EdlTransition::Wipe)
        {
            event.transition = EdlTransition::Wipe;
            event.wipePattern = kept->wipePattern;
        }
    }
    else if (!dynamic_cast<const DmVDissolveSettings*>(effect))
        lose(OtherTransition);
}

std::string ListMaker::reel(const DmSourceNode::Input* input, const EdlKept* kept)
{
    if (const auto* const generated = dynamic_cast<const DmSourceNode::GeneratedInput*>(input))
    {
        const DmString& type = generated->getInputType();
        const bool isBlack = type == L"INPUT_BLACK" || type == L"INPUT_SILENCE";
        const bool isBars = type == L"INPUT_SMPTE_BARS" || type == L"INPUT_PAL_BARS" || type == L"INPUT_TONE";
        if (!isBlack && !isBars)
            lose(OtherGenerator);
        const EdlReelKind kind = isBlack ? EdlReelKind::Black : isBars ? EdlReelKind::Bars : EdlReelKind::Tape;
        if (kept && !kept->reel.empty() && edlReelKind(kept->reel) == kind)
            return kept->reel;
        return std::string(isBlack ? blackReel : isBars ? "BARS" : noReel);
    }
    const DmSourceInfo* const info = input ? input->getSrcInfo() : nullptr;
    const auto* const derived = dynamic_cast<const DmSourceNode::DerivedInput*>(input);
    const auto* const relinked = dynamic_cast<const DmSourceNode::RelinkedInput*>(input);
    const DmString* const names[] = {derived ? &derived->getReelName() : nullptr,
                                     relinked ? &relinked->getReelName() : nullptr,
                                     info ? &info->getReelName() : nullptr};
    for (const DmString* const name : names)
        if (name && !name->empty())
            return dmUtf8(*name);
    return std::string(noReel);
}

double ListMaker::materialStart(const DmSourceNode::Input* input, bool& drop)
{
    double start = 0;
    if (const auto* const media = dynamic_cast<const DmSourceNode::MediaInput*>(input))
        start = media->getSrcIn() > 0 ? media->getSrcIn() : media->getTapeSrcIn();
    else if (const auto* const derived = dynamic_cast<const DmSourceNode::DerivedInput*>(input))
        start = derived->getSrcIn();
    const DM::FrameCodeModes mode = input ? dmFcmFromText(input->getFcm()) : DM::FCM_NOT_DEFINED;
    if (mode == DM::FCM_NOT_DEFINED)
        return start;
    drop = DM::FcmUtil::isDropFrame(mode);
    if (DM::FcmUtil::toNonDrop(mode) == DM::FcmUtil::toNonDrop(_fcm))
        return start;
    lose(OtherRate);
    DM::TimeUnit time(start);
    drop = DM::FcmUtil::isDropFrame(_fcm);
    DM::TimeUnit(start).getEquivTime(time, mode, _fcm);
    return std::round(time.getFrames());
}

void ListMaker::setMaterial(Line& line, const DmSourceNode& source, double mixLength, const EdlKept* kept)
{
    EdlEvent& event = line.event;
    const DmSourceNode::Input* const input = source.getSrcInput();
    line.reel = reel(input, kept);
    double in = materialStart(input, event.sourceDrop);
    const bool isStill = input && input->getSrcLength() <= 1.0 && source.getRelIn() == 0.0;
    if (!isStill)
        in += source.getRelIn() - mixLength;
    if (in < 0)
        lose(BeforeZero);
    event.source.in = std::max<std::int64_t>(0, frames(in));

    const double speed = setEffects(line, source, kept);
    const bool isGenerated = dynamic_cast<const DmSourceNode::GeneratedInput*>(input) != nullptr;
    if (kept && kept->recordLength == event.record.length() && (isGenerated || kept->source.in == event.source.in))
        event.source = kept->source;
    else
    {
        if (isGenerated && kept && kept->recordLength >= 0)
            event.source.in = kept->source.in;
        const double length = static_cast<double>(event.record.length()) * std::abs(speed);
        event.source.out = event.source.in + (speed == 0 ? 1 : static_cast<std::int64_t>(std::round(length)));
    }
    if (event.speed)
        event.speed->at =
            kept && kept->speed && *event.speed == EdlSpeed{kept->speed->fps, 0} ? kept->speed->at : event.source.in;
}

double ListMaker::setEffects(Line& line, const DmSegmentNode& segment, const EdlKept* kept)
{
    std::optional<double> speed;
    bool isOfSound = false;
    for (const DmPropertySetPtr& effect : segment.getEffects())
    {
        const auto* const warp = dynamic_cast<const DmTimewarpSettings*>(effect.get());
        const auto* const soundWarp = dynamic_cast<const DmATimewarpSettings*>(effect.get());
        const auto* const look = dynamic_cast<const DmLookSettings*>(effect.get());
        if (warp && !warp->isConstantSpeed())
            lose(ChangingSpeed);
        else if (warp && !speed)
            speed = warp->getSpeed();
        else if (soundWarp && !speed && soundWarp->getRatio() > 0)
        {
            speed = 1.0 / static_cast<double>(soundWarp->getRatio());
            isOfSound = true;
        }
        else if (look && !line.look)
        {
            const DmString& from = look->getComment();
            line.look = EdlLook{{look->getSlopeR(), look->getSlopeG(), look->getSlopeB()},
                                {look->getOffsetR(), look->getOffsetG(), look->getOffsetB()},
                                {look->getPowerR(), look->getPowerG(), look->getPowerB()},
                                look->getSaturation(),
                                true,
                                true};
            const EdlLook none;
            line.look->hasSaturation = !(from == L"ASC_SOP") || line.look->saturation != none.saturation;
            line.look->hasSop = !(from == L"ASC_SAT") || line.look->slope != none.slope ||
                                line.look->offset != none.offset || line.look->power != none.power;
        }
        else if (effect)
            lose(LostEffect);
    }
    const std::optional<EdlSpeed> before = kept ? kept->speed : std::nullopt;
    const double rate =
        DM::FcmUtil::getDoubleFPS(line.event.sourceDrop ? DM::FcmUtil::toDrop(_fcm) : DM::FcmUtil::toNonDrop(_fcm));
    // The list's own figure, as long as the effect still is what was made of it.
    const auto isAsBefore = [&]
    {
        if (!before)
            return false;
        if (segment.getMediaType() == DM_MEDIA_AUDIO && before->fps <= 0)
            return !speed;
        return speed && (isOfSound ? 1.0 / static_cast<double>(static_cast<float>(rate / before->fps)) == *speed
                                   : before->fps / rate == *speed);
    };
    if (isAsBefore())
        line.event.speed = EdlSpeed{before->fps, 0};
    else if (speed && std::isfinite(*speed) && (*speed != 1.0 || before))
    {
        constexpr double places = 1e6;
        line.event.speed = EdlSpeed{std::round(*speed * rate * places) / places, 0};
    }
    return line.event.speed ? line.event.speed->fps / rate : 1.0;
}

void ListMaker::setNotes(Line& line, const DmSourceNode& source, const EdlKept* kept, bool isMix)
{
    if (kept)
        line.notes = kept->notes;
    const DmSourceInfo* const info = source.getSrcInput() ? source.getSrcInput()->getSrcInfo() : nullptr;
    const bool hasTo = isMix && (!kept || kept->find(EdlNoteKind::ToClipName));
    const std::pair<EdlNoteKind, std::string> values[] = {
        {hasTo ? EdlNoteKind::ToClipName : EdlNoteKind::FromClipName, clipName(source)},
        {EdlNoteKind::SourceFile, info ? dmUtf8(info->getName()) : std::string()},
        {EdlNoteKind::SourcePath, info ? dmUtf8(info->getPath()) : std::string()},
    };
    for (const auto& [kind, value] : values)
    {
        const auto note = std::ranges::find(line.notes, kind, &EdlKept::Note::kind);
        if (value.empty())
            continue;
        if (note != line.notes.end())
            note->text = value;
        else
            line.notes.push_back({kind, value});
    }
}

void ListMaker::addMark(Line& line, const DmCueMark& mark, double origin)
{
    const double time = mark.getCueMarkTime();
    if (time == dmNoTime)
        return lose(CompositionMark);
    const std::array<int, 3> colour{mark.getCueMarkColorRed(), mark.getCueMarkColorGreen(), mark.getCueMarkColorBlue()};
    const auto distance = [&colour](const EdlColour& named)
    {
        const auto square = [](double difference) { return difference * difference; };
        return square(colour[0] - named.red) + square(colour[1] - named.green) + square(colour[2] - named.blue);
    };
    const EdlColour& nearest = *std::ranges::min_element(edlColours(), {}, distance);
    Mark marker{frames(_offset + origin + time), nearest.name, dmUtf8(mark.getCueMarkName())};
    const std::string comment = dmUtf8(mark.getCueMarkComment());
    if (distance(nearest) != 0)
        lose(MarkColour);
    const bool isUncoloured = colour == std::array<int, 3>{} && comment != nearest.name;
    if (isUncoloured)
        marker.colour = {};
    if (!comment.empty() && comment != nearest.name)
        marker.text += (marker.text.empty() ? "" : " ") + comment;
    if (mark.getCueMarkDuration() != 0)
        lose(MarkLength);
    line.marks.push_back(std::move(marker));
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
        const auto behind = std::ranges::upper_bound(
            pictures, time, {}, [](const Edit& edit) { return static_cast<double>(edit.event().record.in); });
        if (behind == pictures.begin() || mark.getCueMarkTime() == dmNoTime ||
            time >= static_cast<double>(std::prev(behind)->event().record.out))
            lose(CompositionMark);
        else
            addMark(std::prev(behind)->lines.back(), mark, 0.0);
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
        for (Line& line : edit.lines)
            line.event.number = number;
    }
}

EdlList ListMaker::written()
{
    EdlList list;
    list.title = list.keep(dmUtf8(_composition.getName()));
    list.fcm = _fcm;
    if (const std::optional<EdlKept> head = EdlKept::of(_composition))
        for (const EdlKept::Note& note : head->notes)
            list.addNote(note.kind, list.keep(note.text));
    for (Edit& edit : _edits)
        for (Line& line : edit.lines)
        {
            line.event.reel = list.keep(std::move(line.reel));
            list.addEvent(line.event);
            if (line.look)
                list.look() = *line.look;
            for (EdlKept::Note& note : line.notes)
                list.addNote(note.kind, list.keep(std::move(note.text)));
            for (Mark& mark : line.marks)
                list.addMarker({mark.at, mark.colour, list.keep(std::move(mark.text))});
        }
    return list;
}

void ListMaker::tell(Report& report) const
{
    for (std::size_t i = 0; i < _losses.size(); ++i)
        if (_losses[i] != 0)
            report.add(Report::Warning, 0,
                       lossTexts[i].what + (" (" + std::to_string(_losses[i])) + "): " + lossTexts[i].choice);
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
    ListMaker maker(composition, fcm);
    for (std::size_t i = 1; i < compositions.size(); ++i)
        maker.lose(FurtherComposition);
    EdlList list = maker.make();
    maker.tell(report);
    return list;
}

} // namespace interchange
