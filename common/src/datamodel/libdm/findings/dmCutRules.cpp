// Rules about the cut: what an assistant editor looks for on the screen.
#include "dmRulesImp.h"

#include "dmElementImp.h"
#include "dmGapNode.h"
#include "dmSourceInput.h"
#include "dmUtf8.h"

#include "tuLabel.h"

#include <algorithm>
#include <cctype>
#include <limits>
#include <map>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace
{

using Mending = DmRuleRun::Mending;

/// Sources agree to within this much of a frame.
constexpr double sourceTolerance = 1e-3;

/// Record times in order, none of which touch.
class Intervals
{
public:
    struct Interval
    {
        double in;
        double out;
    };

    void add(double in, double out)
    {
        if (out > in)
            _all.push_back({in, out});
    }
    /// Puts what was added in order, and together.
    void merge()
    {
        std::ranges::sort(_all, {}, &Interval::in);
        std::size_t last = 0;
        for (std::size_t i = 1; i < _all.size(); ++i)
            if (_all[i].in <= _all[last].out + dmTimeTolerance)
                _all[last].out = std::max(_all[last].out, _all[i].out);
            else
                _all[++last] = _all[i];
        if (!_all.empty())
            _all.resize(last + 1);
    }
    const std::vector<Interval>& all() const { return _all; }
    bool isEmpty() const { return _all.empty(); }

    /// What of [in, out) none of these covers.
    std::vector<Interval> beside(double in, double out) const
    {
        std::vector<Interval> left;
        auto next = std::ranges::upper_bound(_all, in, {}, &Interval::out);
        for (; in < out - dmTimeTolerance; ++next)
        {
            const double until = next == _all.end() ? out : std::min(next->in, out);
            if (until > in + dmTimeTolerance)
                left.push_back({in, until});
            if (next == _all.end())
                break;
            in = std::max(in, next->out);
        }
        return left;
    }

private:
    std::vector<Interval> _all;
};

bool isPlaying(const DmShotView& shot)
{
    return !shot.isGap && !shot.segment->getMuted();
}

/// When any shot of a composition's picture, or sound, plays.
Intervals playing(const DmCutView& cut, bool isPicture)
{
    Intervals all;
    for (const DmLaneView& lane : cut.lanes)
        for (const DmShotView& shot : lane.shots)
            if (lane.isPicture == isPicture && isPlaying(shot))
                all.add(shot.seenIn(), shot.seenOut());
    all.merge();
    return all;
}

/// Where the source of a shot stands at a record time, as a label time of its medium.
double sourceAt(const DmShotView& shot, double recordTime)
{
    return shot.sourceTime(shot.played.positionAt(recordTime).value_or(0.0));
}

/// How far the source of a shot is in front of record time.
double offsetOf(const DmShotView& shot)
{
    return sourceAt(shot, shot.recIn) - shot.recIn;
}

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
    const double skip = sourceAt(b, b.recIn) - sourceAt(a, a.recOut);
    return a.played.isReverse() ? -skip : skip;
}

bool goesOn(const DmShotView& a, const DmShotView& b)
{
    return meet(a, b) && std::abs(skipped(a, b)) < sourceTolerance;
}

bool jumps(const DmShotView& a, const DmShotView& b, double most)
{
    if (!meet(a, b))
        return false;
    const double skip = std::abs(skipped(a, b));
    return skip >= 1.0 - sourceTolerance && skip <= most + sourceTolerance;
}

/// Whether a cut between two shots is there for what is done to them.
bool areTreatedAlike(const DmShotView& a, const DmShotView& b)
{
    return a.segment->getMuted() == b.segment->getMuted() && a.segment->getEffects().count() == 0 &&
           b.segment->getEffects().count() == 0;
}

/// Whether nothing below a shot is seen: recorded pictures that nothing is done to but a change of speed. Graphics and
/// titles, stills and generated pictures may let through what is below.
bool covers(const DmShotView& shot)
{
    if (!isPlaying(shot) || !shot.isMoving() || shot.segment->whatIs() != DM_SOURCE_NODE)
        return false;
    const int effects = shot.segment->getEffects().count();
    return effects == 0 || (effects == 1 && shot.isSteady() && shot.played.speed() != 1.0);
}

