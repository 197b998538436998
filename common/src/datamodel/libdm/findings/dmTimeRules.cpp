// Rules about times: whether there is material for what plays, and whether labels say what can be said.
#include "dmMendImp.h"
#include "dmRulesImp.h"

#include "dmSourceInput.h"
#include "dmStoredLabel.h"
#include "dmUtf8.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace
{

using Mending = DmRuleRun::Mending;

/// What many sums lead to agrees to within this much of a frame.
constexpr double sourceTolerance = 1e-3;

std::string sourceLabel(const DmShotView& shot, double position)
{
    return dmLabelText(shot.sourceTime(position), shot.played.fcm());
}

/// What a speed was rounded by is no fault.
double toleranceOf(const DmShotView& shot)
{
    const bool isNormal = std::abs(shot.played.speed()) == 1.0 && shot.played.rate() == 1.0;
    return isNormal || !shot.isSteady() ? sourceTolerance : 1.0 - sourceTolerance;
}

/// Frames of the material that there are beside what plays: in front of it and behind it.
struct Handles
{
    double before; ///< of the position
    double behind;
};

Handles handlesOf(const DmShotView& shot)
{
    return {shot.played.begin(), shot.material.length - shot.played.end()};
}

/// What the transitions beside a shot play of those, the speed counted.
Handles usedHandles(const DmShotView& shot)
{
    const double scale = std::abs(shot.played.speed()) * shot.played.rate();
    const bool turned = shot.played.isReverse();
    return {(turned ? shot.mixBehind : shot.mixBefore) * scale, (turned ? shot.mixBefore : shot.mixBehind) * scale};
}

/// Whether a shot is limited by a file of its own.
bool hasLimitedFile(const DmShotView& shot)
{
    return shot.media && shot.isSteady() && shot.material.isLimited();
}

/// To the nearest frames.
eDmErrorId roundTimes(DmSegmentNode& segment, bool withMaterial)
{
    const double in = std::round(segment.getRecIn());
    const double out = std::round(segment.getRecOut());
    eDmErrorId status = segment.setRecIn(in);
    if (status == DM_NO_ERROR)
        status = segment.setRecLength(std::max(1.0, out - in));
    return status == DM_NO_ERROR && withMaterial ? segment.setRelIn(std::round(segment.getRelIn())) : status;
}

bool isBetween(double time)
{
    return std::isfinite(time) && std::abs(time - std::round(time)) > sourceTolerance;
}

/// "12.5".
std::string placeText(double time)
{
    std::string text = std::to_string(time);
    text.erase(text.find_last_not_of('0') + 1);
    return text;
}

bool isNormal(const DmShotView& shot)
{
    return shot.source && shot.isSteady() && shot.played.speed() == 1.0 && shot.played.rate() == 1.0;
}

/// The shot on the other side of a transition.
const DmShotView* besideMix(const DmLaneView& lane, const DmShotView& shot, bool inFront)
{
    const std::ptrdiff_t at = &shot - lane.shots.data() + (inFront ? -1 : 1);
    return at >= 0 && at < std::ssize(lane.shots) ? &lane.shots[static_cast<std::size_t>(at)] : nullptr;
}

/// Takes frames from the begin of a transition, which the shot in front then plays alone, or from its end.
eDmErrorId shorten(DmTransitionNode& mix, DmSourceNode& other, bool atBegin, double frames)
{
    const double earlier = atBegin ? 0.0 : frames;
    eDmErrorId status = other.setRecLength(other.getRecLength() + frames);
    if (status == DM_NO_ERROR)
        status = other.setRecIn(other.getRecIn() - earlier);
    if (status == DM_NO_ERROR)
        status = dmPlayFrom(other, other.getRelIn() - earlier);
    const double in = mix.getRecIn() + frames - earlier;
    return status == DM_NO_ERROR ? dmPlace(mix, in, mix.getRecLength() - frames) : status;
}

} // namespace

bool dmPlaysBeyond(const DmShotView& shot)
{
    return shot.isMoving() && shot.material.isLimited() && shot.played.end() > shot.material.length + toleranceOf(shot);
}

