#include "icEdlLine.h"

#include "icEdlGrammar.h"
#include "icLook.h"
#include "icText.h"

#include "dmADissolveSettings.h"
#include "dmATimewarpSettings.h"
#include "dmMaterial.h"
#include "dmPlayed.h"
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
constexpr Loss otherBars{"DM715", "written as those of the list's mode"};
constexpr Loss mutedSegment{"DM716", "written as if they played"};
constexpr Loss betweenFrames{"DM717", "moved to the nearest one"};
constexpr Loss otherRate{"DM718", "written with the in-time of the same wall-clock time"};
constexpr Loss beforeZero{"DM719", "written as those of the day before"};
constexpr Loss markLength{"DM720", "written as points"};
constexpr Loss markColour{"DM721", "written in the nearest one"};
constexpr Loss markComment{"DM737", "cueMarkComment: written behind the mark's name"};
constexpr Loss timelessMark{"DM722", "left out"};
constexpr Loss otherAlignment{"DM742", "the cut of a list is where they begin"};
constexpr Loss controls{"DM733", "control characters are written as blanks"};

constexpr std::string_view noReel = "AX";
constexpr std::string_view blackReel = "BL";

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

/// Whether a note says what of a look it would; true of one about something else.
bool saysLook(const Note& note, const std::optional<Look>& look)
{
    if (note.kind == NoteKind::Saturation)
        return look && look->hasSaturation && toNumber<double>(trimmed(note.text)) == look->saturation;
    if (note.kind != NoteKind::SlopeOffsetPower)
        return true;
    const std::optional<std::array<double, 9>> said = parseSlopeOffsetPower(note.text);
    return said && look && look->hasSop && std::equal(said->begin(), said->begin() + 3, look->slope.begin()) &&
           std::equal(said->begin() + 3, said->begin() + 6, look->offset.begin()) &&
           std::equal(said->begin() + 6, said->end(), look->power.begin());
}

constexpr double markTolerance = 1e-5; ///< of frames

/// Whether a note says all of a mark.
bool saysMark(const Note& note, const DmCueMark& mark)
{
    const std::optional<EdlNoteMark> said = isFree(note.kind) ? parseNoteMark(note.text) : std::nullopt;
    const NamedColour colour = said && said->colour ? *said->colour : NamedColour{};
    return said && said->name == dmUtf8(mark.getCueMarkName()) && said->comment == dmUtf8(mark.getCueMarkComment()) &&
           static_cast<double>(said->length) == mark.getCueMarkDuration() && colour.red == mark.getCueMarkColorRed() &&
           colour.green == mark.getCueMarkColorGreen() && colour.blue == mark.getCueMarkColorBlue();
}

} // namespace

double recordTimeOfMark(const DmSegmentNode& segment, DM::FrameCodeModes fcm, double time)
{
    const DmPlayed played(segment, fcm);
    const bool isConstant = played.motion() == DmPlayed::Motion::Constant;
    return isConstant ? played.recordTimeOf(time).value_or(time) : segment.getRecIn() - segment.getRelIn() + time;
}

double timeOfMark(const DmSegmentNode& segment, DM::FrameCodeModes fcm, double recordTime)
{
    const DmPlayed played(segment, fcm);
    // Backwards, the frame that stands there is the one in front of the point.
    const bool isConstant = played.motion() == DmPlayed::Motion::Constant;
    return isConstant ? played.positionAt(recordTime).value_or(0.0) - (played.isReverse() ? 1.0 : 0.0)
                      : recordTime - (segment.getRecIn() - segment.getRelIn());
}

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
        const std::optional<EdlKept> kept = EdlKept::of(*source);
        line.reel = reel(source->getSrcInput(), kept ? &*kept : nullptr);
        const Range range = rangeOf(*source, line.event.sourceDrop);
        line.event.source.in = std::llround(range.speed > 0 ? range.out : range.in);
        line.event.source.out = line.event.source.in;
        setSpeed(line, range.speed, kept ? &*kept : nullptr);
        if (line.event.speed)
            line.event.speed->at = line.event.source.in;
    }
    clean(line);
    return line;
}

