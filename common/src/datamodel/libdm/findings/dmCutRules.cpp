// Rules about the cut: what an assistant editor looks for on the screen.
#include "dmMendImp.h"
#include "dmShownImp.h"

#include "dmSourceInput.h"
#include "dmUtf8.h"

#include <algorithm>
#include <string>
#include <unordered_set>
#include <utility>

namespace
{

using Mending = DmRuleRun::Mending;

/// Whether two shots meet at a cut, and are of one medium at one speed.
bool meet(const DmShotView& a, const DmShotView& b)
{
    return a.medium >= 0 && a.medium == b.medium && a.isSteady() && b.isSteady() && a.mixBehind == 0.0 &&
           b.mixBefore == 0.0 && dmSameTime(a.recOut, b.recIn) && a.played.fcm() == b.played.fcm() &&
           a.played.speed() == b.played.speed();
}

/// Frames of the source that are left out at a cut between two shots that meet there; less than 0: shown twice.
double skipped(const DmShotView& a, const DmShotView& b)
{
    const double skip = dmSourceAt(b, b.recIn) - dmSourceAt(a, a.recOut);
    return a.played.isReverse() ? -skip : skip;
}

bool goesOn(const DmShotView& a, const DmShotView& b)
{
    return meet(a, b) && std::abs(skipped(a, b)) < dmSourceTolerance;
}

bool jumps(const DmShotView& a, const DmShotView& b, double most)
{
    if (!meet(a, b))
        return false;
    const double skip = std::abs(skipped(a, b));
    return skip >= 1.0 - dmSourceTolerance && skip <= most + dmSourceTolerance;
}

/// Whether nothing is done to a shot but a change of its speed.
bool isPlain(const DmShotView& shot)
{
    return shot.effects == 0 || (shot.effects == 1 && shot.isSteady() && shot.played.speed() != 1.0);
}

/// Whether a cut between two shots is there for what is done to them.
bool areTreatedAlike(const DmShotView& a, const DmShotView& b)
{
    return a.isMuted == b.isMuted && isPlain(a) && isPlain(b);
}

/// Whether nothing below a shot is seen: recorded pictures that nothing is done to but a change of speed. Graphics and
/// titles, stills and generated pictures may let through what is below.
bool covers(const DmShotView& shot)
{
    return dmIsPlaying(shot) && shot.isMoving() && shot.source && isPlain(shot);
}

/// Calls `use` with each picture of a composition that plays, and when other tracks lie over it.
template <class Use>
void forEachShown(const DmCutView& cut, const Use& use)
{
    DmIntervals above;
    int track = -1;
    DmIntervals ofTrack; // shots of one track do not cover each other
    for (auto lane = cut.lanes.rbegin(); lane != cut.lanes.rend(); ++lane)
    {
        if (!lane->isPicture)
            continue;
        if (lane->trackIndex != track)
        {
            for (const DmIntervals::Interval& each : ofTrack.all())
                above.add(each.in, each.out);
            above.merge();
            ofTrack = {};
            track = lane->trackIndex;
        }
        for (const DmShotView& shot : lane->shots)
        {
            if (dmIsPlaying(shot))
                use(*lane, shot, above);
            if (covers(shot))
                ofTrack.add(shot.recIn, shot.recOut);
        }
    }
}

/// A stretch of a medium that shows.
struct Shown
{
    const DmLaneView* lane;
    const DmShotView* shot;
    double recordIn;
    double begin; ///< of the source
    double end;
    double offset;
};

/// The two stretches of a medium that reach farthest and show at different distances from record time.
class Farthest
{
public:
    /// The farthest one that shows other frames at the same record times as `other`; null without one.
    const Shown* beside(const Shown& other) const
    {
        for (const Shown* const each : {_first, _second})
            if (each && !isTogether(*each, other))
                return each;
        return nullptr;
    }
    void add(const Shown& shown)
    {
        if (!_first || shown.end > _first->end)
        {
            if (_first && !isTogether(*_first, shown))
                _second = _first;
            _first = &shown;
        }
        else if (!isTogether(*_first, shown) && (!_second || shown.end > _second->end))
            _second = &shown;
    }

private:
    static bool isTogether(const Shown& a, const Shown& b)
    {
        return std::abs(a.offset - b.offset) < dmSourceTolerance && a.shot->played.speed() == b.shot->played.speed();
    }
    const Shown* _first = nullptr;
    const Shown* _second = nullptr;
};

/// Stretches that show and of which there may be others, by medium and source time.
std::vector<Shown> shownOf(const DmCutView& cut)
{
    std::vector<int> uses; // of each medium
    const auto isAsked = [](const DmShotView& shot) { return shot.medium >= 0 && shot.isSteady(); };
    const auto useOf = [&uses](const DmShotView& shot) -> int&
    {
        const auto medium = static_cast<std::size_t>(shot.medium);
        if (medium >= uses.size())
            uses.resize(2 * medium + 1);
        return uses[medium];
    };
    for (const DmLaneView& lane : cut.lanes)
        for (const DmShotView& shot : lane.shots)
            if (lane.isPicture && isAsked(shot))
                ++useOf(shot);
    std::vector<Shown> all;
    forEachShown(cut,
                 [&](const DmLaneView& lane, const DmShotView& shot, const DmIntervals& above)
                 {
                     if (!isAsked(shot) || useOf(shot) < 2)
                         return;
                     for (const DmIntervals::Interval& each : above.beside(shot.seenIn(), shot.seenOut()))
                     {
                         const double a = dmSourceAt(shot, each.in);
                         const double b = dmSourceAt(shot, each.out);
                         all.push_back({&lane, &shot, each.in, std::min(a, b), std::max(a, b), dmOffsetOf(shot)});
                     }
                 });
    std::ranges::stable_sort(all, [](const Shown& a, const Shown& b)
                             { return std::pair(a.shot->medium, a.begin) < std::pair(b.shot->medium, b.begin); });
    return all;
}

/// Joins a shot with the one behind it, and takes the cut between them away: together they play `played` frames. What
/// plays backwards begins at its end, so it is the second that says where the material of both begins.
eDmErrorId join(DmLayerNode& layer, DmSourceNode& first, const DmSourceNode& second, bool isReverse, double played)
{
    for (int i = 0; i + 2 < layer.getNbChildren(); ++i)
    {
        if (layer.getChild(i) != &first || layer.getChild(i + 2) != &second)
            continue;
        const double length = first.getRecLength() + second.getRecLength();
        eDmErrorId status = first.setRecLength(length);
        if (status == DM_NO_ERROR && isReverse)
            status = first.setSrcInput(CoSharedPtr<DmSourceNode::Input>(second.getSrcInput()));
        if (status == DM_NO_ERROR && isReverse)
            status = first.setRelIn(second.getRelIn());
        DmSourceNode::Input* const input = first.getSrcInput();
        const double end = first.getRelIn() + std::max(length, played);
        if (status == DM_NO_ERROR && input && input->getSrcLength() < end)
            status = input->setSrcLength(end);
        const int count = layer.getNbChildren();
        if (status == DM_NO_ERROR && (layer.removeChild(i + 2) != count - 1 || layer.removeChild(i + 1) != count - 2))
            status = DM_CANNOT_LOCK;
        return status;
    }
    return DM_BAD_INDEX;
}

} // namespace

