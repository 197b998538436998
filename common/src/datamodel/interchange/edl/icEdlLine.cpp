#include "icEdlLine.h"

#include "icLook.h"
#include "icText.h"

#include "dmADissolveSettings.h"
#include "dmATimewarpSettings.h"
#include "dmStoredLabel.h"
#include "dmTimewarpSettings.h"
#include "dmUtf8.h"
#include "dmVDissolveSettings.h"
#include "dmWipeSettings.h"

#include "tuTimeUnit.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <utility>

namespace interchange
{

namespace
{

constexpr Loss lostEffect{"DM711", "left out"};
constexpr Loss otherTransition{"DM712", "written as dissolves"};
constexpr Loss changingSpeed{"DM713", "written at normal speed"};
constexpr Loss nestedComposition{"DM714", "written as events of reel AX"};
constexpr Loss otherGenerator{"DM715", "written as events of reel AX"};
constexpr Loss mutedSegment{"DM716", "written as if they played"};
constexpr Loss betweenFrames{"DM717", "moved to the nearest one"};
constexpr Loss otherRate{"DM718", "written with the in-time of the same wall-clock time"};
constexpr Loss beforeZero{"DM719", "written as zero"};
constexpr Loss markLength{"DM720", "written as points"};
constexpr Loss markColour{"DM721", "written in the nearest one"};
constexpr Loss timelessMark{"DM722", "left out"};

constexpr std::string_view noReel = "AX";
constexpr std::string_view blackReel = "BL";

/// Of the one channel that there is.
int channelNumber(EdlChannels channel)
{
    const std::uint64_t bits = channel.video | channel.audio;
    return bits == 0 ? 0 : 1 + std::countr_zero(bits);
}

/// What is empty leaves the note of the kind that there may be.
void setNote(EdlLine& line, NoteKind kind, const std::string& text)
{
    const auto note = std::ranges::find(line.notes, kind, &Note::kind);
    if (text.empty())
        return;
    if (note != line.notes.end())
        note->text = text;
    else
        line.notes.push_back({kind, text});
}

} // namespace

std::string clipName(const DmTreeNode& node)
{
    return node.getName() == L"untitled" ? std::string() : dmUtf8(node.getName());
}

std::int64_t EdlLineMaker::frames(double time)
{
    constexpr double limit = 1e12;
    constexpr double tolerance = 1e-5;
    const double nearest = std::round(std::isfinite(time) ? std::clamp(time, -limit, limit) : 0.0);
    if (!(std::abs(nearest - time) <= tolerance))
        _report.lose(betweenFrames);
    return static_cast<std::int64_t>(nearest);
}

EdlLine EdlLineMaker::outgoingLine(const DmTrxEffectNode& mix, const DmTreeNode* previous, EdlChannels channel)
{
    EdlLine line;
    line.event.channels = channel;
    line.event.record.in = line.event.record.out = frames(_offset + mix.getRecIn());
    line.event.sourceDrop = DM::FcmUtil::isDropFrame(_fcm);
    line.notes = notesOf(mix);
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

EdlLine EdlLineMaker::line(const DmSegmentNode& segment, const DmTrxEffectNode* mix, EdlChannels channel)
{
    const double mixLength = mix ? mix->getRecLength() : 0.0;
    const std::optional<EdlKept> found = EdlKept::of(segment);
    const EdlKept* const kept = found ? &*found : nullptr;
    EdlLine line;
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
    if (mix)
        setTransition(line, *mix, kept);
    _report.at(
        {&segment, segment.getMediaType(), channelNumber(channel), _offset + segment.getRecIn() - mixLength, _fcm, {}});
    if (segment.getMuted())
        _report.lose(mutedSegment);
    if (segment.whatIs() == DM_GAP_NODE)
    {
        line.reel = blackReel;
        return line;
    }
    if (const auto* const source = dynamic_cast<const DmSourceNode*>(&segment))
    {
        setMaterial(line, *source, mixLength, kept);
        setNotes(line, *source, kept, line.event.isTransition());
    }
    else
    {
        _report.lose(nestedComposition);
        line.reel = noReel;
        line.notes = notesOf(segment);
        setNote(line, mix ? NoteKind::ToClipName : NoteKind::FromClipName, clipName(segment));
        setEffects(line, segment, nullptr);
    }
    for (const DmPropertySetPtr& mark : segment.getSegmentMarks())
        if (mark)
            addMark(line, static_cast<const DmCueMark&>(*mark), segment.getRecIn() - segment.getRelIn());
    return line;
}

void EdlLineMaker::setTransition(EdlLine& line, const DmTrxEffectNode& mix, const EdlKept* kept)
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
        _report.lose(otherTransition);
}

std::string EdlLineMaker::reel(const DmSourceNode::Input* input, const EdlKept* kept)
{
    if (const auto* const generated = dynamic_cast<const DmSourceNode::GeneratedInput*>(input))
    {
        const DmString& type = generated->getInputType();
        const bool isBlack = type == L"INPUT_BLACK" || type == L"INPUT_SILENCE";
        const bool isBars = type == L"INPUT_SMPTE_BARS" || type == L"INPUT_PAL_BARS" || type == L"INPUT_TONE";
        if (!isBlack && !isBars)
            _report.lose(otherGenerator);
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

double EdlLineMaker::materialStart(const DmSourceNode::Input* input, bool& drop)
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
    _report.lose(otherRate);
    DM::TimeUnit time(start);
    drop = DM::FcmUtil::isDropFrame(_fcm);
    DM::TimeUnit(start).getEquivTime(time, mode, _fcm);
    return std::round(time.getFrames());
}

void EdlLineMaker::setMaterial(EdlLine& line, const DmSourceNode& source, double mixLength, const EdlKept* kept)
{
    EdlEvent& event = line.event;
    const DmSourceNode::Input* const input = source.getSrcInput();
    line.reel = reel(input, kept);
    double in = materialStart(input, event.sourceDrop);
    const bool isStill = input && input->getSrcLength() <= 1.0 && source.getRelIn() == 0.0;
    if (!isStill)
        in += source.getRelIn() - mixLength;
    if (in < 0)
        _report.lose(beforeZero);
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
    {
        const bool isAsBefore = kept && kept->speed && kept->speed->fps == event.speed->fps;
        event.speed->at = isAsBefore && kept->source.in == event.source.in ? kept->speed->at : event.source.in;
    }
}

double EdlLineMaker::setEffects(EdlLine& line, const DmSegmentNode& segment, const EdlKept* kept)
{
    std::optional<double> speed;
    bool isOfSound = false;
    for (const DmPropertySetPtr& effect : segment.getEffects())
    {
        const auto* const warp = dynamic_cast<const DmTimewarpSettings*>(effect.get());
        const auto* const soundWarp = dynamic_cast<const DmATimewarpSettings*>(effect.get());
        const auto* const look = dynamic_cast<const DmLookSettings*>(effect.get());
        if (warp && !warp->isConstantSpeed())
            _report.lose(changingSpeed);
        else if (warp && !speed)
            speed = warp->getSpeed();
        else if (soundWarp && !speed && soundWarp->getRatio() > 0)
        {
            speed = 1.0 / static_cast<double>(soundWarp->getRatio());
            isOfSound = true;
        }
        else if (look && !line.look)
            line.look = toLook(*look);
        else if (effect)
            _report.lose(lostEffect);
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

void EdlLineMaker::setNotes(EdlLine& line, const DmSourceNode& source, const EdlKept* kept, bool isMix)
{
    line.notes = kept ? kept->notes : std::vector<Note>();
    const DmSourceInfo* const info = source.getSrcInput() ? source.getSrcInput()->getSrcInfo() : nullptr;
    const bool hasTo = isMix && (!kept || kept->find(NoteKind::ToClipName));
    const std::pair<NoteKind, std::string> values[] = {
        {hasTo ? NoteKind::ToClipName : NoteKind::FromClipName, clipName(source)},
        {NoteKind::SourceFile, info ? dmUtf8(info->getName()) : std::string()},
        {NoteKind::SourcePath, info ? dmUtf8(info->getPath()) : std::string()},
    };
    for (const auto& [kind, value] : values)
        setNote(line, kind, value);
}

void EdlLineMaker::addMark(EdlLine& line, const DmCueMark& mark, double origin)
{
    const double time = mark.getCueMarkTime();
    if (time == dmNoTime)
        return _report.lose(timelessMark);
    const std::array<int, 3> colour{mark.getCueMarkColorRed(), mark.getCueMarkColorGreen(), mark.getCueMarkColorBlue()};
    const auto distance = [&colour](const NamedColour& named)
    {
        const auto square = [](double difference) { return difference * difference; };
        return square(colour[0] - named.red) + square(colour[1] - named.green) + square(colour[2] - named.blue);
    };
    const NamedColour& nearest = *std::ranges::min_element(namedColours(), {}, distance);
    EdlLine::Mark marker{frames(_offset + origin + time), nearest.name, dmUtf8(mark.getCueMarkName())};
    const std::string comment = dmUtf8(mark.getCueMarkComment());
    if (distance(nearest) != 0)
        _report.lose(markColour);
    const bool isUncoloured = colour == std::array<int, 3>{} && comment != nearest.name;
    if (isUncoloured)
        marker.colour = {};
    if (!comment.empty() && comment != nearest.name)
        marker.text += (marker.text.empty() ? "" : " ") + comment;
    if (mark.getCueMarkDuration() != 0)
        _report.lose(markLength);
    line.marks.push_back(std::move(marker));
}

} // namespace interchange