EdlLine EdlLineMaker::line(const DmSegmentNode& segment, const Part& part)
{
    const DmTrxEffectNode* const mix = part.mix;
    const EdlKept* const kept = part.kept;
    const double mixLength = mix ? mix->getRecLength() : 0.0;
    EdlLine line;
    line.event.channels = part.channel;
    line.event.sourceDrop = DM::FcmUtil::isDropFrame(_fcm);
    line.event.record.in = frames(_offset + segment.getRecIn() - mixLength);
    line.event.record.out = frames(_offset + part.recOut);
    line.event.source.out = line.event.record.length();
    if (kept)
    {
        line.event.number = kept->number;
        line.event.numberWidth = kept->numberWidth;
        line.numberTail = kept->numberTail;
        line.labels = kept->labels;
        line.event.fcmLine = kept->fcmLine;
        line.spelling = kept->spelling;
        if (kept->transition != EdlTransition::Wipe)
        {
            line.event.transition = kept->transition;
            line.event.keyFades = kept->keyFades;
            line.event.transitionLength = kept->transitionLength;
        }
    }
    if (mix)
        setTransition(line, *mix, kept);
    if (segment.getMuted())
        _report.lose(mutedSegment);
    if (segment.whatIs() == DM_GAP_NODE)
    {
        line.reel = blackReel;
        return line;
    }
    setEffects(line, segment);
    setMaterial(line, segment, part);
    if (const auto* const source = dynamic_cast<const DmSourceNode*>(&segment))
    {
        setNotes(line, *source, kept, line.event.isTransition());
    }
    else
    {
        _report.lose(nestedComposition);
        line.notes = notesOf(segment);
        setNote(line, mix ? NoteKind::ToClipName : NoteKind::FromClipName, clipName(segment));
    }
    addMarks(line, segment);
    std::erase_if(line.notes, [&line](const Note& note) { return !saysLook(note, line.look); });
    clean(line);
    return line;
}

void EdlLineMaker::clean(EdlLine& line)
{
    bool hadControls = blankControls(line.reel);
    for (Note& note : line.notes)
        hadControls |= blankControls(note.text);
    for (EdlLine::Mark& mark : line.marks)
        hadControls |= blankControls(mark.text);
    if (hadControls)
        _report.lose(controls);
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
        return _report.lose(otherTransition);
    _unsaidOfMixes.report(mix, _report);
    const eDmFocusAlignment alignment = effect->getFocusAlignment();
    if (mix.getRelIn() != 0 || (alignment != DM_FOCUS_START && alignment != DM_FOCUS_UNDEFINED))
        _report.lose(otherAlignment);
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
        if (type == (_fcm == DM::FCM_25 ? L"INPUT_SMPTE_BARS" : L"INPUT_PAL_BARS"))
            _report.lose(otherBars);
        const EdlReelKind kind = isBlack ? EdlReelKind::Black : isBars ? EdlReelKind::Bars : EdlReelKind::Tape;
        if (kept && !kept->reel.empty() && edlReelKind(kept->reel) == kind && kind != EdlReelKind::Tape)
            return kept->reel;
        return std::string(isBlack ? blackReel : isBars ? "BARS" : noReel);
    }
    std::string text = input ? dmUtf8(dmReelOf(*input)) : "";
    if (text.empty())
        return std::string(noReel);
    if (kept && !kept->reel.empty() && text == (kept->longReel.empty() ? kept->reel : kept->longReel))
        _reels.know(text, kept->reel);
    else if (kept && kept->position && EdlReels::isPlain(text))
        _reels.know(text, text);
    return text;
}

