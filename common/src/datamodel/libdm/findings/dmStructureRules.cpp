// Rules about the structure of a tree: those of a validation (dmTreeUtil.h), and what it lets pass.
#include "dmRulesImp.h"

#include "dmCutNode.h"
#include "dmElementImp.h"
#include "dmGapNode.h"
#include "dmMediaType.h"
#include "dmSourceInput.h"
#include "dmTrxEffectNode.h"
#include "dmUtf8.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>
#include <string>
#include <unordered_map>

namespace
{

using Mending = DmRuleRun::Mending;

/// Calls `use` with each layer of each composition.
template <class Use>
void forEachLane(const DmRuleRun& run, const Use& use)
{
    for (const DmCutView& cut : run.cuts())
        for (const DmLaneView& lane : cut.lanes)
            use(cut, lane);
}

/// Calls `use` with each segment that stands in a layer.
template <class Use>
void forEachSegment(const DmRuleRun& run, const Use& use)
{
    forEachLane(run,
                [&use](const DmCutView& cut, const DmLaneView& lane)
                {
                    for (const DmShotView& shot : lane.shots)
                        use(cut, lane, shot, *dmSegment(lane.layer->getChild(shot.position)));
                });
}

/// Calls `use` with each transition and the segments beside it, each of which may be null.
template <class Use>
void forEachTransition(const DmRuleRun& run, const Use& use)
{
    forEachLane(run,
                [&use](const DmCutView& cut, const DmLaneView& lane)
                {
                    for (int i = 0; i < lane.layer->getNbChildren(); ++i)
                        if (DmTransitionNode* const transition = dmTransition(lane.layer->getChild(i)))
                            use(cut, lane, i, *transition, dmSegment(lane.layer->getChild(i - 1)),
                                dmSegment(lane.layer->getChild(i + 1)));
                });
}

int positionIn(const DmTreeNode& parent, const DmTreeNode* child)
{
    for (int i = 0; i < parent.getNbChildren(); ++i)
        if (parent.getChild(i) == child)
            return i;
    return -1;
}

/// Puts a node in front of a child, wherever that stands by now.
eDmErrorId insertBefore(DmLayerNode& layer, const DmTreeNode* child, const CoSharedPtr<DmTreeNode>& node)
{
    const int at = child ? positionIn(layer, child) : layer.getNbChildren();
    const int before = layer.getNbChildren();
    return at >= 0 && node && layer.insertChild(node, at) == before + 1 ? DM_NO_ERROR : DM_CANNOT_LOCK;
}

eDmErrorId removeFrom(DmLayerNode& layer, const DmTreeNode* child)
{
    const int at = positionIn(layer, child);
    const int before = layer.getNbChildren();
    return at >= 0 && layer.removeChild(at) == before - 1 ? DM_NO_ERROR : DM_CANNOT_LOCK;
}

/// In the link group of another id: what stands in front of the last "#".
DmString freshId(const DmString& other)
{
    std::random_device random;
    char digits[17];
    std::snprintf(digits, sizeof digits, "%08x%08x", random(), random());
    const std::wstring_view text = other.view();
    const std::size_t mark = text.rfind(L'#');
    return DmString(std::wstring(text.substr(0, mark == text.npos ? 0 : mark + 1)) + std::wstring(digits, digits + 16));
}

/// Whether a hole may be told from times that are no times.
bool isHole(double from, double to)
{
    return to - from > dmTimeTolerance && std::isfinite(to - from);
}

/// The length that rounds to no frame.
bool isNoLength(double length)
{
    return !(length >= 0.5);
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

/// What begins where a transition that is too long for the shots beside it ends.
bool reachesBeyond(const DmTransitionNode& transition, const DmSegmentNode& previous, const DmSegmentNode& next)
{
    return transition.getRecOut() > next.getRecOut() + dmTimeTolerance ||
           transition.getRecIn() < previous.getRecIn() - dmTimeTolerance || next.getRecLength() < 0.0;
}

} // namespace

const std::vector<DmRule>& dmStructureRules()
{
    static const std::vector<DmRule> rules = {
        {.code = "DM101",
         .name = "misplaced-node",
         .severity = DmFinding::Error,
         .line = "nodes where they have no place",
         .why = "A root and a reel hold compositions, a composition tracks, a track layers, a layer segments and "
                "transitions. What stands elsewhere, or nothing where something should stand, no walk finds and no "
                "list carries.",
         .example = "a track directly in a reel          found\na composition in a reel             fine",
         .mending = "Take it out, or put it where it belongs.",
         .find =
             [](DmRuleRun& run)
         {
             const auto look = [](const DmTreeNode& parent, const std::string& path, auto isAllowed, const char* what,
                                  const auto& add)
             {
                 for (int i = 0; i < parent.getNbChildren(); ++i)
                 {
                     const DmTreeNode* const child = parent.getChild(i);
                     if (child && isAllowed(*child))
                         continue;
                     const std::string at = (path.empty() ? "" : path + '/') + "children[" + std::to_string(i) + ']';
                     add(at, child ? std::string(what) : "Nothing stands here");
                 }
             };
             for (const DmCutViews::Collection& each : run.views().collections())
                 look(
                     *each.node, each.path,
                     [](const DmTreeNode& child) {
                         return child.whatIs() == DM_COMPOSITION_NODE || child.whatIs() == DM_REEL_NODE ||
                                child.whatIs() == DM_BLOB_NODE;
                     },
                     "It stands outside of a composition",
                     [&run](const std::string& path, std::string text) { run.add(path, std::move(text)); });
             for (const DmCutView& cut : run.cuts())
             {
                 const auto addTo = [&](const std::string& path, std::string text)
                 { run.add(cut, std::move(text))->nodePath = path; };
                 look(
                     *cut.composition, cut.path,
                     [](const DmTreeNode& child) { return child.whatIs() == DM_TRACK_NODE; },
                     "A composition holds tracks only", addTo);
                 for (int i = 0; i < cut.composition->getNbChildren(); ++i)
                     if (const auto* const track = dynamic_cast<const DmTrackNode*>(cut.composition->getChild(i)))
                         look(
                             *track, (cut.path.empty() ? "" : cut.path + '/') + "children[" + std::to_string(i) + ']',
                             [](const DmTreeNode& child) { return child.whatIs() == DM_LAYER_NODE; },
                             "A track holds layers only", addTo);
                 for (const DmLaneView& lane : cut.lanes)
                     for (int i = 0; i < lane.layer->getNbChildren(); ++i)
                     {
                         DmTreeNode* const child = lane.layer->getChild(i);
                         if (!dmSegment(child) && !dmTransition(child))
                             run.add(cut, lane, i,
                                     child ? "A layer holds segments and transitions only" : "Nothing stands here");
                     }
             }
         }},
        {.code = "DM102",
         .name = "media-type",
         .severity = DmFinding::Error,
         .line = "picture among sound, and sound among picture",
         .why = "All that stands in a track is of the track's media type: what is not is played by nobody.",
         .example = "a sound effect on a picture         found\na sound effect on sound             fine",
         .mending = "Move it to a track of its own kind; take an effect of the other kind away.",
         .find =
             [](DmRuleRun& run)
         {
             const auto text = [](const char* what, eDmTreeMediaType is, eDmTreeMediaType among)
             {
                 return std::string(what) + " of media type \"" + dmMediaTypeText(is) + "\" stands in \"" +
                        dmMediaTypeText(among) + '"';
             };
             forEachLane(run,
                         [&](const DmCutView& cut, const DmLaneView& lane)
                         {
                             const eDmTreeMediaType type = lane.layer->getMediaType();
                             if (type != lane.track->getMediaType())
                                 run.add(cut, lane, text("a layer", type, lane.track->getMediaType()));
                             for (int i = 0; i < lane.layer->getNbChildren(); ++i)
                             {
                                 DmTreeNode* const child = lane.layer->getChild(i);
                                 const DmSegmentNode* const segment = dmSegment(child);
                                 const DmTransitionNode* const transition = dmTransition(child);
                                 if (segment && segment->getMediaType() != type)
                                     run.add(cut, lane, i, text("a segment", segment->getMediaType(), type));
                                 if (transition && transition->getMediaType() != type)
                                     run.add(cut, lane, i, text("a transition", transition->getMediaType(), type));
                                 if (const auto* const mix = dynamic_cast<const DmTrxEffectNode*>(transition);
                                     mix && mix->getEffect() && mix->getEffect()->getMediaType() != mix->getMediaType())
                                     run.add(cut, lane, i,
                                             text("an effect", mix->getEffect()->getMediaType(), mix->getMediaType()));
                                 for (int j = 0; segment && j < segment->getEffects().count(); ++j)
                                     if (const DmEffectSettings* const effect = segment->getEffects().at(j);
                                         effect && effect->getMediaType() != segment->getMediaType())
                                         run.add(cut, lane, i,
                                                 text("an effect", effect->getMediaType(), segment->getMediaType()))
                                             ->nodePath += "/effects[" + std::to_string(j) + ']';
                             }
                         });
         }},
        {.code = "DM103",
         .name = "missing-transition",
         .severity = DmFinding::Error,
         .line = "segments without a cut or a transition between them",
         .why = "Between two segments of a layer stands a cut, or an effect that takes time.",
         .example = "AAAABBBB   with nothing between     found\nAAAA|BBBB                           fine",
         .mending = "Put a cut between them. `--fix` does it.",
         .find =
             [](DmRuleRun& run)
         {
             forEachLane(run,
                         [&run](const DmCutView& cut, const DmLaneView& lane)
                         {
                             for (int i = 1; i < lane.layer->getNbChildren(); ++i)
                             {
                                 DmTreeNode* const behind = lane.layer->getChild(i);
                                 if (!dmSegment(behind) || !dmSegment(lane.layer->getChild(i - 1)))
                                     continue;
                                 run.add(cut, lane, i, "Between it and the segment in front a cut is missing")
                                     .mend(Mending::Safe,
                                           [layer = dmToChange(lane.layer), next = dmToChange(dmSegment(behind))] {
                                               return insertBefore(
                                                   *layer, next.get(),
                                                   DmCutNode::create(next->getMediaType(), next->getRecIn()));
                                           });
                             }
                         });
         }},
        {.code = "DM104",
         .name = "missing-segment",
         .severity = DmFinding::Error,
         .line = "transitions without a segment on both sides",
         .why = "A transition leads from one segment to another; from or to nothing, a gap of no length stands there.",
         .example = "AAAA//     and nothing behind       found\nAAAA//.    a gap of no length       fine",
         .mending = "Put a gap of no length there, or take the transition away. `--fix` puts the gap.",
         .find =
             [](DmRuleRun& run)
         {
             forEachTransition(
                 run,
                 [&run](const DmCutView& cut, const DmLaneView& lane, int i, const DmTransitionNode& transition,
                        const DmSegmentNode* previous, const DmSegmentNode* next)
                 {
                     const bool isLast = i + 1 == lane.layer->getNbChildren();
                     if (!previous && (i == 0 || dmTransition(lane.layer->getChild(i - 1))))
                         run.add(cut, lane, i, "In front of the transition a segment is missing")
                             .mend(Mending::Safe,
                                   [layer = dmToChange(lane.layer), at = dmToChange(&transition)] {
                                       return insertBefore(*layer, at.get(),
                                                           DmGapNode::create(at->getMediaType(), at->getRecIn(), 0.0));
                                   });
                     if (!next && isLast)
                         run.add(cut, lane, i, "Behind the transition a segment is missing")
                             .mend(Mending::Safe,
                                   [layer = dmToChange(lane.layer), at = dmToChange(&transition)] {
                                       return insertBefore(*layer, nullptr,
                                                           DmGapNode::create(at->getMediaType(), at->getRecOut(), 0.0));
                                   });
                 });
         }},
        {.code = "DM105",
         .name = "missing-effect",
         .severity = DmFinding::Error,
         .line = "effects that are not there",
         .why = "A transition that takes time says by which effect; a list of effects has no empty places.",
         .example = "a transition without an effect      found\na cut                               fine",
         .mending = "Give it an effect, or make a cut of it.",
         .find =
             [](DmRuleRun& run)
         {
             forEachTransition(run,
                               [&run](const DmCutView& cut, const DmLaneView& lane, int i,
                                      const DmTransitionNode& transition, const DmSegmentNode*, const DmSegmentNode*)
                               {
                                   const auto* const mix = dynamic_cast<const DmTrxEffectNode*>(&transition);
                                   if (mix && !mix->getEffect())
                                       run.add(cut, lane, i, "The transition has no effect");
                               });
             forEachSegment(
                 run,
                 [&run](const DmCutView& cut, const DmLaneView& lane, const DmShotView& shot,
                        const DmSegmentNode& segment)
                 {
                     for (int i = 0; i < segment.getEffects().count(); ++i)
                         if (!segment.getEffects().at(i))
                             run.add(cut, lane, shot.position, "An effect of the list is not there")->nodePath +=
                                 "/effects[" + std::to_string(i) + ']';
                 });
         }},
        {.code = "DM106",
         .name = "no-length",
         .severity = DmFinding::Error,
         .line = "segments that last no frame",
         .why = "A segment that is no gap plays for a frame at least. One of less is seen by nobody, and lists refuse "
                "it.",
         .example = "a shot of 0 frames                  found\na gap of 0 frames, a shot of 1      fine",
         .mending = "Take it out. `--unsafe-fixes` does it, with the transition behind it.",
         .find =
             [](DmRuleRun& run)
         {
             forEachSegment(run,
                            [&run](const DmCutView& cut, const DmLaneView& lane, const DmShotView& shot,
                                   const DmSegmentNode& segment)
                            {
                                const double length = segment.getRecLength();
                                const bool isGap = segment.whatIs() == DM_GAP_NODE;
                                if (isGap ? !(length < 0.0) : (!isNoLength(length) || !std::isfinite(length)))
                                    return;
                                const auto added = run.add(cut, lane, shot.position,
                                                           length < 0.0 ? "It ends before it begins: its length is " +
                                                                              dmLengthText(length, cut.fcm)
                                                                        : std::string("It lasts no frame"));
                                DmTreeNode* const behind = lane.layer->getChild(shot.position + 1);
                                if (shot.mixBefore == 0.0 && shot.mixBehind == 0.0)
                                    added.mend(Mending::Unsafe,
                                               [layer = dmToChange(lane.layer), node = dmToChange(&segment),
                                                cutBehind = dmToChange(dmTransition(behind))]
                                               {
                                                   const eDmErrorId status =
                                                       cutBehind ? removeFrom(*layer, cutBehind.get()) : DM_NO_ERROR;
                                                   return status == DM_NO_ERROR ? removeFrom(*layer, node.get())
                                                                                : status;
                                               });
                            });
         }},
        {.code = "DM107",
         .name = "no-input",
         .severity = DmFinding::Error,
         .line = "sources and containers without anything to play",
         .why = "A source plays an input, a container a composition: without one there is nothing to see or to hear.",
         .example = "a source without input              found\na gap                               fine",
         .mending = "Say what it plays, or make a gap of it. `--unsafe-fixes` makes a gap.",
         .find =
             [](DmRuleRun& run)
         {
             forEachSegment(
                 run,
                 [&run](const DmCutView& cut, const DmLaneView& lane, const DmShotView& shot,
                        const DmSegmentNode& segment)
                 {
                     const auto* const source = dynamic_cast<const DmSourceNode*>(&segment);
                     const bool isContainer = segment.whatIs() == DM_CONTAINER_NODE;
                     if ((!source || source->getSrcInput()) && (!isContainer || segment.getNestedComposition()))
                         return;
                     run.add(cut, lane, shot.position,
                             isContainer ? "The container holds no composition" : "The source has no input")
                         .mend(Mending::Unsafe,
                               [layer = dmToChange(lane.layer), node = dmToChange(&segment)]
                               {
                                   const eDmErrorId status = insertBefore(
                                       *layer, node.get(),
                                       DmGapNode::create(node->getMediaType(), node->getRecIn(), node->getRecLength()));
                                   return status == DM_NO_ERROR ? removeFrom(*layer, node.get()) : status;
                               });
                 });
         }},
        {.code = "DM108",
         .name = "below-itself",
         .severity = DmFinding::Error,
         .line = "nodes that stand below themselves, or too deep",
         .why = "A composition that holds itself, on whatever way, has no end; one nested deeper than documents go "
                "cannot be saved.",
         .example = "a container whose composition holds the container   found\none composition in two containers      "
                    "             "
                    "fine",
         .mending = "Take it out of itself.",
         .find =
             [](DmRuleRun& run)
         {
             for (const DmCutViews::NotFollowed& each : run.views().notFollowed())
                 run.add(each.path,
                         each.why == DmNotFollowed::TooDeep ? "It is nested too deep" : "It stands below itself")
                     ->clip = each.node->getName() == L"untitled" ? "" : dmUtf8(each.node->getName());
         }},
        {.code = "DM109",
         .name = "transition-length",
         .severity = DmFinding::Error,
         .line = "transitions that do not fill the time between their segments",
         .why = "A transition takes the record time between the segments beside it. Another length makes two truths of "
                "when it plays. An error where the composition's origin asks for it, or with `--all`, else a warning.",
         .example = "AAAA//BBBB of which it says 3       found\nAAAA//BBBB of which it says 2       fine",
         .mending = "Give it the time between them. `--fix` does it.",
         .find =
             [](DmRuleRun& run)
         {
             forEachTransition(
                 run,
                 [&run](const DmCutView& cut, const DmLaneView& lane, int i, const DmTransitionNode& transition,
                        const DmSegmentNode* previous, const DmSegmentNode* next)
                 {
                     if (transition.whatIs() != DM_TRX_EFFECT_NODE || !previous || !next ||
                         reachesBeyond(transition, *previous, *next))
                         return;
                     const double between = next->getRecIn() - previous->getRecOut();
                     const bool isElsewhere =
                         std::isfinite(between) && !dmSameTime(transition.getRecIn(), previous->getRecOut());
                     const bool isOther = !dmSameTime(between, transition.getRecLength());
                     if (!isElsewhere && !isOther)
                         return;
                     const auto added =
                         run.add(cut, lane, i,
                                 isOther ? "The transition says " + dmLengthText(transition.getRecLength(), cut.fcm) +
                                               " and takes " + dmLengthText(between, cut.fcm)
                                         : "The transition says that it begins at " +
                                               cut.composition->getRecordLabel(transition.getRecIn()) +
                                               ", which is not where " + "the segment in front of it ends");
                     added->severity = isOther ? run.strictSeverity(cut) : DmFinding::Warning;
                     if (between >= 0.0)
                         added.mend(Mending::Safe,
                                    [node = dmToChange(&transition), in = previous->getRecOut(), between]
                                    {
                                        const eDmErrorId status = node->setRecIn(in);
                                        return status == DM_NO_ERROR ? node->setRecLength(between) : status;
                                    });
                 });
         }},
        {.code = "DM110",
         .name = "overlap",
         .severity = DmFinding::Error,
         .line = "segments that begin before the one in front of them has ended",
         .why = "A layer plays one thing at a time: of two, nobody knows which. An error where the composition's "
                "origin asks for it, or with `--all`, else a warning.",
         .example = "A to 100, then B from 95            found\nA to 100, then B from 100           fine",
         .mending = "Trim one of them, or move one to another layer. `--unsafe-fixes` ends the one in front earlier.",
         .find =
             [](DmRuleRun& run)
         {
             forEachLane(
                 run,
                 [&run](const DmCutView& cut, const DmLaneView& lane)
                 {
                     const DmSegmentNode* previous = nullptr;
                     for (const DmShotView& shot : lane.shots)
                     {
                         const DmSegmentNode* const segment = dmSegment(lane.layer->getChild(shot.position));
                         if (previous && segment->getRecIn() < previous->getRecOut() - dmTimeTolerance)
                         {
                             const auto added = run.add(
                                 cut, lane, shot.position,
                                 "It begins " + dmLengthText(previous->getRecOut() - segment->getRecIn(), cut.fcm) +
                                     " before the segment in front of it has ended");
                             added->severity = run.strictSeverity(cut);
                             if (segment->getRecIn() - previous->getRecIn() >= 1.0)
                                 added.mend(Mending::Unsafe, [node = dmToChange(previous), out = segment->getRecIn()]
                                            { return node->setRecLength(out - node->getRecIn()); });
                         }
                         previous = segment;
                     }
                 });
         }},
        {.code = "DM111",
         .name = "id-twice",
         .severity = DmFinding::Error,
         .line = "segment ids that another segment of the composition has",
         .why = "An id finds a segment: for lists that are compared, for notes, for what was derived from it. With two "
                "of them it finds the first. An error where the composition's origin asks for it, or with `--all`, "
                "else a warning.",
         .example =
             "two segments \"a7\", on one track or two            found\n\"a7\" in two compositions            fine",
         .mending = "Give the second one another id; the one that it had is kept among its previous ids. `--fix` does "
                    "it.",
         .find =
             [](DmRuleRun& run)
         {
             for (const DmCutView& cut : run.cuts())
             {
                 std::unordered_map<std::wstring_view, const DmSegmentNode*> first;
                 for (const DmLaneView& lane : cut.lanes)
                     for (const DmShotView& shot : lane.shots)
                     {
                         const DmSegmentNode* const segment = dmSegment(lane.layer->getChild(shot.position));
                         const DmString& id = segment->getSegmentId();
                         if (id.empty() || first.try_emplace(id.view(), segment).second)
                             continue;
                         const DmSegmentNode& other = *first[id.view()];
                         const auto added = run.add(cut, lane, shot.position,
                                                    "Its id \"" + dmUtf8(id) + "\" is that of the segment at " +
                                                        cut.composition->getRecordLabel(other.getRecIn()) + ", too");
                         added->severity = run.strictSeverity(cut);
                         if (&other != segment) // one node in two places has one id
                             added.mend(Mending::Safe,
                                        [node = dmToChange(segment)]
                                        {
                                            const DmString before = node->getSegmentId();
                                            const eDmErrorId status = node->setSegmentId(freshId(before));
                                            return status == DM_NO_ERROR ? node->addSegmentPreviousId(before) : status;
                                        });
                     }
             }
         }},
        {.code = "DM112",
         .name = "hole",
         .line = "stretches of a layer that nothing fills",
         .why = "Time in which nothing plays is a gap. Where nothing stands, one program shows black, another closes "
                "the hole, and every shot behind it moves.",
         .example = "A to 100, then B from 110           found\nA to 100, a gap, B from 110         fine",
         .mending = "Put a gap there. `--fix` does it.",
         .find =
             [](DmRuleRun& run)
         {
             forEachLane(
                 run,
                 [&run](const DmCutView& cut, const DmLaneView& lane)
                 {
                     double end = lane.layer->getLayerStartTC();
                     bool isTransition = false;
                     for (int i = 0; i < lane.layer->getNbChildren(); ++i)
                     {
                         DmTreeNode* const child = lane.layer->getChild(i);
                         if (const DmTransitionNode* const transition = dmTransition(child))
                             isTransition = transition->whatIs() == DM_TRX_EFFECT_NODE;
                         const DmSegmentNode* const segment = dmSegment(child);
                         if (!segment)
                             continue;
                         // Without a length, the layer does not say where it begins.
                         const bool isSaid = i != 0 || lane.layer->getLayerLength() > 0.0;
                         if (isSaid && !isTransition && isHole(end, segment->getRecIn()))
                             run.add(cut, lane, i,
                                     "In front of it nothing fills " + dmLengthText(segment->getRecIn() - end, cut.fcm))
                                 .mend(Mending::Safe,
                                       [layer = dmToChange(lane.layer), node = dmToChange(segment), end]
                                       {
                                           const eDmErrorId status = insertBefore(
                                               *layer, node.get(),
                                               DmGapNode::create(node->getMediaType(), end, node->getRecIn() - end));
                                           return status == DM_NO_ERROR
                                                      ? insertBefore(
                                                            *layer, node.get(),
                                                            DmCutNode::create(node->getMediaType(), node->getRecIn()))
                                                      : status;
                                       });
                         end = segment->getRecOut();
                         isTransition = false;
                     }
                 });
         }},
        {.code = "DM113",
         .name = "cut-place",
         .line = "cuts with a length, or at another time than their seam",
         .why = "A cut has no length and stands where the segment in front of it ends. What else it says is passed on "
                "to programs that believe it.",
         .example = "a cut that lasts 2 frames           found\na cut of no length at the seam      fine",
         .mending = "Put it on the seam. `--fix` does it.",
         .find =
             [](DmRuleRun& run)
         {
             forEachTransition(
                 run,
                 [&run](const DmCutView& cut, const DmLaneView& lane, int i, const DmTransitionNode& transition,
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
                                 ? "The cut says that it is at " +
                                       cut.composition->getRecordLabel(transition.getRecIn()) +
                                       ", and the segment in front of it ends at " +
                                       cut.composition->getRecordLabel(previous->getRecOut())
                                 : "The cut says that it lasts " + dmLengthText(transition.getRecLength(), cut.fcm))
                         .mend(Mending::Safe,
                               [node = dmToChange(&transition), at = previous->getRecOut()]
                               {
                                   const eDmErrorId status = node->setRecIn(at);
                                   return status == DM_NO_ERROR ? node->setRecLength(0.0) : status;
                               });
                 });
         }},
        {.code = "DM114",
         .name = "transition-too-long",
         .line = "transitions that are longer than the shots beside them",
         .why = "A transition that reaches beyond the far end of a shot beside it mixes with something that plays no "
                "more, or not yet.",
         .example =
             "a dissolve of 20 frames into a shot of 12   found\none of 12 frames into it                    fine",
         .mending = "Shorten it, or lengthen the shot.",
         .find =
             [](DmRuleRun& run)
         {
             forEachTransition(
                 run,
                 [&run](const DmCutView& cut, const DmLaneView& lane, int i, const DmTransitionNode& transition,
                        const DmSegmentNode* previous, const DmSegmentNode* next)
                 {
                     if (transition.whatIs() != DM_TRX_EFFECT_NODE || !previous || !next ||
                         !reachesBeyond(transition, *previous, *next))
                         return;
                     const double between = next->getRecIn() - previous->getRecOut();
                     const auto added =
                         run.add(cut, lane, i,
                                 "The transition lasts " + dmLengthText(transition.getRecLength(), cut.fcm) +
                                     ", longer than a shot beside it");
                     if (!dmSameTime(between, transition.getRecLength()))
                         added->severity = run.strictSeverity(cut);
                 });
         }},
        {.code = "DM115",
         .name = "layer-extent",
         .line = "layers that end before what stands in them, or begin behind it",
         .why = "A layer says where it begins and how long it is. What stands outside is cut off by programs that "
                "believe it.",
         .example = "a layer of 100 frames, a shot to 120   found\na layer of 120 frames, a shot to 120   fine",
         .mending = "Set begin and length to what stands in it. `--fix` does it.",
         .find =
             [](DmRuleRun& run)
         {
             forEachLane(
                 run,
                 [&run](const DmCutView& cut, const DmLaneView& lane)
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
                 });
         }},
        {.code = "DM116",
         .name = "composition-length",
         .line = "compositions shorter or longer than their tracks",
         .why = "A composition that is shorter than its tracks loses their end where it is nested or rendered; one "
                "that is longer shows black.",
         .example = "100 frames, tracks of 120           found\n120 frames, tracks of 120 and 90    fine",
         .mending = "Set its length to that of its longest track. `--fix` does it.",
         .find =
             [](DmRuleRun& run)
         {
             for (const DmCutView& cut : run.cuts())
             {
                 Extent extent;
                 for (const DmLaneView& lane : cut.lanes)
                     if (const Extent each = extentOf(lane); !each.isEmpty)
                         extent.add(each.begin, each.end);
                 const double said = cut.composition->getCompLength();
                 const double length = extent.end - cut.composition->getRecordStart();
                 if (extent.isEmpty || !extent.isFinite() || said == 0.0 || !(length > 0.0) || dmSameTime(said, length))
                     continue;
                 run.add(cut, "The composition says " + dmLengthText(said, cut.fcm) + ", its tracks are " +
                                  dmLengthText(length, cut.fcm))
                     .mend(Mending::Safe, [composition = dmToChange(cut.composition), length]
                           { return composition->setCompLength(length); });
             }
         }},
        {.code = "DM117",
         .name = "not-a-time",
         .severity = DmFinding::Error,
         .line = "times that are no numbers, or beyond what labels can say",
         .why = "No program finds a frame at such a time, and a label has two digits for its hours.",
         .example = "a shot at 2147483647                found\na shot at 23:59:59:24               fine",
         .mending = "Find out what was meant.",
         .find =
             [](DmRuleRun& run)
         {
             constexpr double hours = 100.0 * 3600.0;
             forEachLane(run,
                         [&run](const DmCutView& cut, const DmLaneView& lane)
                         {
                             unsigned num = 0;
                             unsigned den = 1;
                             const bool hasRate = DM::FcmUtil::getRational(cut.fcm, num, den, false) && den != 0;
                             const double most = hours * (hasRate ? static_cast<double>(num) / den : 120.0);
                             const auto look = [&](int i, const char* what, double time)
                             {
                                 if (!std::isfinite(time))
                                     run.add(cut, lane, i, std::string(what) + " is no number")->record = "";
                                 else if (std::abs(time) >= most)
                                     run.add(cut, lane, i, std::string(what) + " is beyond what labels can say");
                                 else
                                     return true;
                                 return false;
                             };
                             for (int i = 0; i < lane.layer->getNbChildren(); ++i)
                             {
                                 DmTreeNode* const child = lane.layer->getChild(i);
                                 static_cast<void>(dmWithElement(child,
                                                                 [&](const auto& element)
                                                                 {
                                                                     look(i, "Its record time", element.getRecIn()) &&
                                                                         look(i, "Its length",
                                                                              element.getRecLength()) &&
                                                                         look(i, "Its in-time", element.getRelIn());
                                                                     return DM_NO_ERROR;
                                                                 })); // what is neither is another rule's
                             }
                         });
         }},
        {.code = "DM118",
         .name = "source-length",
         .severity = DmFinding::Error,
         .line = "in-times and lengths that do not fit what the source says of its length, speeds aside",
         .why = "A valid structure has \"relIn\" + \"recLength\" within \"srcLength\", as plain numbers. Where that "
                "is broken and all that plays is there nevertheless, or nobody knows, programs that check it refuse "
                "the document.",
         .example = "100 frames at 50 %, \"srcLength\" 50  found\n100 frames at 50 %, \"srcLength\" 100 fine",
         .mending = "Raise the source's length, and say in its entry \"materialLength\" how long the file is.",
         .find =
             [](DmRuleRun& run)
         {
             constexpr double tolerance = 1e-4;
             forEachSegment(run,
                            [&run](const DmCutView& cut, const DmLaneView& lane, const DmShotView& shot,
                                   const DmSegmentNode& segment)
                            {
                                const auto* const source = dynamic_cast<const DmSourceNode*>(&segment);
                                const DmSourceNode::Input* const input = source ? source->getSrcInput() : nullptr;
                                const double length = input ? input->getSrcLength() : 0.0;
                                if (!(length > 1.0) ||
                                    source->getRelIn() + source->getRecLength() - length <= tolerance)
                                    return;
                                if (!dmPlaysBeyond(shot) && std::isfinite(source->getRelIn() + source->getRecLength()))
                                    run.add(cut, lane, shot.position,
                                            "Its in-time and length come to " +
                                                dmLengthText(source->getRelIn() + source->getRecLength(), cut.fcm) +
                                                ", and its source says " + dmLengthText(length, cut.fcm));
                            });
         }},
    };
    return rules;
}
