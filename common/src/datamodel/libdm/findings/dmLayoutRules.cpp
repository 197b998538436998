// Rules about what a validation lets pass: holes, cuts and lengths that say other than what stands there.
#include "dmMendImp.h"
#include "dmRulesImp.h"

#include "dmCutNode.h"
#include "dmGapNode.h"
#include "dmTrxEffectNode.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

namespace
{

using Mending = DmRuleRun::Mending;

/// Whether a hole may be told from times that are no times.
bool isHole(double from, double to)
{
    return to - from > dmTimeTolerance && std::isfinite(to - from);
}

struct Extent
{
    double begin = 0.0;
    double end = 0.0;
    bool isEmpty = true;

    void add(double in, double out)
    {
        begin = isEmpty ? in : std::min(begin, in);
        end = isEmpty ? out : std::max(end, out);
        isEmpty = false;
    }
    bool isFinite() const { return std::isfinite(begin) && std::isfinite(end); }
};

Extent extentOf(const DmLaneView& lane)
{
    Extent extent;
    for (const DmShotView& shot : lane.shots)
        extent.add(shot.seenIn(), shot.seenOut());
    return extent;
}

} // namespace

const std::vector<DmRule>& dmLayoutRules()
{
    static const std::vector<DmRule> rules = {
        {.code = "DM112",
         .name = "hole",
         .line = "stretches of a layer that nothing fills",
         .why = "Time in which nothing plays is a gap. Where nothing stands, one program shows black, another closes "
                "the hole, and every shot behind it moves.",
         .example = "A to 100, then B from 110           found\nA to 100, a gap, B from 110         fine",
         .mending = "Put a gap there. `--fix` does it.",
         .find = dmEachShot(
             [](DmRuleRun& run, const DmCutView& cut, const DmLaneView& lane, const DmShotView& shot)
             {
                 const DmTransitionNode* const transition = lane.at(shot.position - 1).transition;
                 if (transition && transition->whatIs() == DM_TRX_EFFECT_NODE)
                     return;
                 const DmShotView* const previous = dmInFrontOf(lane, shot);
                 // Without a length, the layer does not say where it begins.
                 if (shot.position == 0 && !(lane.layer->getLayerLength() > 0.0))
                     return;
                 const double end = previous ? previous->recOut : lane.layer->getLayerStartTC();
                 if (isHole(end, shot.recIn))
                     run.add(cut, lane, shot.position,
                             "In front of it nothing fills " + dmLengthText(shot.recIn - end, cut.fcm))
                         .mend(Mending::Safe,
                               [layer = dmToChange(lane.layer), node = dmToChange(shot.standing), end]
                               {
                                   const eDmErrorId status = dmInsertBefore(
                                       *layer, node.get(),
                                       DmGapNode::create(layer->getMediaType(), end, node->getRecIn() - end));
                                   return status == DM_NO_ERROR
                                              ? dmInsertBefore(
                                                    *layer, node.get(),
                                                    DmCutNode::create(layer->getMediaType(), node->getRecIn()))
                                              : status;
                               });
             })},
        {.code = "DM113",
         .name = "cut-place",
         .line = "cuts with a length, or at another time than their seam",
         .why = "A cut has no length and stands where the segment in front of it ends. What else it says is passed on "
                "to programs that believe it.",
         .example = "a cut that lasts 2 frames           found\na cut of no length at the seam      fine",
         .mending = "Put it on the seam. `--fix` does it.",
         .find = dmEachTransition(
             [](DmRuleRun& run, const DmCutView& cut, const DmLaneView& lane, int i, const DmTransitionNode& transition,
                const DmSegmentNode* previous, const DmSegmentNode* /*next*/)
             {
                 if (transition.whatIs() != DM_CUT_NODE || !previous)
                     return;
                 // Documents of other systems leave both times of a cut out.
                 const bool isElsewhere =
                     transition.getRecIn() != 0.0 && !dmSameTime(transition.getRecIn(), previous->getRecOut());
                 if (transition.getRecLength() == 0.0 && !isElsewhere)
                     return;
                 run.add(cut, lane, i,
                         isElsewhere
                             ? "The cut says that it is at " + cut.composition->getRecordLabel(transition.getRecIn()) +
                                   ", and the segment in front of it ends at " +
                                   cut.composition->getRecordLabel(previous->getRecOut())
                             : "The cut says that it lasts " + dmLengthText(transition.getRecLength(), cut.fcm))
                     .mend(Mending::Safe, [node = dmToChange(&transition), at = previous->getRecOut()]
                           { return dmPlace(*node, at, 0.0); });
             })},
        {.code = "DM114",
         .name = "transition-too-long",
         .line = "transitions that are longer than the shots beside them",
         .why = "A transition that reaches beyond the far end of a shot beside it mixes with something that plays no "
                "more, or not yet.",
         .example =
             "a dissolve of 20 frames into a shot of 12   found\none of 12 frames into it                    fine",
         .mending =
             "Shorten it, or lengthen the shot. Where there is another time between the shots than it says, `--fix` "
             "gives it that.",
         .find = dmEachTransition(
             [](DmRuleRun& run, const DmCutView& cut, const DmLaneView& lane, int i, const DmTransitionNode& transition,
                const DmSegmentNode* previous, const DmSegmentNode* next)
             {
                 if (transition.whatIs() != DM_TRX_EFFECT_NODE || !previous || !next ||
                     !dmReachesBeyond(transition, *previous, *next))
                     return;
                 const double between = next->getRecIn() - previous->getRecOut();
                 const auto added = run.add(cut, lane, i,
                                            "The transition lasts " + dmLengthText(transition.getRecLength(), cut.fcm) +
                                                ", longer than a shot beside it");
                 if (dmSameTime(between, transition.getRecLength()))
                     return;
                 added->severity = run.strictSeverity(cut);
                 if (between >= 0.0 && next->getRecLength() >= 0.0)
                     added.mend(Mending::Safe, [node = dmToChange(&transition), in = previous->getRecOut(), between]
                                { return dmPlace(*node, in, between); });
             })},
        {.code = "DM115",
         .name = "layer-extent",
         .line = "layers that end before what stands in them, or begin behind it",
         .why = "A layer says where it begins and how long it is. What stands outside is cut off by programs that "
                "believe it.",
         .example = "a layer of 100 frames, a shot to 120   found\na layer of 120 frames, a shot to 120   fine",
         .mending = "Set begin and length to what stands in it. `--fix` does it.",
         .find = dmEachLane(
             [](DmRuleRun& run, const DmCutView& cut, const DmLaneView& lane)
             {
                 const Extent extent = extentOf(lane);
                 const double start = lane.layer->getLayerStartTC();
                 const double length = lane.layer->getLayerLength();
                 if (extent.isEmpty || !extent.isFinite() || length == 0.0)
                     return;
                 const bool isBefore = extent.begin < start - dmTimeTolerance;
                 if (!isBefore && !(extent.end > start + length + dmTimeTolerance))
                     return;
                 const double begin = isBefore ? extent.begin : start;
                 run.add(cut, lane,
                         isBefore ? "The layer begins at " + cut.composition->getRecordLabel(start) +
                                        ", behind what stands in it"
                                  : "The layer ends at " + cut.composition->getRecordLabel(start + length) +
                                        ", and what stands in it at " + cut.composition->getRecordLabel(extent.end))
                     .mend(Mending::Safe,
                           [layer = dmToChange(lane.layer), begin, end = std::max(extent.end, start + length)]
                           {
                               const eDmErrorId status = layer->setLayerStartTC(begin);
                               return status == DM_NO_ERROR ? layer->setLayerLength(end - begin) : status;
                           });
             })},
        {.code = "DM116",
         .name = "composition-length",
         .line = "compositions shorter or longer than their tracks",
         .why = "A composition that is shorter than its tracks loses their end where it is nested or rendered; one "
                "that is longer shows black.",
         .example = "100 frames, tracks of 120           found\n120 frames, tracks of 120 and 90    fine",
         .mending = "Set its length to that of its longest track. `--fix` does it.",
         .find = dmEachCut(
             [](DmRuleRun& run, const DmCutView& cut)
             {
                 Extent extent;
                 for (const DmLaneView& lane : cut.lanes)
                     if (const Extent each = extentOf(lane); !each.isEmpty)
                         extent.add(each.begin, each.end);
                 const double said = cut.composition->getCompLength();
                 const double length = extent.end - cut.composition->getRecordStart();
                 if (extent.isEmpty || !extent.isFinite() || said == 0.0 || !(length > 0.0) || dmSameTime(said, length))
                     return;
                 run.add(cut, "The composition says " + dmLengthText(said, cut.fcm) + ", its tracks are " +
                                  dmLengthText(length, cut.fcm))
                     .mend(Mending::Safe, [composition = dmToChange(cut.composition), length]
                           { return composition->setCompLength(length); });
             })},
        {.code = "DM117",
         .name = "not-a-time",
         .severity = DmFinding::Error,
         .line = "times that are no numbers, or beyond what labels can say",
         .why = "No program finds a frame at such a time, and a label has two digits for its hours.",
         .example = "a shot at 2147483647                found\na shot at 23:59:59:24               fine",
         .mending = "Find out what was meant: no option can.",
         .find = dmEachElement(
             [](DmRuleRun& run, const DmCutView& cut, const DmLaneView& lane, int i)
             {
                 constexpr double hours = 100.0 * 3600.0;
                 const auto look = [&](const auto& element)
                 {
                     const double times[] = {element.getRecIn(), element.getRecLength(), element.getRelIn()};
                     static constexpr const char* names[] = {"Its record time", "Its length", "Its in-time"};
                     constexpr double lowest = hours * 10.0; // of all rates
                     const auto isPlain = [](double time) { return std::abs(time) < lowest; };
                     if (std::ranges::all_of(times, isPlain))
                         return;
                     unsigned num = 0;
                     unsigned den = 1;
                     const bool hasRate = DM::FcmUtil::getRational(cut.fcm, num, den, false) && den != 0;
                     const double most = hours * (hasRate ? static_cast<double>(num) / den : 120.0);
                     const auto isWrong = [most](double time) { return !(std::abs(time) < most); };
                     const auto* const wrong = std::ranges::find_if(times, isWrong);
                     if (wrong == std::end(times))
                         return;
                     const bool isNumber = std::isfinite(*wrong);
                     const auto added = run.add(cut, lane, i,
                                                std::string(names[wrong - times]) +
                                                    (isNumber ? " is beyond what labels can say" : " is no number"));
                     if (!isNumber)
                         added->record = "";
                 };
                 if (const DmElementView element = lane.at(i); element.segment)
                     look(*element.segment);
                 else if (element.transition)
                     look(*element.transition);
             })},
        {.code = "DM118",
         .name = "source-length",
         .severity = DmFinding::Error,
         .line = "in-times and lengths that do not fit what the source says of its length, speeds aside",
         .why = "A valid structure has \"relIn\" + \"recLength\" within \"srcLength\", as plain numbers. Where that "
                "is broken and all that plays is there nevertheless, or nobody knows, programs that check it refuse "
                "the document.",
         .example = "100 frames at 50 %, \"srcLength\" 50  found\n100 frames at 50 %, \"srcLength\" 100 fine",
         .mending = "Raise the source's length, and say in its entry \"materialLength\" how long the file is. "
                    "`--unsafe-fixes` does both.",
         .find = dmEachShot(
             [](DmRuleRun& run, const DmCutView& cut, const DmLaneView& lane, const DmShotView& shot)
             {
                 constexpr double tolerance = 1e-4;
                 if (!shot.source || !shot.input || shot.isCarried)
                     return;
                 const double length = shot.input->getSrcLength();
                 const double needed = shot.source->getRelIn() + shot.source->getRecLength();
                 if (!(length > 1.0) || needed - length <= tolerance || !std::isfinite(needed) || dmPlaysBeyond(shot))
                     return;
                 const auto added = run.add(cut, lane, shot.position,
                                            "Its in-time and length come to " + dmLengthText(needed, cut.fcm) +
                                                ", and its source says " + dmLengthText(length, cut.fcm));
                 if (shot.media)
                     added.mend(Mending::Unsafe,
                                [media = dmToChange(shot.media), material = shot.material, needed]
                                {
                                    const eDmErrorId status = material.known
                                                                  ? dmSetMaterialLength(*media, material.length)
                                                                  : dmSetMaterialLengthUnknown(*media);
                                    return status == DM_NO_ERROR ? media->setSrcLength(needed) : status;
                                });
             })},
    };
    return rules;
}