double EdlLineMaker::materialStart(const DmSourceNode::Input* input, bool& drop)
{
    double start = 0;
    if (const auto* const media = dynamic_cast<const DmSourceNode::MediaInput*>(input))
        start = media->getSrcIn() != 0 ? media->getSrcIn() : media->getTapeSrcIn();
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

EdlLineMaker::Range EdlLineMaker::rangeOf(const DmSegmentNode& segment, bool& drop)
{
    const auto* const source = dynamic_cast<const DmSourceNode*>(&segment);
    const double start = source ? materialStart(source->getSrcInput(), drop) : 0.0;
    const DmPlayed played(segment, _fcm);
    switch (played.motion())
    {
    case DmPlayed::Motion::Constant:
    case DmPlayed::Motion::Freeze:
        return {start + played.begin() / played.rate(), start + played.end() / played.rate(), played.speed()};
    default:
        return {start + segment.getRelIn(), start + segment.getRelIn() + segment.getRecLength(), 1.0};
    }
}

void EdlLineMaker::setMaterial(EdlLine& line, const DmSegmentNode& segment, const Part& part)
{
    EdlEvent& event = line.event;
    const EdlKept* const kept = part.kept;
    const auto* const source = dynamic_cast<const DmSourceNode*>(&segment);
    const DmSourceNode::Input* const input = source ? source->getSrcInput() : nullptr;
    line.reel = reel(input, kept);
    Range range = rangeOf(segment, event.sourceDrop);
    // In front of the segment plays what its transition has of it, and of its end what nobody covers.
    const double mixed = part.mix ? part.mix->getRecLength() : 0.0;
    const double covered = segment.getRecOut() - part.recOut;
    const bool isReverse = range.speed < 0;
    range.in += isReverse ? -covered * range.speed : -mixed * range.speed;
    range.out += isReverse ? -mixed * range.speed : -covered * range.speed;

    setSpeed(line, range.speed, kept);
    event.source.in = frames(range.in);
    const bool isGenerated = dynamic_cast<const DmSourceNode::GeneratedInput*>(input) != nullptr;
    if (isGenerated && kept && kept->recordLength >= 0)
        event.source.in = kept->source.in;
    else if (range.in < 0)
        _report.lose(beforeZero);
    const bool isFreeze = range.speed == 0;
    event.source.out = range.speed == 1.0 ? event.source.in + event.record.length()
                       : isFreeze         ? event.source.in + 1
                                  : std::max(event.source.in, static_cast<std::int64_t>(std::llround(range.out)));
    const bool isAsBefore = kept && kept->recordLength == event.record.length() && kept->source.in == event.source.in;
    const bool isSpeedAsBefore = !event.speed || (kept && kept->speed && kept->speed->fps == event.speed->fps);
    if (isAsBefore && isSpeedAsBefore && event.speed.has_value() == kept->speed.has_value())
        event.source = kept->source;
    else
        makeClear(line, range.speed);
    if (event.speed)
        event.speed->at = kept && kept->speed && isSpeedAsBefore && kept->source.in == event.source.in
                              ? kept->speed->at
                              : event.source.in;

    const DmSourceInfo* const info = input ? input->getSrcInfo() : nullptr;
    line.medium = info && !info->getPath().empty() ? dmUtf8(info->getPath()) : line.reel + '\n' + clipName(segment);
}

void EdlLineMaker::setSpeed(EdlLine& line, double speed, const EdlKept* kept) const
{
    const double rate = DM::FcmUtil::getDoubleFPS(_fcm);
    // The list's own figure, as long as the speed still is what was made of it.
    constexpr double tolerance = 1e-8; // of percents with six places
    if (kept && kept->speed && std::abs(kept->plays.value_or(kept->speed->fps / rate) - speed) <= tolerance)
    {
        line.event.speed = EdlSpeed{kept->speed->fps, 0};
        line.event.speedHasNoTime = kept->speedHasNoTime;
        line.event.speedHasNoReel = kept->speedHasNoReel;
        line.speedReel = kept->speedReel;
        line.speedSpelling = kept->speedSpelling;
    }
    else if (std::isfinite(speed) && std::abs(speed - 1.0) > tolerance)
    {
        constexpr double places = 1e6;
        line.event.speed = EdlSpeed{std::round(speed * rate * places) / places, 0};
    }
}

/// Where the lengths of the event have the figure taken for one in nominal frames, it is written as such.
void EdlLineMaker::makeClear(EdlLine& line, double speed) const
{
    constexpr double tolerance = 1e-6;
    const auto isRead = [&](const EdlEvent& event) { return std::abs(edlSpeedOf(event, _fcm) - speed) <= tolerance; };
    if (!line.event.speed || speed == 0.0 || edlSpeedOf(line.event, _fcm) * speed <= 0 || isRead(line.event))
        return;
    // One that stands as others write a speed says so by its last place.
    const double exact = DM::FcmUtil::getDoubleFPS(_fcm);
    constexpr double places = 1e6;
    for (const double fps : {speed * exact, speed * DM::FcmUtil::getIntFPS(_fcm), speed * exact + 1 / places})
    {
        EdlEvent other = line.event;
        other.speed->fps = std::round(fps * places) / places;
        if (isRead(other))
        {
            line.event.speed = other.speed;
            return;
        }
    }
}

void EdlLineMaker::setEffects(EdlLine& line, const DmSegmentNode& segment)
{
    bool hasSpeed = false;
    for (const DmPropertySetPtr& effect : segment.getEffects())
    {
        const auto* const settings = dynamic_cast<const DmEffectSettings*>(effect.get());
        const auto* const warp = dynamic_cast<const DmTimewarpSettings*>(effect.get());
        const auto* const look = dynamic_cast<const DmLookSettings*>(effect.get());
        const bool isSpeed = !hasSpeed && settings && !settings->isMuted() &&
                             (warp || dynamic_cast<const DmATimewarpSettings*>(effect.get()));
        hasSpeed = hasSpeed || isSpeed;
        if (isSpeed && warp && !warp->isConstantSpeed())
            _report.lose(changingSpeed);
        else if (look && !line.look)
            line.look = toLook(*look);
        else if (effect && !isSpeed)
            _report.lose(lostEffect);
    }
}

void EdlLineMaker::setNotes(EdlLine& line, const DmSourceNode& source, const EdlKept* kept, bool isMix)
{
    line.notes = kept ? kept->notes : std::vector<Note>();
    std::vector<Note>& notes = line.notes;
    const std::string name = clipName(source);
    const auto to = std::ranges::find(notes, NoteKind::ToClipName, &Note::kind);
    const auto from = std::ranges::find(notes, NoteKind::FromClipName, &Note::kind);
    // Its transition has gone, and with it the clip that it came from.
    if (!isMix && to != notes.end() && from != notes.end() && to->text == name && from->text != name)
        std::erase_if(notes, [](const Note& note)
                      { return note.kind == NoteKind::ToClipName || note.kind == NoteKind::EffectName; });
    const bool hasTo = isMix && (!kept || kept->find(NoteKind::ToClipName));
    EdlKept now;
    now.notes = notes;
    now.speed = line.event.speed;
    const bool isNamed = (clipNote(notes, isMix) && clipNameOf(now, {}, isMix) == name) ||
                         (kept && !kept->madeName.empty() && kept->madeName == name);
    line.madeName = kept && name == kept->madeName ? name : std::string();
    if (!isNamed)
        setNote(line, hasTo ? NoteKind::ToClipName : NoteKind::FromClipName, name);
    const DmSourceInfo* const info = source.getSrcInput() ? source.getSrcInput()->getSrcInfo() : nullptr;
    const auto set = [&](const Note* (*of)(const std::vector<Note>&), NoteKind kind, const std::string& value)
    {
        const Note* const note = of(notes);
        if (note && !value.empty())
            notes[static_cast<std::size_t>(note - notes.data())].text = value;
        else
            setNote(line, kind, value);
    };
    if (!info)
        return;
    set(fileNote, NoteKind::SourceFile, dmUtf8(info->getName()));
    set(pathNote, NoteKind::SourcePath, dmUtf8(info->getPath()));
}

void EdlLineMaker::addMarks(EdlLine& line, const DmSegmentNode& segment)
{
    std::vector<std::size_t> saying; // of the notes
    for (const DmPropertySetPtr& set : segment.getSegmentMarks())
    {
        if (!set)
            continue;
        const auto& mark = static_cast<const DmCueMark&>(*set);
        const double time = recordTimeOfMark(segment, _fcm, mark.getCueMarkTime());
        const bool isAtBegin = std::abs(_offset + time - line.event.record.in) < markTolerance;
        std::size_t note = isAtBegin ? 0 : line.notes.size();
        while (note < line.notes.size() &&
               (!saysMark(line.notes[note], mark) || std::ranges::find(saying, note) != saying.end()))
            ++note;
        if (note < line.notes.size())
            saying.push_back(note);
        else
            addMark(line, mark, time);
    }
    // Of a mark that has gone, or is another one now.
    for (std::size_t i = line.notes.size(); i-- > 0;)
        if (isFree(line.notes[i].kind) && parseNoteMark(line.notes[i].text) &&
            std::ranges::find(saying, i) == saying.end())
            line.notes.erase(line.notes.begin() + static_cast<std::ptrdiff_t>(i));
}

void EdlLineMaker::addMark(EdlLine& line, const DmCueMark& mark, double recordTime)
{
    if (mark.getCueMarkTime() == dmNoTime)
        return _report.lose(timelessMark);
    const std::array<int, 3> colour{mark.getCueMarkColorRed(), mark.getCueMarkColorGreen(), mark.getCueMarkColorBlue()};
    const auto distance = [&colour](const NamedColour& named)
    {
        const auto square = [](double difference) { return difference * difference; };
        return square(colour[0] - named.red) + square(colour[1] - named.green) + square(colour[2] - named.blue);
    };
    const NamedColour& nearest = *std::ranges::min_element(namedColours(), {}, distance);
    EdlLine::Mark marker{frames(_offset + recordTime), nearest.name, dmUtf8(mark.getCueMarkName())};
    const std::string comment = dmUtf8(mark.getCueMarkComment());
    if (distance(nearest) != 0)
        _report.lose(markColour);
    const bool isUncoloured = colour == std::array<int, 3>{} && comment != nearest.name;
    if (isUncoloured)
        marker.colour = {};
    if (!comment.empty() && comment != nearest.name)
    {
        marker.text += (marker.text.empty() ? "" : " ") + comment;
        _report.lose(markComment);
    }
    if (mark.getCueMarkDuration() != 0)
        _report.lose(markLength);
    line.marks.push_back(std::move(marker));
}

} // namespace interchange
