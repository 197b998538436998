// Rules about the programme as a whole: its sound, where it begins, what it still asks for.
#include "dmMendImp.h"
#include "dmShownImp.h"

#include "dmSourceInput.h"
#include "dmUtf8.h"

#include "tuLabel.h"

#include <algorithm>
#include <cctype>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <utility>

namespace
{

using Mending = DmRuleRun::Mending;

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

/// Finds where picture, or sound, plays without the other, in compositions that have both.
auto playsAlone(bool isPicture, const char* text)
{
    return dmEachCut(
        [isPicture, text](DmRuleRun& run, const DmCutView& cut)
        {
            const DmIntervals other = dmPlaying(cut, !isPicture);
            if (other.isEmpty())
                return;
            const DmIntervals own = dmPlaying(cut, isPicture);
            for (const DmIntervals::Interval& each : own.all())
                for (const DmIntervals::Interval& bare : other.beside(each.in, each.out))
                    run.add(cut, text + dmLengthText(bare.out - bare.in, cut.fcm), bare.in);
        });
}

} // namespace

const std::vector<DmRule>& dmProgrammeRules()
{
    static const std::vector<DmRule> rules = {
        {.code = "DM310",
         .name = "sound-beyond-picture",
         .line = "sound that plays on behind the last picture",
         .why = "The programme is as long as its longest track: sound behind the last picture shows black, and is "
                "mostly a tail that nobody heard.",
         .example = "AAAA / aaaaaa                       found\nAAAAAA / aaaaaa                     fine",
         .mending = "Trim it, or put picture over it. `--unsafe-fixes` trims it.",
         .find = dmEachCut(
             [](DmRuleRun& run, const DmCutView& cut)
             {
                 const DmIntervals picture = dmPlaying(cut, true);
                 if (cut.isNested || picture.isEmpty())
                     return;
                 const double end = picture.all().back().out;
                 for (const DmLaneView& lane : cut.lanes)
                     for (const DmShotView& shot : lane.shots)
                         if (!lane.isPicture && dmIsPlaying(shot) && shot.seenOut() >= end + 1.0 - dmTimeTolerance)
                         {
                             const auto added = run.add(cut, lane, shot,
                                                        "It plays " + dmLengthText(shot.seenOut() - end, cut.fcm) +
                                                            " beyond the last picture");
                             if (shot.mixBehind != 0.0 || shot.isCarried)
                                 continue;
                             added.mend(Mending::Unsafe,
                                        [layer = dmToChange(lane.layer), standing = dmToChange(shot.standing), end]
                                        {
                                            return end - standing->getRecIn() >= 1.0
                                                       ? standing->setRecLength(end - standing->getRecIn())
                                                       : dmMakeGap(*layer, *standing);
                                        });
                         }
             })},
        {.code = "DM311",
         .name = "picture-without-sound",
         .isOn = false,
         .line = "stretches in which picture plays and no sound",
         .why = "Silence is mostly a sound track that was not delivered. Only where a composition has both, and only "
                "when selected: many cuts are silent for good reasons.",
         .example = "AAAABBBB / aaaa                     found\nAAAABBBB / aaaaaaaa                 fine",
         .mending = "Ask for the sound, or lay room tone. No option does it: it is not there.",
         .find = playsAlone(true, "Picture plays without sound for ")},
        {.code = "DM312",
         .name = "sound-without-picture",
         .isOn = false,
         .line = "stretches in which sound plays and no picture",
         .why = "Sound over black is mostly a shot that was not delivered. Only where a composition has both, and only "
                "when selected.",
         .example = "AAAA----BBBB / aaaaaaaaaaaa         found\nAAAABBBB / aaaaaaaa                 fine",
         .mending = "Ask for the picture, or put a generated black there. No option does it: it is not there.",
         .find = playsAlone(false, "Sound plays without picture for ")},
        {.code = "DM313",
         .name = "out-of-sync",
         .line = "sound that does not stand where its picture stands",
         .why = "Sound and picture of one file, linked to each other, play the same frame at the same time. Where they "
                "do not, lips and words part: mostly one of them was slipped or rippled alone.",
         .example = "A 10 to 50 / a 12 to 52, linked     found\nA 10 to 50 / a 10 to 52, linked     fine",
         .mending = "Slip one of them by the frames that are named, or unlink them. `--unsafe-fixes` slips the sound, "
                    "where it has the "
                    "frames.",
         .find = dmEachCut(
             [](DmRuleRun& run, const DmCutView& cut)
             {
                 std::map<std::pair<std::wstring_view, int>, std::vector<const DmShotView*>> pictures;
                 const auto groupOf = [](const DmShotView& shot)
                 {
                     return shot.medium >= 0 && shot.isSteady() && shot.played.speed() == 1.0
                                ? linkGroupOf(shot.segment->getSegmentId())
                                : std::wstring_view();
                 };
                 if (std::ranges::all_of(cut.lanes, &DmLaneView::isPicture))
                     return;
                 for (const DmLaneView& lane : cut.lanes)
                     for (const DmShotView& shot : lane.shots)
                         if (const auto group = lane.isPicture ? groupOf(shot) : std::wstring_view(); !group.empty())
                             pictures[{group, shot.medium}].push_back(&shot);
                 for (const DmLaneView& lane : cut.lanes)
                     for (const DmShotView& shot : lane.shots)
                     {
                         const auto group = lane.isPicture ? std::wstring_view() : groupOf(shot);
                         const auto found = group.empty() ? pictures.end() : pictures.find({group, shot.medium});
                         if (found == pictures.end())
                             continue;
                         double nearest = std::numeric_limits<double>::infinity();
                         for (const DmShotView* const picture : found->second)
                         {
                             const double ahead = picture->played.fcm() == shot.played.fcm()
                                                      ? dmOffsetOf(shot) - dmOffsetOf(*picture)
                                                      : 0.0;
                             if (std::abs(ahead) < std::abs(nearest))
                                 nearest = ahead;
                         }
                         if (std::abs(nearest) >= 0.5)
                         {
                             const auto added = run.add(
                                 cut, lane, shot,
                                 "It plays " + dmLengthText(std::abs(nearest), shot.played.fcm()) +
                                     (nearest > 0.0 ? " ahead of" : " behind") + " the picture that it is linked to");
                             const double in = shot.segment->getRelIn() - nearest;
                             const bool isThere =
                                 in >= 0.0 && (!shot.material.isLimited() ||
                                               in + shot.played.length() <= shot.material.length + dmSourceTolerance);
                             if (isThere && shot.media && shot.played.rate() == 1.0)
                                 added.mend(Mending::Unsafe,
                                            [source = dmToChange(shot.source), in] { return dmPlayFrom(*source, in); });
                         }
                     }
             })},
        {.code = "DM314",
         .name = "start-label",
         .line = "compositions that begin at another label than was asked for",
         .why =
             "Facilities agree on where a reel begins: list, picture and sound are laid together by it. Asked for in "
             "the configuration.",
         .example =
             "start-label = \"01:00:00:00\", a reel from 00:59:52:00  found\nthe same, a reel from 01:00:00:00        "
             "               fine",
         .mending = "Set the start time code that was agreed on. `--unsafe-fixes` does it, where record time does not "
                    "count from it.",
         .find = dmEachCut(
             [](DmRuleRun& run, const DmCutView& cut)
             {
                 DM::TimeUnit wanted;
                 if (run.options().startLabel.empty() || cut.isNested ||
                     DM::TimeLabel::read(run.options().startLabel, cut.fcm, wanted) != DM::TimeLabel::Good)
                     return;
                 const double start = cut.composition->getStartTC();
                 if (!dmSameTime(start, wanted.getFrames()))
                 {
                     const auto added = run.add(cut, "It begins at " + dmLabelText(start, cut.fcm) + " instead of " +
                                                         run.options().startLabel);
                     if (!cut.composition->countsAbsolutely())
                         added.mend(Mending::Unsafe, [to = dmToChange(cut.composition), time = wanted.getFrames()]
                                    { return to->setStartTC(time, to->getStartTcFcm()); });
                 }
             })},
        {.code = "DM315",
         .name = "asking-mark",
         .line = "marks that ask for something",
         .why = "A red mark, or one that says TODO, waits for somebody. Marks on frames that do not play wait for "
                "nobody.",
         .example = "a red mark: \"check focus\"           found\na green mark: \"approved\"           fine",
         .mending = "Do what it asks for, and take it away or give it another colour. No option does it for you.",
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
             }
             run.eachShot(
                 [](DmRuleRun& each, const DmCutView& cut, const DmLaneView& lane, const DmShotView& shot)
                 {
                     const DmSetList<DmCueMark>& marks = shot.segment->getSegmentMarks();
                     for (int i = 0; i < marks.count(); ++i)
                     {
                         const DmCueMark* const mark = marks.at(i);
                         std::string asked = mark ? askedBy(*mark, each.options().markWords) : std::string();
                         if (asked.empty())
                             continue;
                         const double time = mark->getCueMarkTime();
                         const std::optional<double> at =
                             time == dmNoTime ? std::nullopt : shot.played.recordTimeOf(time);
                         if (at && (*at < shot.seenIn() - dmTimeTolerance || *at >= shot.seenOut()))
                             continue;
                         const auto added = each.add(cut, lane, shot, std::move(asked));
                         if (at)
                             added->record = cut.composition->getRecordLabel(*at);
                     }
                 });
         }},
    };
    return rules;
}