const std::vector<DmRule>& dmTimeRules()
{
    static const std::vector<DmRule> rules = {
        {.code = "DM201",
         .name = "beyond-material",
         .severity = DmFinding::Error,
         .line = "shots that play more than there is",
         .why = "Frames before the first or behind the last of a file cannot be played: one program repeats the last, "
                "another shows black, a third refuses the cut. Speeds are counted; material whose length nobody knows "
                "is passed over.",
         .example = "50 frames from 80 on, of a file of 100   found\n50 frames from 50 on, of a file of 100   fine",
         .mending = "Trim the shot, slip it, or relink it to a longer file. `--unsafe-fixes` trims it; `--repair` is "
                    "that by its old name.",
         .find = dmEachShot(
             [](DmRuleRun& run, const DmCutView& cut, const DmLaneView& lane, const DmShotView& shot)
             {
                 if (shot.isGap || shot.isCarried || !shot.isMoving())
                     return;
                 const DM::FrameCodeModes fcm = shot.played.fcm();
                 const DmSourceNode* const source = shot.source;
                 const auto repair = [source](const DmRuleRun::Added& added)
                 {
                     if (source)
                         added.mend(Mending::Unsafe, [node = dmToChange(source)] { return node->repairTimes(); });
                 };
                 if (shot.played.begin() < -sourceTolerance)
                     repair(run.add(cut, lane, shot,
                                    "It begins " + dmLengthText(-shot.played.begin(), fcm) + " before its material"));
                 else if (source && shot.input && shot.input->getSrcLength() < 0.0)
                     repair(run.add(cut, lane, shot, "Its source says that it is shorter than nothing"));
                 else if (dmPlaysBeyond(shot))
                     repair(run.add(cut, lane, shot,
                                    "It plays to " + sourceLabel(shot, shot.played.end()) + " of its source, " +
                                        dmLengthText(shot.played.end() - shot.material.length, fcm) +
                                        " beyond the material's end at " + sourceLabel(shot, shot.material.length)));
             })},
        {.code = "DM202",
         .name = "beyond-file",
         .line = "shots that play beyond the numbered frames of their files",
         .why = "A source that is a sequence of files says which numbers it has. What lies beyond them is not on disk.",
         .example = "120 frames of files 1001 to 1100    found\n100 frames of files 1001 to 1100    fine",
         .mending = "Trim the shot, or relink it to the longer sequence. No option does it: as often the numbers are "
                    "what is wrong.",
         .find = dmEachShot(
             [](DmRuleRun& run, const DmCutView& cut, const DmLaneView& lane, const DmShotView& shot)
             {
                 const DmSourceNode::MediaInput* const media = shot.media;
                 const DmSourceInfo* const info = media ? media->getSrcInfo() : nullptr;
                 if (!info || !shot.isMoving() || info->getFileSeqEnd() <= info->getFileSeqBegin())
                     return;
                 const double files = static_cast<double>(info->getFileSeqEnd()) - info->getFileSeqBegin() + 1.0;
                 if (!dmPlaysBeyond(shot) && shot.played.end() > files + toleranceOf(shot))
                     run.add(cut, lane, shot,
                             "It plays " + dmLengthText(shot.played.end() - files, shot.played.fcm()) +
                                 " beyond file number " + std::to_string(info->getFileSeqEnd()) + ", the last");
             })},
        {.code = "DM203",
         .name = "no-such-label",
         .line = "labels that their frame-code mode does not have",
         .why = "A drop-frame mode leaves out two labels in most minutes, and no mode has frame 25 at 25 fps. What "
                "stands at such a label nobody can say: programs take zero, or the next one.",
         .example = "01:01:00:00 at 29.97 fps DF         found\n01:01:00:02 at 29.97 fps DF         fine",
         .mending = "Find out which label, or which mode, was meant: no option can.",
         .find =
             [](DmRuleRun& run)
         {
             static constexpr auto isWrong = [](const DmString& text, const DmString& fcm)
             {
                 if (text.empty())
                     return false;
                 const DmStoredLabel label(text, fcm);
                 return label.fcm() != DM::FCM_NOT_DEFINED && !label.isValid();
             };
             for (const DmCutView& cut : run.cuts())
             {
                 const DmCompositionNode& composition = *cut.composition;
                 if (isWrong(composition.getStartTCStr(), composition.getStartTcFcm()))
                     run.add(cut, "There is no start label \"" + dmUtf8(composition.getStartTCStr()) + "\" at " +
                                      dmUtf8(composition.getStartTcFcm()));
             }
             run.eachShot(
                 [](DmRuleRun& each, const DmCutView& cut, const DmLaneView& lane, const DmShotView& shot)
                 {
                     const DmSourceNode::MediaInput* const media = shot.media;
                     if (media && isWrong(media->getSrcInStr(), media->getSrcInFcm()))
                         each.add(cut, lane, shot,
                                  "There is no source label \"" + dmUtf8(media->getSrcInStr()) + "\" at " +
                                      dmUtf8(media->getSrcInFcm()));
                 });
         }},
        {.code = "DM204",
         .name = "between-frames",
         .line = "picture that begins or ends between two frames",
         .why = "Picture is cut at frames. A time between two of them is rounded, by each program in its own way, and "
                "a frame is lost or shown twice. Sound may be cut anywhere.",
         .example = "a shot of 12.5 frames               found\na shot of 12 frames, sound of 12.5  fine",
         .mending = "Move the seam to a frame. `--unsafe-fixes` moves it to the nearest.",
         .find = dmEachShot(
             [](DmRuleRun& run, const DmCutView& cut, const DmLaneView& lane, const DmShotView& shot)
             {
                 if (!lane.isPicture || shot.isGap || shot.isCarried)
                     return;
                 const bool hasPlainSource = isNormal(shot);
                 std::string text;
                 if (isBetween(shot.recIn))
                     text = "It begins between two frames, at " + placeText(shot.recIn);
                 else if (isBetween(shot.recOut))
                     text = "It ends between two frames, at " + placeText(shot.recOut);
                 else if (hasPlainSource && isBetween(shot.played.begin()))
                     text = "It plays from between two frames of its source, from " + placeText(shot.played.begin());
                 else
                     return;
                 run.add(cut, lane, shot, std::move(text))
                     .mend(Mending::Unsafe, [segment = dmToChange(shot.segment), hasPlainSource]
                           { return roundTimes(*segment, hasPlainSource); });
             })},
        {.code = "DM205",
         .name = "short-handles",
         .line = "shots with less material beside them than was asked for",
         .why = "Who grades, mixes or adds effects needs frames before and behind what plays. Asked for with "
                "`--handles N`, in frames of the source, beyond what transitions use. Stills, what is generated or "
                "nested, and files that are used whole have none to give; material of unknown length is passed over.",
         .example = "`--handles 12`: 5 frames in front    found\n`--handles 12`: 12 frames on each side  fine",
         .mending = "Ask for a longer piece of the file, or make do. No option makes frames.",
         .find = dmEachShot(
             [](DmRuleRun& run, const DmCutView& cut, const DmLaneView& lane, const DmShotView& shot)
             {
                 if (!run.options().handles || !hasLimitedFile(shot))
                     return;
                 const double wanted = *run.options().handles;
                 const Handles have = handlesOf(shot);
                 const Handles used = usedHandles(shot);
                 const double before = have.before - used.before;
                 const double behind = have.behind - used.behind;
                 const bool isWhole = before <= sourceTolerance && behind <= sourceTolerance;
                 const auto frames = [&](double length)
                 { return dmLengthText(std::max(0.0, length), shot.played.fcm()); };
                 std::string text;
                 if (!isWhole && before < wanted - sourceTolerance)
                     text = "It has " + frames(before) + " in front";
                 if (!isWhole && behind < wanted - sourceTolerance)
                     text += (text.empty() ? "It has " : " and ") + frames(behind) + " behind";
                 if (!text.empty())
                     run.add(cut, lane, shot,
                             text + ", and " + dmLengthText(wanted, DM::FCM_NOT_DEFINED) + " are asked for");
             })},
        {.code = "DM206",
         .name = "no-handles",
         .severity = DmFinding::Error,
         .line = "transitions into material that is not there",
         .why = "A transition plays both shots all along: it needs frames behind the one that goes and before the one "
                "that comes. Where the material is known to end, there is nothing to mix with.",
         .example =
             "a dissolve of 10 frames, 4 behind the shot   found\na dissolve of 10 frames, 10 behind it        fine",
         .mending = "Shorten the transition, or move it: `dmtree edit` does both. `--unsafe-fixes` shortens it by the "
                    "frames that are "
                    "missing, between shots at normal speed.",
         .find = dmEachShot(
             [](DmRuleRun& run, const DmCutView& cut, const DmLaneView& lane, const DmShotView& shot)
             {
                 if (!hasLimitedFile(shot) || (shot.mixBefore == 0.0 && shot.mixBehind == 0.0))
                     return;
                 const Handles have = handlesOf(shot);
                 // What plays beyond the material by itself is another rule's.
                 if (have.before < -sourceTolerance || have.behind < -toleranceOf(shot))
                     return;
                 const Handles used = usedHandles(shot);
                 const double before = used.before - have.before;
                 const double behind = used.behind - have.behind;
                 const auto add = [&](double missing, bool isSourceFront)
                 {
                     const bool isRecordFront = isSourceFront != shot.played.isReverse();
                     if (!(missing > toleranceOf(shot)))
                         return;
                     const auto added =
                         run.add(cut, lane, shot,
                                 std::string("The transition ") + (isRecordFront ? "into it" : "out of it") +
                                     " plays " + dmLengthText(missing, shot.played.fcm()) +
                                     (isSourceFront ? " before its material begins" : " behind its material's end"));
                     const DmShotView* const other = besideMix(lane, shot, isRecordFront);
                     const double frames = std::ceil(missing - sourceTolerance);
                     if (other && isNormal(shot) && isNormal(*other) && !shot.isCarried && !other->isCarried &&
                         (isRecordFront ? shot.mixBefore : shot.mixBehind) >= frames + 1.0)
                         added.mend(Mending::Unsafe,
                                    [mix = dmToChange(lane.at(shot.position + (isRecordFront ? -1 : 1)).transition),
                                     source = dmToChange(other->source), isRecordFront, frames]
                                    { return shorten(*mix, *source, isRecordFront, frames); });
                 };
                 add(before, true);
                 add(behind, false);
             })},
        {.code = "DM207",
         .name = "dissolve-jumps",
         .line = "transitions that do not leave what played",
         .why = "A list says of a transition what it comes from. Where that is another clip or another frame than what "
                "played until then, the picture jumps at the transition's begin: mostly the sign of a list that was "
                "edited by hand.",
         .example = "A plays to 06:12, the dissolve leaves A at 06:00   found\nA plays to 06:12, the dissolve leaves A "
                    "at 06:12   "
                    "fine",
         .mending = "Find out which frame was meant: no option can.",
         .find = dmEachShot(
             [](DmRuleRun& run, const DmCutView& cut, const DmLaneView& lane, const DmShotView& shot)
             {
                 const DmTransitionNode* const mix = lane.at(shot.position + 1).transition;
                 const auto* const leaves = mix ? dynamic_cast<const DmSourceNode*>(mix->getBaseBlob()) : nullptr;
                 if (!leaves || mix->whatIs() != DM_TRX_EFFECT_NODE || !shot.isSteady())
                     return;
                 const DmPlayed played(*leaves, cut.fcm);
                 const DmMaterial material = dmMaterialOf(*leaves, cut.fcm);
                 const std::optional<double> from = played.positionAt(leaves->getRecIn());
                 const std::optional<double> until = shot.played.positionAt(shot.recOut);
                 const DmSourceNames leftNames(*leaves);
                 const DmSourceNames names(*shot.segment);
                 const bool isOther = !leftNames.reel.empty() && !names.reel.empty() && leftNames.reel != names.reel;
                 if (!from || !until || played.fcm() != shot.played.fcm())
                     return;
                 const double left = material.begin + *from;
                 const double end = shot.sourceTime(*until);
                 if (!isOther && std::abs(left - end) < 1.0 - sourceTolerance)
                     return;
                 const std::string at = dmLabelText(left, played.fcm());
                 run.add(cut, lane, shot.position + 1,
                         isOther ? "It leaves reel \"" + dmUtf8(leftNames.reel) + "\" at " + at +
                                       ", and what played is of reel \"" + dmUtf8(names.reel) + '"'
                                 : "It leaves the source at " + at + ", and what played ends at " +
                                       dmLabelText(end, shot.played.fcm()))
                     ->clip = dmUtf8(shot.name());
             })},
        {.code = "DM208",
         .name = "keys-outside",
         .severity = DmFinding::Note,
         .line = "changing channels of which no key frame lies inside the segment",
         .why = "What changes between keys that all lie before or behind the segment moves only in part, or not at "
                "all: mostly keys that stayed where they were when the shot was trimmed.",
         .example = "a shot of 50 frames, keys at 60 and 80   found\na shot of 50 frames, keys at 0 and 80    fine",
         .mending = "Move the keys with the shot, or take the effect away. No option does it: nobody but a person "
                    "knows which.",
         .find = dmEachShot(
             [](DmRuleRun& run, const DmCutView& cut, const DmLaneView& lane, const DmShotView& shot)
             {
                 const DmSetList<DmEffectSettings>& effects = shot.segment->getEffects();
                 for (int i = 0; i < effects.count(); ++i)
                 {
                     const DmEffectSettings* const effect = effects.at(i);
                     if (!effect || effect->isMuted() || shot.isCarried)
                         continue;
                     DmStringArray names;
                     effect->getChannelNames(names);
                     for (unsigned n = 0; n < names.size(); ++n)
                     {
                         const CoSharedPtr<DmAnimationChannel> channel = effect->getExistingChannelByName(names[n]);
                         const int count = channel ? channel->getNbKeyFrames() : 0;
                         bool isInside = false;
                         bool changes = false;
                         for (int k = 0; k < count && !isInside; ++k)
                         {
                             const CoSharedPtr<DmKeyFrame> key = channel->getKeyFrame(k);
                             const double frame = key ? static_cast<double>(key->getFrame()) : 0.0;
                             isInside = isInside || (key && frame >= -shot.mixBefore - 0.5 &&
                                                     frame <= shot.recLength() + shot.mixBehind + 0.5);
                             changes = changes || (key && channel->getKeyFrame(0) &&
                                                   key->getValue() != channel->getKeyFrame(0)->getValue());
                         }
                         if (changes && !isInside)
                             run.add(cut, lane, shot,
                                     "No key of the channel \"" + dmUtf8(names[n]) + "\" of its effect \"" +
                                         dmUtf8(effect->getName()) + "\" lies inside")
                                 ->nodePath += "/effects[" + std::to_string(i) + ']';
                     }
                 }
             })},
    };
    return rules;
}