const std::vector<DmRule>& dmCutRules()
{
    static const std::vector<DmRule> rules = {
        {.code = "DM301",
         .name = "flash-frame",
         .line = "shots of which hardly anything is seen",
         .why =
             "A frame or two of a shot is mostly what was left over when another was laid beside it. Counted is "
             "what is seen: the transitions at both ends, and the pieces on both sides of a cut at which the "
             "material goes on; what is seen of a nested composition, its outer one decides. Fewer than 3 frames are "
             "a flash, unless the configuration says another number.",
         .example = "AAAA|B|CCCC       B is seen for 1 frame       found\nAAAA//B//CCCC     B is seen for 5            "
                    " fine",
         .mending =
             "Take it out, or make it longer. No option does it: what is to be seen instead is a matter of taste.",
         .find = dmEachShot(
             [](DmRuleRun& run, const DmCutView& cut, const DmLaneView& lane, const DmShotView& shot)
             {
                 const DmShotView* const before = dmInFrontOf(lane, shot);
                 if (!lane.isPicture || cut.isNested || !dmIsPlaying(shot) || (before && goesOn(*before, shot)))
                     return;
                 const DmShotView* last = &shot;
                 while (last != &lane.shots.back() && goesOn(last[0], last[1]))
                     ++last;
                 const double seen = last->seenOut() - shot.seenIn();
                 if (seen > 0.0 && seen < run.options().flash - dmSourceTolerance)
                     run.add(cut, lane, shot, "It is seen for " + dmLengthText(seen, cut.fcm) + " only");
             })},
        {.code = "DM302",
         .name = "through-edit",
         .severity = DmFinding::Note,
         .line = "cuts at which the material goes on",
         .why = "Nobody sees such a cut, and everybody behind it has to: it makes two shots of one for grading, "
                "effects and sound. Where effects lie on one of the pieces, other than one speed on both, the cut is "
                "there for "
                "them.",
         .example = "A 0 to 50 | A 50 to 90              found\nA 0 to 50 | A 70 to 90              fine",
         .mending = "Join the pieces. `--unsafe-fixes` does it; marks and ids of the second piece are lost.",
         .find = dmEachShot(
             [](DmRuleRun& run, const DmCutView& cut, const DmLaneView& lane, const DmShotView& shot)
             {
                 const DmShotView* const before = dmInFrontOf(lane, shot);
                 if (!before || !goesOn(*before, shot) || !areTreatedAlike(*before, shot))
                     return;
                 const auto added = run.add(cut, lane, shot, "At the cut in front of it the material goes on");
                 if (before->source && shot.source && !before->isCarried && !shot.isCarried)
                     added.mend(Mending::Unsafe, [layer = dmToChange(lane.layer), one = dmToChange(before->source),
                                                  two = dmToChange(shot.source), isReverse = shot.played.isReverse(),
                                                  played = before->played.length() + shot.played.length()]
                                { return join(*layer, *one, *two, isReverse, played); });
             })},
        {.code = "DM303",
         .name = "jump-cut",
         .line = "cuts at which the material skips a few frames",
         .why = "A cut that leaves out some frames of a shot, or shows some twice, looks like a fault of the film: "
                "mostly it was a cut at which the material went on, and one side was trimmed. Up to 12 frames count, "
                "unless the configuration says another number.",
         .example = "A 0 to 50 | A 53 to 90              found\nA 0 to 50 | A 90 to 120             fine",
         .mending = "Trim one side so that the material goes on, or cut away between them. No option does it: either "
                    "side, or the jump, "
                    "may be what is meant.",
         .find = dmEachShot(
             [](DmRuleRun& run, const DmCutView& cut, const DmLaneView& lane, const DmShotView& shot)
             {
                 const DmShotView* const before = dmInFrontOf(lane, shot);
                 if (!lane.isPicture || !before || !jumps(*before, shot, run.options().jump))
                     return;
                 const double skip = skipped(*before, shot);
                 const DM::FrameCodeModes fcm = shot.played.fcm();
                 run.add(cut, lane, shot,
                         skip > 0.0
                             ? "At the cut in front of it the material skips " + dmLengthText(skip, fcm)
                             : "At the cut in front of it " + dmLengthText(-skip, fcm) + " of the material show twice");
             })},
        {.code = "DM304",
         .name = "black",
         .line = "stretches between the first and the last shot in which no picture plays",
         .why = "On the screen that is black. Where it is meant, a generated black says so; where it is not, a shot is "
                "missing. What a nested composition shows there, its outer one decides.",
         .example = "AAAA|----|BBBB                      found\nAAAA|----|BBBB with V2 over it      fine",
         .mending = "Fill it, close it, or put a generated black there. No option does it: nobody but a person knows "
                    "which shot is "
                    "missing.",
         .find = dmEachCut(
             [](DmRuleRun& run, const DmCutView& cut)
             {
                 const DmIntervals picture = dmPlaying(cut, true);
                 if (cut.isNested || picture.isEmpty())
                     return;
                 const auto isPicture = [](const DmLaneView& lane) { return lane.isPicture; };
                 const DmLaneView& lane = *std::ranges::find_if(cut.lanes, isPicture);
                 for (std::size_t i = 1; i < picture.all().size(); ++i)
                 {
                     const double from = picture.all()[i - 1].out;
                     const auto added = run.add(
                         cut, lane, "No picture plays for " + dmLengthText(picture.all()[i].in - from, cut.fcm), from);
                     if (std::ranges::count_if(cut.lanes, isPicture) > 1)
                         added->track = "";
                 }
             })},
        {.code = "DM305",
         .name = "dupe",
         .line = "picture that shows twice",
         .why = "The same frames at two places of a cut catch the eye, and a print or a negative has them once. "
                "Counted is what shows: not what is muted, hidden under another track, a still or generated. The "
                "configuration may ask for frames beside what shows.",
         .example = "A 0 to 50 | B | A 40 to 90          found\nA 0 to 50 | B | A 50 to 90          fine",
         .mending = "Use other frames in one of the places. No option does it: which, a person chooses.",
         .find = dmEachCut(
             [](DmRuleRun& run, const DmCutView& cut)
             {
                 const std::vector<Shown> all = shownOf(cut);
                 std::unordered_set<const DmShotView*> told;
                 Farthest farthest;
                 for (std::size_t i = 0; i < all.size(); ++i)
                 {
                     const Shown& shown = all[i];
                     if (i == 0 || all[i - 1].shot->medium != shown.shot->medium)
                         farthest = {};
                     const Shown* const other = farthest.beside(shown);
                     farthest.add(shown);
                     if (!other || other->shot == shown.shot ||
                         other->end + 2.0 * run.options().dupeHandles <= shown.begin + dmSourceTolerance ||
                         other->shot->played.fcm() != shown.shot->played.fcm())
                         continue;
                     const bool isLater = shown.recordIn >= other->recordIn;
                     const Shown& later = isLater ? shown : *other;
                     const Shown& earlier = isLater ? *other : shown;
                     // A cut that goes back a few frames is another rule's.
                     if ((later.shot == earlier.shot + 1 && jumps(*earlier.shot, *later.shot, run.options().jump)) ||
                         !told.insert(later.shot).second)
                         continue;
                     const DM::FrameCodeModes fcm = shown.shot->played.fcm();
                     const double twice = std::min(shown.end, other->end) - shown.begin;
                     run.add(cut, *later.lane, *later.shot,
                             (twice > 0.0 ? dmLengthText(twice, fcm) + " of it, from " + dmLabelText(shown.begin, fcm) +
                                                " of the source on, show in "
                                          : "It comes nearer than the handles asked for to what shows in ") +
                                 (earlier.shot->name().empty() ? "a shot" : '"' + dmUtf8(earlier.shot->name()) + '"') +
                                 " at " + cut.composition->getRecordLabel(earlier.recordIn) + ", too");
                 }
             })},
        {.code = "DM306",
         .name = "muted-segment",
         .severity = DmFinding::Note,
         .line = "muted segments that were left in",
         .why = "A muted segment plays for nobody, yet it is in the list, is conformed, and comes back when somebody "
                "unmutes the track.",
         .example = "a muted shot                        found\na gap                               fine",
         .mending = "Take it out. `--unsafe-fixes` makes a gap of it.",
         .find = dmEachShot(
             [](DmRuleRun& run, const DmCutView& cut, const DmLaneView& lane, const DmShotView& shot)
             {
                 if (shot.isMuted && !shot.isGap && !shot.isCarried)
                     run.add(cut, lane, shot, "It is muted")
                         .mend(Mending::Unsafe, [layer = dmToChange(lane.layer), segment = dmToChange(shot.segment)]
                               { return dmMakeGap(*layer, *segment); });
             })},
        {.code = "DM307",
         .name = "bypassed-effect",
         .severity = DmFinding::Note,
         .line = "bypassed effects that were left in",
         .why = "Programs that do not know of bypassed effects apply them.",
         .example = "a bypassed resize                   found\na resize                            fine",
         .mending = "Take it away. `--unsafe-fixes` does it.",
         .find = dmEachShot(
             [](DmRuleRun& run, const DmCutView& cut, const DmLaneView& lane, const DmShotView& shot)
             {
                 for (int i = 0; i < shot.effects; ++i)
                 {
                     const DmEffectSettings* const effect = shot.segment->getEffects().at(i);
                     if (!effect || !effect->isMuted())
                         continue;
                     const auto added =
                         run.add(cut, lane, shot, "Its effect \"" + dmUtf8(effect->getName()) + "\" is bypassed");
                     added->nodePath += "/effects[" + std::to_string(i) + ']';
                     added.mend(Mending::Unsafe,
                                [segment = dmToChange(shot.segment), i] { return segment->removeEffect(i); });
                 }
             })},
        {.code = "DM308",
         .name = "hidden-picture",
         .line = "picture that lies wholly under another",
         .why =
             "Nobody sees it, and everybody gets it: it is conformed, graded and paid for. What may let through what "
             "is below (effects, stills, titles, nested compositions) hides nothing.",
         .example = "V2   BBBBBB\nV1    AAAA     wholly under B       found\nV1     AAAAAA  seen behind B        fine",
         .mending = "Take it out, or mute the track that hides it. `--unsafe-fixes` makes a gap of it.",
         .find =
             [](DmRuleRun& run)
         {
             for (const DmCutView& cut : run.cuts())
                 forEachShown(cut,
                              [&](const DmLaneView& lane, const DmShotView& shot, const DmIntervals& above)
                              {
                                  if (above.isEmpty() || !(shot.seenOut() > shot.seenIn()) ||
                                      !above.beside(shot.seenIn(), shot.seenOut()).empty())
                                      return;
                                  run.add(cut, lane, shot, "It lies wholly under picture of another track")
                                      .mend(Mending::Unsafe,
                                            [layer = dmToChange(lane.layer), standing = dmToChange(shot.standing)]
                                            { return dmMakeGap(*layer, *standing); });
                              });
         }},
        {.code = "DM309",
         .name = "empty-track",
         .severity = DmFinding::Note,
         .line = "tracks without anything on them",
         .why = "An empty track is exported, counted, and asked about.",
         .example = "V2 with nothing but gaps            found\nV2 with a title                     fine",
         .mending = "Remove it. `--unsafe-fixes` does it.",
         .find = dmEachCut(
             [](DmRuleRun& run, const DmCutView& cut)
             {
                 std::vector<const DmLaneView*> empty; // the first layer of each such track
                 for (auto lane = cut.lanes.begin(); lane != cut.lanes.end();)
                 {
                     const auto isOther = [&lane](const DmLaneView& each) { return each.track != lane->track; };
                     const auto next = std::find_if(lane, cut.lanes.end(), isOther);
                     const auto isEmpty = [](const DmLaneView& each)
                     { return std::ranges::all_of(each.shots, &DmShotView::isGap); };
                     if (std::all_of(lane, next, isEmpty))
                         empty.push_back(&*lane);
                     lane = next;
                 }
                 if (empty.empty())
                     return;
                 std::string names;
                 std::vector<CoSharedPtr<DmTrackNode>> tracks;
                 for (const DmLaneView* const lane : empty)
                 {
                     names += (names.empty() ? "" : ", ") + lane->name;
                     tracks.push_back(dmToChange(lane->track));
                 }
                 run.add(cut,
                         (empty.size() == 1 ? "There is nothing on the track " : "There is nothing on the tracks ") +
                             names)
                     .mend(Mending::Unsafe,
                           [composition = dmToChange(cut.composition), tracks]
                           {
                               eDmErrorId status = DM_NO_ERROR;
                               for (const CoSharedPtr<DmTrackNode>& track : tracks)
                                   if (status == DM_NO_ERROR)
                                       status = dmRemove(*composition, track.get());
                               return status;
                           });
             })},
    };
    return rules;
}