/// Calls `use` with each picture of a composition that plays, and when it shows: nothing of another track lies over it
/// then.
template <class Use>
void forEachShown(const DmCutView& cut, const Use& use)
{
    Intervals above;
    int track = -1;
    Intervals ofTrack; // shots of one track do not cover each other
    for (auto lane = cut.lanes.rbegin(); lane != cut.lanes.rend(); ++lane)
    {
        if (!lane->isPicture)
            continue;
        if (lane->trackIndex != track)
        {
            for (const Intervals::Interval& each : ofTrack.all())
                above.add(each.in, each.out);
            above.merge();
            ofTrack = {};
            track = lane->trackIndex;
        }
        for (const DmShotView& shot : lane->shots)
        {
            if (isPlaying(shot))
                use(*lane, shot, above.beside(shot.seenIn(), shot.seenOut()));
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
        return std::abs(a.offset - b.offset) < sourceTolerance && a.shot->played.speed() == b.shot->played.speed();
    }
    const Shown* _first = nullptr;
    const Shown* _second = nullptr;
};

std::vector<Shown> shownOf(const DmCutView& cut)
{
    std::vector<Shown> all;
    forEachShown(cut,
                 [&all](const DmLaneView& lane, const DmShotView& shot, const std::vector<Intervals::Interval>& shows)
                 {
                     if (shot.medium < 0 || !shot.isSteady())
                         return;
                     for (const Intervals::Interval& each : shows)
                     {
                         const double a = sourceAt(shot, each.in);
                         const double b = sourceAt(shot, each.out);
                         all.push_back({&lane, &shot, each.in, std::min(a, b), std::max(a, b), offsetOf(shot)});
                     }
                 });
    std::ranges::stable_sort(all, [](const Shown& a, const Shown& b)
                             { return std::pair(a.shot->medium, a.begin) < std::pair(b.shot->medium, b.begin); });
    return all;
}

bool isWordIn(std::string_view text, std::string_view word)
{
    const auto isLetter = [](char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0; };
    for (std::size_t at = text.find(word); at != text.npos && !word.empty(); at = text.find(word, at + 1))
        if ((at == 0 || !isLetter(text[at - 1])) &&
            (at + word.size() == text.size() || !isLetter(text[at + word.size()])))
            return true;
    return false;
}

/// What a mark asks for; empty where it asks for nothing.
std::string askedBy(const DmCueMark& mark, const std::vector<std::string>& words)
{
    const std::string name = dmUtf8(mark.getCueMarkName());
    const std::string comment = dmUtf8(mark.getCueMarkComment());
    const std::string text = name + (name.empty() || comment.empty() ? "" : ": ") + comment;
    const bool isRed =
        mark.getCueMarkColorRed() >= 192 && mark.getCueMarkColorGreen() <= 64 && mark.getCueMarkColorBlue() <= 64;
    if (isRed)
        return text.empty() ? "A red mark" : "A red mark says \"" + text + '"';
    for (const std::string& word : words)
        if (isWordIn(text, word))
            return "A mark says \"" + text + '"';
    return {};
}

/// The part of an id that linked segments share; empty for none.
std::wstring_view linkGroupOf(const DmString& id)
{
    const std::size_t mark = id.view().rfind(L'#');
    return mark == std::wstring_view::npos ? std::wstring_view() : id.view().substr(0, mark);
}

/// Puts a gap where a segment stands.
eDmErrorId makeGap(DmLayerNode& layer, const CoSharedPtr<DmSegmentNode>& segment)
{
    for (int i = 0; i < layer.getNbChildren(); ++i)
        if (layer.getChild(i) == segment.get())
        {
            const auto gap = DmGapNode::create(segment->getMediaType(), segment->getRecIn(), segment->getRecLength());
            const int count = layer.getNbChildren();
            if (!gap || layer.removeChild(i) != count - 1)
                return DM_CANNOT_LOCK;
            return layer.insertChild(gap, i) == count ? DM_NO_ERROR : DM_CANNOT_LOCK;
        }
    return DM_BAD_INDEX;
}

/// Joins a shot with the one behind it, and takes the cut between them away.
eDmErrorId join(DmLayerNode& layer, DmSourceNode& first, const DmSourceNode& second)
{
    for (int i = 0; i + 2 < layer.getNbChildren(); ++i)
    {
        if (layer.getChild(i) != &first || layer.getChild(i + 2) != &second)
            continue;
        const double length = first.getRecLength() + second.getRecLength();
        DmSourceNode::Input* const input = first.getSrcInput();
        eDmErrorId status = first.setRecLength(length);
        if (status == DM_NO_ERROR && input && input->getSrcLength() < first.getRelIn() + length)
            status = input->setSrcLength(first.getRelIn() + length);
        const int count = layer.getNbChildren();
        if (status == DM_NO_ERROR && (layer.removeChild(i + 2) != count - 1 || layer.removeChild(i + 1) != count - 2))
            status = DM_CANNOT_LOCK;
        return status;
    }
    return DM_BAD_INDEX;
}

void reportStretches(DmRuleRun& run, const DmCutView& cut, const Intervals& of, const Intervals& without,
                     const char* text)
{
    for (const Intervals::Interval& each : of.all())
        for (const Intervals::Interval& bare : without.beside(each.in, each.out))
            run.add(cut, std::string(text) + dmLengthText(bare.out - bare.in, cut.fcm), bare.in);
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
         .mending = "Take it out, or make it longer.",
         .find =
             [](DmRuleRun& run)
         {
             for (const DmCutView& cut : run.cuts())
                 for (const DmLaneView& lane : cut.lanes)
                     for (std::size_t i = 0; lane.isPicture && !cut.isNested && i < lane.shots.size(); ++i)
                     {
                         const DmShotView& first = lane.shots[i];
                         while (i + 1 < lane.shots.size() && goesOn(lane.shots[i], lane.shots[i + 1]))
                             ++i;
                         const double seen = lane.shots[i].seenOut() - first.seenIn();
                         if (isPlaying(first) && seen > 0.0 && seen < run.options().flash - sourceTolerance)
                             run.add(cut, lane, first, "It is seen for " + dmLengthText(seen, cut.fcm) + " only");
                     }
         }},
        {.code = "DM302",
         .name = "through-edit",
         .severity = DmFinding::Note,
         .line = "cuts at which the material goes on",
         .why = "Nobody sees such a cut, and everybody behind it has to: it makes two shots of one for grading, "
                "effects and sound. Where effects lie on one of the pieces, the cut is there for them.",
         .example = "A 0 to 50 | A 50 to 90              found\nA 0 to 50 | A 70 to 90              fine",
         .mending = "Join the pieces. `--unsafe-fixes` does it; marks and ids of the second piece are lost.",
         .find =
             [](DmRuleRun& run)
         {
             for (const DmCutView& cut : run.cuts())
                 for (const DmLaneView& lane : cut.lanes)
                     for (std::size_t i = 1; i < lane.shots.size(); ++i)
                     {
                         const DmShotView& a = lane.shots[i - 1];
                         const DmShotView& b = lane.shots[i];
                         if (!goesOn(a, b) || !areTreatedAlike(a, b))
                             continue;
                         const auto added = run.add(cut, lane, b, "At the cut in front of it the material goes on");
                         const auto* const first = dynamic_cast<const DmSourceNode*>(a.segment);
                         const auto* const second = dynamic_cast<const DmSourceNode*>(b.segment);
                         // A piece that plays backwards begins at its end: which one it is joined to is another matter.
                         if (first && second && !a.isCarried && !b.isCarried && !a.played.isReverse())
                             added.mend(Mending::Unsafe,
                                        [layer = dmToChange(lane.layer), one = dmToChange(first),
                                         two = dmToChange(second)] { return join(*layer, *one, *two); });
                     }
         }},
        {.code = "DM303",
         .name = "jump-cut",
         .line = "cuts at which the material skips a few frames",
         .why = "A cut that leaves out some frames of a shot, or shows some twice, looks like a fault of the film: "
                "mostly it was a cut at which the material went on, and one side was trimmed. Up to 12 frames count, "
                "unless the configuration says another number.",
         .example = "A 0 to 50 | A 53 to 90              found\nA 0 to 50 | A 90 to 120             fine",
         .mending = "Trim one side so that the material goes on, or cut away between them.",
         .find =
             [](DmRuleRun& run)
         {
             for (const DmCutView& cut : run.cuts())
                 for (const DmLaneView& lane : cut.lanes)
                     for (std::size_t i = 1; lane.isPicture && i < lane.shots.size(); ++i)
                     {
                         const DmShotView& a = lane.shots[i - 1];
                         const DmShotView& b = lane.shots[i];
                         if (!jumps(a, b, run.options().jump))
                             continue;
                         const double skip = skipped(a, b);
                         run.add(cut, lane, b,
                                 skip > 0.0 ? "At the cut in front of it the material skips " +
                                                  dmLengthText(skip, b.played.fcm())
                                            : "At the cut in front of it " + dmLengthText(-skip, b.played.fcm()) +
                                                  " of the material show twice");
                     }
         }},
        {.code = "DM304",
         .name = "black",
         .line = "stretches between the first and the last shot in which no picture plays",
         .why = "On the screen that is black. Where it is meant, a generated black says so; where it is not, a shot is "
                "missing. What a nested composition shows there, its outer one decides.",
         .example = "AAAA|----|BBBB                      found\nAAAA|----|BBBB with V2 over it      fine",
         .mending = "Fill it, close it, or put a generated black there.",
         .find =
             [](DmRuleRun& run)
         {
             for (const DmCutView& cut : run.cuts())
             {
                 const Intervals picture = playing(cut, true);
                 if (cut.isNested || picture.isEmpty())
                     continue;
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
             }
         }},
        {.code = "DM305",
         .name = "dupe",
         .line = "picture that shows twice",
         .why = "The same frames at two places of a cut catch the eye, and a print or a negative has them once. "
                "Counted is what shows: not what is muted, hidden under another track, a still or generated. The "
                "configuration may ask for frames beside what shows.",
         .example = "A 0 to 50 | B | A 40 to 90          found\nA 0 to 50 | B | A 50 to 90          fine",
         .mending = "Use other frames in one of the places.",
         .find =
             [](DmRuleRun& run)
         {
             for (const DmCutView& cut : run.cuts())
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
                         other->end + 2.0 * run.options().dupeHandles <= shown.begin + sourceTolerance ||
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
             }
         }},
        {.code = "DM306",
         .name = "muted-segment",
         .severity = DmFinding::Note,
         .line = "muted segments that were left in",
         .why = "A muted segment plays for nobody, yet it is in the list, is conformed, and comes back when somebody "
                "unmutes the track.",
         .example = "a muted shot                        found\na gap                               fine",
         .mending = "Take it out. `--unsafe-fixes` makes a gap of it.",
         .find =
             [](DmRuleRun& run)
         {
             for (const DmCutView& cut : run.cuts())
                 for (const DmLaneView& lane : cut.lanes)
                     for (const DmShotView& shot : lane.shots)
                         if (!shot.isGap && !shot.isCarried && shot.segment->getMuted())
                             run.add(cut, lane, shot, "It is muted")
                                 .mend(Mending::Unsafe,
                                       [layer = dmToChange(lane.layer), segment = dmToChange(shot.segment)]
                                       { return makeGap(*layer, segment); });
         }},
        {.code = "DM307",
         .name = "bypassed-effect",
         .severity = DmFinding::Note,
         .line = "bypassed effects that were left in",
         .why = "Programs that do not know of bypassed effects apply them.",
         .example = "a bypassed resize                   found\na resize                            fine",
         .mending = "Take it away. `--unsafe-fixes` does it.",
         .find =
             [](DmRuleRun& run)
         {
             for (const DmCutView& cut : run.cuts())
                 for (const DmLaneView& lane : cut.lanes)
                     for (const DmShotView& shot : lane.shots)
                         for (int i = 0; i < shot.segment->getEffects().count(); ++i)
                         {
                             const DmEffectSettings* const effect = shot.segment->getEffects().at(i);
                             if (!effect || !effect->isMuted())
                                 continue;
                             const auto added = run.add(cut, lane, shot,
                                                        "Its effect \"" + dmUtf8(effect->getName()) + "\" is bypassed");
                             added->nodePath += "/effects[" + std::to_string(i) + ']';
                             added.mend(Mending::Unsafe,
                                        [segment = dmToChange(shot.segment), i] { return segment->removeEffect(i); });
                         }
         }},
        {.code = "DM308",
         .name = "hidden-picture",
         .line = "picture that lies wholly under another",
         .why =
             "Nobody sees it, and everybody gets it: it is conformed, graded and paid for. What may let through what "
             "is below (effects, stills, titles, nested compositions) hides nothing.",
         .example = "V2   BBBBBB\nV1    AAAA     wholly under B       found\nV1     AAAAAA  seen behind B        fine",
         .mending = "Take it out, or mute the track that hides it.",
         .find =
             [](DmRuleRun& run)
         {
             for (const DmCutView& cut : run.cuts())
                 forEachShown(
                     cut,
                     [&](const DmLaneView& lane, const DmShotView& shot, const std::vector<Intervals::Interval>& shows)
                     {
                         if (shows.empty() && shot.seenOut() > shot.seenIn())
                             run.add(cut, lane, shot, "It lies wholly under picture of another track");
                     });
         }},
        {.code = "DM309",
         .name = "empty-track",
         .severity = DmFinding::Note,
         .line = "tracks without anything on them",
         .why = "An empty track is exported, counted, and asked about.",
         .example = "V2 with nothing but gaps            found\nV2 with a title                     fine",
         .mending = "Remove it.",
         .find =
             [](DmRuleRun& run)
         {
             for (const DmCutView& cut : run.cuts())
             {
                 std::map<int, std::pair<std::string, bool>> tracks; // by position: the name, and whether it is in use
                 for (const DmLaneView& lane : cut.lanes)
                 {
                     auto& [name, isUsed] = tracks[lane.trackIndex];
                     name = lane.name;
                     isUsed =
                         isUsed || std::ranges::any_of(lane.shots, [](const DmShotView& shot) { return !shot.isGap; });
                 }
                 std::string names;
                 std::size_t count = 0;
                 for (const auto& [position, track] : tracks)
                     if (!track.second && ++count != 0)
                         names += (names.empty() ? "" : ", ") + track.first;
                 if (count != 0)
                     run.add(cut, (count == 1 ? "There is nothing on the track " : "There is nothing on the tracks ") +
                                      names);
             }
         }},
        {.code = "DM310",
         .name = "sound-beyond-picture",
         .line = "sound that plays on behind the last picture",
         .why = "The programme is as long as its longest track: sound behind the last picture shows black, and is "
                "mostly a tail that nobody heard.",
         .example = "AAAA / aaaaaa                       found\nAAAAAA / aaaaaa                     fine",
         .mending = "Trim it, or put picture over it.",
         .find =
             [](DmRuleRun& run)
         {
             for (const DmCutView& cut : run.cuts())
             {
                 const Intervals picture = playing(cut, true);
                 if (cut.isNested || picture.isEmpty())
                     continue;
                 const double end = picture.all().back().out;
                 for (const DmLaneView& lane : cut.lanes)
                     for (const DmShotView& shot : lane.shots)
                         if (!lane.isPicture && isPlaying(shot) && shot.seenOut() >= end + 1.0 - dmTimeTolerance)
                             run.add(cut, lane, shot,
                                     "It plays " + dmLengthText(shot.seenOut() - end, cut.fcm) +
                                         " beyond the last picture");
             }
         }},
        {.code = "DM311",
         .name = "picture-without-sound",
         .isOn = false,
         .line = "stretches in which picture plays and no sound",
         .why = "Silence is mostly a sound track that was not delivered. Only where a composition has both, and only "
                "when selected: many cuts are silent for good reasons.",
         .example = "AAAABBBB / aaaa                     found\nAAAABBBB / aaaaaaaa                 fine",
         .mending = "Ask for the sound, or lay room tone.",
         .find =
             [](DmRuleRun& run)
         {
             for (const DmCutView& cut : run.cuts())
             {
                 const Intervals sound = playing(cut, false);
                 if (!sound.isEmpty())
                     reportStretches(run, cut, playing(cut, true), sound, "Picture plays without sound for ");
             }
         }},
        {.code = "DM312",
         .name = "sound-without-picture",
         .isOn = false,
         .line = "stretches in which sound plays and no picture",
         .why = "Sound over black is mostly a shot that was not delivered. Only where a composition has both, and only "
                "when selected.",
         .example = "AAAA----BBBB / aaaaaaaaaaaa         found\nAAAABBBB / aaaaaaaa                 fine",
         .mending = "Ask for the picture, or put a generated black there.",
         .find =
             [](DmRuleRun& run)
         {
             for (const DmCutView& cut : run.cuts())
             {
                 const Intervals picture = playing(cut, true);
                 if (!picture.isEmpty())
                     reportStretches(run, cut, playing(cut, false), picture, "Sound plays without picture for ");
             }
         }},
        {.code = "DM313",
         .name = "out-of-sync",
         .line = "sound that does not stand where its picture stands",
         .why = "Sound and picture of one file, linked to each other, play the same frame at the same time. Where they "
                "do not, lips and words part: mostly one of them was slipped or rippled alone.",
         .example = "A 10 to 50 / a 12 to 52, linked     found\nA 10 to 50 / a 10 to 52, linked     fine",
         .mending = "Slip one of them by the frames that are named, or unlink them.",
         .find =
             [](DmRuleRun& run)
         {
             for (const DmCutView& cut : run.cuts())
             {
                 std::map<std::pair<std::wstring_view, int>, std::vector<const DmShotView*>> pictures;
                 const auto key = [](const DmShotView& shot)
                 { return std::pair(linkGroupOf(shot.segment->getSegmentId()), shot.medium); };
                 const auto isAsked = [](const DmShotView& shot)
                 {
                     return shot.medium >= 0 && shot.isSteady() && shot.played.speed() == 1.0 &&
                            !linkGroupOf(shot.segment->getSegmentId()).empty();
                 };
                 for (const DmLaneView& lane : cut.lanes)
                     for (const DmShotView& shot : lane.shots)
                         if (lane.isPicture && isAsked(shot))
                             pictures[key(shot)].push_back(&shot);
                 for (const DmLaneView& lane : cut.lanes)
                     for (const DmShotView& shot : lane.shots)
                     {
                         const auto found =
                             lane.isPicture || !isAsked(shot) ? pictures.end() : pictures.find(key(shot));
                         if (found == pictures.end())
                             continue;
                         double nearest = std::numeric_limits<double>::infinity();
                         for (const DmShotView* const picture : found->second)
                         {
                             const double ahead =
                                 picture->played.fcm() == shot.played.fcm() ? offsetOf(shot) - offsetOf(*picture) : 0.0;
                             if (std::abs(ahead) < std::abs(nearest))
                                 nearest = ahead;
                         }
                         if (std::abs(nearest) >= 0.5)
                             run.add(cut, lane, shot,
                                     "It plays " + dmLengthText(std::abs(nearest), shot.played.fcm()) +
                                         (nearest > 0.0 ? " ahead of" : " behind") +
                                         " the picture that it is linked to");
                     }
             }
         }},
        {.code = "DM314",
         .name = "start-label",
         .line = "compositions that begin at another label than was asked for",
         .why =
             "Facilities agree on where a reel begins: list, picture and sound are laid together by it. Asked for in "
             "the configuration.",
         .example =
             "start-label = \"01:00:00:00\", a reel from 00:59:52:00  found\nthe same, a reel from 01:00:00:00        "
             "               fine",
         .mending = "Set the start time code that was agreed on.",
         .find =
             [](DmRuleRun& run)
         {
             for (const DmCutView& cut : run.cuts())
             {
                 DM::TimeUnit wanted;
                 if (run.options().startLabel.empty() || cut.isNested ||
                     DM::TimeLabel::read(run.options().startLabel, cut.fcm, wanted) != DM::TimeLabel::Good)
                     continue;
                 const double start = cut.composition->getStartTC();
                 if (!dmSameTime(start, wanted.getFrames()))
                     run.add(cut,
                             "It begins at " + dmLabelText(start, cut.fcm) + " instead of " + run.options().startLabel);
             }
         }},
        {.code = "DM315",
         .name = "asking-mark",
         .line = "marks that ask for something",
         .why = "A red mark, or one that says TODO, waits for somebody. Marks on frames that do not play wait for "
                "nobody.",
         .example = "a red mark: \"check focus\"           found\na green mark: \"approved\"           fine",
         .mending = "Do what it asks for, and take it away or give it another colour.",
         .find =
             [](DmRuleRun& run)
         {
             const std::vector<std::string>& words = run.options().markWords;
             for (const DmCutView& cut : run.cuts())
             {
                 const DmSetList<DmCueMark>& marks = cut.composition->getCueMarks();
                 for (int i = 0; i < marks.count(); ++i)
                     if (const DmCueMark* const mark = marks.at(i))
                         if (std::string asked = askedBy(*mark, words); !asked.empty())
                             run.add(cut, std::move(asked),
                                     mark->getCueMarkTime() == dmNoTime ? std::optional<double>()
                                                                        : mark->getCueMarkTime());
                 for (const DmLaneView& lane : cut.lanes)
                     for (const DmShotView& shot : lane.shots)
                         for (int i = 0; i < shot.segment->getSegmentMarks().count(); ++i)
                         {
                             const DmCueMark* const mark = shot.segment->getSegmentMarks().at(i);
                             std::string asked = mark ? askedBy(*mark, words) : std::string();
                             if (asked.empty())
                                 continue;
                             const double time = mark->getCueMarkTime();
                             const std::optional<double> at =
                                 time == dmNoTime ? std::nullopt : shot.played.recordTimeOf(time);
                             if (at && (*at < shot.seenIn() - dmTimeTolerance || *at >= shot.seenOut()))
                                 continue;
                             const auto added = run.add(cut, lane, shot, std::move(asked));
                             if (at)
                                 added->record = cut.composition->getRecordLabel(*at);
                         }
             }
         }},
    };
    return rules;
}
