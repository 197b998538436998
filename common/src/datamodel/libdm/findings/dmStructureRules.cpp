// Rules about the structure of a tree that a validation has as well (dmTreeUtil.h).
#include "dmFirstsImp.h"
#include "dmMendImp.h"
#include "dmRulesImp.h"

#include "dmADissolveSettings.h"
#include "dmCutNode.h"
#include "dmGapNode.h"
#include "dmMediaType.h"
#include "dmSourceInput.h"
#include "dmTrxEffectNode.h"
#include "dmUtf8.h"
#include "dmVDissolveSettings.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>
#include <string>

namespace
{

using Mending = DmRuleRun::Mending;

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

const DmEffectSettings* effectOf(const DmTransitionNode* transition)
{
    return transition && transition->whatIs() == DM_TRX_EFFECT_NODE
               ? static_cast<const DmTrxEffectNode*>(transition)->getEffect()
               : nullptr;
}

CoSharedPtr<DmEffectSettings> dissolveOf(eDmTreeMediaType type)
{
    return type == DM_MEDIA_AUDIO ? CoSharedPtr<DmEffectSettings>(DmADissolveSettings::create())
                                  : CoSharedPtr<DmEffectSettings>(DmVDissolveSettings::create());
}

/// The length that rounds to no frame.
bool isNoLength(double length)
{
    return !(length >= 0.5);
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
         .mending =
             "Take it out, or put it where it belongs. `--fix` takes out what is nothing, `--unsafe-fixes` the rest.",
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
                     add(at, child ? std::string(what) : "Nothing stands here")
                         .mend(child ? Mending::Unsafe : Mending::Safe,
                               [holder = dmToChange(dynamic_cast<const DmCollectionNode*>(&parent)),
                                node = CoSharedPtr<const DmTreeNode>(child)] { return dmRemove(*holder, node.get()); });
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
                     [&run](const std::string& path, std::string text) { return run.add(path, std::move(text)); });
             for (const DmCutView& cut : run.cuts())
             {
                 const auto addTo = [&](const std::string& path, std::string text)
                 {
                     const auto added = run.add(cut, std::move(text));
                     added->nodePath = path;
                     return added;
                 };
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
             }
             run.eachElement(
                 [](DmRuleRun& each, const DmCutView& cut, const DmLaneView& lane, int i)
                 {
                     if (const DmElementView child = lane.at(i); !child.segment && !child.transition)
                         each.add(cut, lane, i,
                                  child.node ? "A layer holds segments and transitions only" : "Nothing stands here")
                             .mend(child.node ? Mending::Unsafe : Mending::Safe,
                                   [layer = dmToChange(lane.layer), node = CoSharedPtr<const DmTreeNode>(child.node)]
                                   { return dmRemove(*layer, node.get()); });
                 });
         }},
        {.code = "DM102",
         .name = "media-type",
         .severity = DmFinding::Error,
         .line = "picture among sound, and sound among picture",
         .why = "All that stands in a track is of the track's media type: what is not is played by nobody.",
         .example = "a sound effect on a picture         found\na sound effect on sound             fine",
         .mending =
             "Move it to a track of its own kind. `--unsafe-fixes` takes effects of the other kind from segments and "
             "gives transitions the layer's type; whether a segment or its track is wrong, nobody but a person "
             "knows.",
         .find =
             [](DmRuleRun& run)
         {
             static constexpr auto text = [](const char* what, eDmTreeMediaType is, eDmTreeMediaType among)
             {
                 return std::string(what) + " of media type \"" + dmMediaTypeText(is) + "\" stands in \"" +
                        dmMediaTypeText(among) + '"';
             };
             dmEachLane(
                 [](DmRuleRun& each, const DmCutView& cut, const DmLaneView& lane)
                 {
                     if (lane.layer->getMediaType() != lane.track->getMediaType())
                         each.add(cut, lane, text("a layer", lane.layer->getMediaType(), lane.track->getMediaType()));
                 })(run);
             run.eachElement(
                 [](DmRuleRun& each, const DmCutView& cut, const DmLaneView& lane, int i)
                 {
                     const eDmTreeMediaType type = lane.layer->getMediaType();
                     const auto [node, segment, transition] = lane.at(i);
                     if (segment && segment->getMediaType() != type)
                         each.add(cut, lane, i, text("a segment", segment->getMediaType(), type));
                     if (transition && transition->getMediaType() != type)
                         each.add(cut, lane, i, text("a transition", transition->getMediaType(), type))
                             .mend(Mending::Unsafe,
                                   [to = dmToChange(transition), type] { return to->setMediaType(type); });
                     const DmEffectSettings* const effect = effectOf(transition);
                     if (effect && effect->getMediaType() != transition->getMediaType())
                         each.add(cut, lane, i, text("an effect", effect->getMediaType(), transition->getMediaType()));
                     for (int j = 0; segment && j < segment->getEffects().count(); ++j)
                         if (const DmEffectSettings* const own = segment->getEffects().at(j);
                             own && own->getMediaType() != segment->getMediaType())
                         {
                             const auto added = each.add(
                                 cut, lane, i, text("an effect", own->getMediaType(), segment->getMediaType()));
                             added->nodePath += "/effects[" + std::to_string(j) + ']';
                             added.mend(Mending::Unsafe, [of = dmToChange(segment), j] { return of->removeEffect(j); });
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
         .find = dmEachShot(
             [](DmRuleRun& run, const DmCutView& cut, const DmLaneView& lane, const DmShotView& shot)
             {
                 if (lane.at(shot.position - 1).segment)
                     run.add(cut, lane, shot.position, "Between it and the segment in front a cut is missing")
                         .mend(Mending::Safe,
                               [layer = dmToChange(lane.layer), next = dmToChange(shot.standing)] {
                                   return dmInsertBefore(*layer, next.get(),
                                                         DmCutNode::create(layer->getMediaType(), next->getRecIn()));
                               });
             })},
        {.code = "DM104",
         .name = "missing-segment",
         .severity = DmFinding::Error,
         .line = "transitions without a segment on both sides",
         .why = "A transition leads from one segment to another; from or to nothing, a gap of no length stands there.",
         .example = "AAAA//     and nothing behind       found\nAAAA//.    a gap of no length       fine",
         .mending = "Put a gap of no length there, or take the transition away. `--fix` puts the gap.",
         .find = dmEachTransition(
             [](DmRuleRun& run, const DmCutView& cut, const DmLaneView& lane, int i, const DmTransitionNode& transition,
                const DmSegmentNode* previous, const DmSegmentNode* next)
             {
                 const bool isLast = i + 1 == static_cast<int>(lane.elements.size());
                 if (!previous && (i == 0 || lane.at(i - 1).transition))
                     run.add(cut, lane, i, "In front of the transition a segment is missing")
                         .mend(Mending::Safe,
                               [layer = dmToChange(lane.layer), at = dmToChange(&transition)] {
                                   return dmInsertBefore(*layer, at.get(),
                                                         DmGapNode::create(layer->getMediaType(), at->getRecIn(), 0.0));
                               });
                 if (!next && isLast)
                     run.add(cut, lane, i, "Behind the transition a segment is missing")
                         .mend(Mending::Safe,
                               [layer = dmToChange(lane.layer), at = dmToChange(&transition)] {
                                   return dmInsertBefore(
                                       *layer, nullptr, DmGapNode::create(layer->getMediaType(), at->getRecOut(), 0.0));
                               });
             })},
        {.code = "DM105",
         .name = "missing-effect",
         .severity = DmFinding::Error,
         .line = "effects that are not there",
         .why = "A transition that takes time says by which effect; a list of effects has no empty places.",
         .example = "a transition without an effect      found\na cut                               fine",
         .mending = "Give it an effect, or make a cut of it. `--fix` takes empty places out of lists of effects, "
                    "`--unsafe-fixes` makes a dissolve of a transition.",
         .find =
             [](DmRuleRun& run)
         {
             dmEachTransition(
                 [](DmRuleRun& each, const DmCutView& cut, const DmLaneView& lane, int i,
                    const DmTransitionNode& transition, const DmSegmentNode*, const DmSegmentNode*)
                 {
                     if (transition.whatIs() == DM_TRX_EFFECT_NODE && !effectOf(&transition))
                         each.add(cut, lane, i, "The transition has no effect")
                             .mend(Mending::Unsafe, [mix = dmToChange(static_cast<const DmTrxEffectNode*>(&transition))]
                                   { return mix->setEffect(dissolveOf(mix->getMediaType())); });
                 })(run);
             dmEachShot(
                 [](DmRuleRun& each, const DmCutView& cut, const DmLaneView& lane, const DmShotView& shot)
                 {
                     for (int i = 0; i < shot.standing->getEffects().count(); ++i)
                         if (!shot.standing->getEffects().at(i))
                         {
                             const auto added =
                                 each.add(cut, lane, shot.position, "An effect of the list is not there");
                             added->nodePath += "/effects[" + std::to_string(i) + ']';
                             added.mend(Mending::Safe,
                                        [of = dmToChange(shot.standing), i] { return of->removeEffect(i); });
                         }
                 })(run);
         }},
        {.code = "DM106",
         .name = "no-length",
         .severity = DmFinding::Error,
         .line = "segments that last no frame",
         .why = "A segment that is no gap plays for a frame at least. One of less is seen by nobody, and lists refuse "
                "it.",
         .example = "a shot of 0 frames                  found\na gap of 0 frames, a shot of 1      fine",
         .mending = "Take it out. `--unsafe-fixes` does it, with the transition behind it.",
         .find = dmEachShot(
             [](DmRuleRun& run, const DmCutView& cut, const DmLaneView& lane, const DmShotView& shot)
             {
                 const DmSegmentNode& segment = *shot.standing;
                 const double length = segment.getRecLength();
                 const bool isGap = segment.whatIs() == DM_GAP_NODE;
                 if (isGap ? !(length < 0.0) : (!isNoLength(length) || !std::isfinite(length)))
                     return;
                 const auto added =
                     run.add(cut, lane, shot.position,
                             length < 0.0 ? "It ends before it begins: its length is " + dmLengthText(length, cut.fcm)
                                          : std::string("It lasts no frame"));
                 const DmTransitionNode* const behind = lane.at(shot.position + 1).transition;
                 if (shot.mixBefore == 0.0 && shot.mixBehind == 0.0)
                     added.mend(
                         Mending::Unsafe,
                         [layer = dmToChange(lane.layer), node = dmToChange(&segment), cutBehind = dmToChange(behind)]
                         {
                             const eDmErrorId status = cutBehind ? dmRemove(*layer, cutBehind.get()) : DM_NO_ERROR;
                             return status == DM_NO_ERROR ? dmRemove(*layer, node.get()) : status;
                         });
             })},
        {.code = "DM107",
         .name = "no-input",
         .severity = DmFinding::Error,
         .line = "sources and containers without anything to play",
         .why = "A source plays an input, a container a composition: without one there is nothing to see or to hear.",
         .example = "a source without input              found\na gap                               fine",
         .mending = "Say what it plays, or make a gap of it. `--unsafe-fixes` makes a gap.",
         .find = dmEachShot(
             [](DmRuleRun& run, const DmCutView& cut, const DmLaneView& lane, const DmShotView& shot)
             {
                 const DmSegmentNode& segment = *shot.standing;
                 const bool isContainer = segment.whatIs() == DM_CONTAINER_NODE;
                 if ((segment.whatIs() != DM_SOURCE_NODE || static_cast<const DmSourceNode&>(segment).getSrcInput()) &&
                     (!isContainer || segment.getNestedComposition()))
                     return;
                 run.add(cut, lane, shot.position,
                         isContainer ? "The container holds no composition" : "The source has no input")
                     .mend(Mending::Unsafe, [layer = dmToChange(lane.layer), node = dmToChange(&segment)]
                           { return dmMakeGap(*layer, *node); });
             })},
        {.code = "DM108",
         .name = "below-itself",
         .severity = DmFinding::Error,
         .line = "nodes that stand below themselves, or too deep",
         .why = "A composition that holds itself, on whatever way, has no end; one nested deeper than documents go "
                "cannot be saved.",
         .example = "a container whose composition holds the container   found\none composition in two containers      "
                    "             "
                    "fine",
         .mending = "Take it out of itself. No option does it: which of the places is the wrong one, nobody but a "
                    "person knows.",
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
         .find = dmEachTransition(
             [](DmRuleRun& run, const DmCutView& cut, const DmLaneView& lane, int i, const DmTransitionNode& transition,
                const DmSegmentNode* previous, const DmSegmentNode* next)
             {
                 if (transition.whatIs() != DM_TRX_EFFECT_NODE || !previous || !next ||
                     dmReachesBeyond(transition, *previous, *next))
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
                     added.mend(Mending::Safe, [node = dmToChange(&transition), in = previous->getRecOut(), between]
                                { return dmPlace(*node, in, between); });
             })},
        {.code = "DM110",
         .name = "overlap",
         .severity = DmFinding::Error,
         .line = "segments that begin before the one in front of them has ended",
         .why = "A layer plays one thing at a time: of two, nobody knows which. An error where the composition's "
                "origin asks for it, or with `--all`, else a warning.",
         .example = "A to 100, then B from 95            found\nA to 100, then B from 100           fine",
         .mending = "Trim one of them, or move one to another layer. `--unsafe-fixes` ends the one in front earlier.",
         .find = dmEachShot(
             [](DmRuleRun& run, const DmCutView& cut, const DmLaneView& lane, const DmShotView& shot)
             {
                 const DmShotView* const previous = dmInFrontOf(lane, shot);
                 if (!previous || !(shot.recIn < previous->recOut - dmTimeTolerance))
                     return;
                 const auto added = run.add(cut, lane, shot.position,
                                            "It begins " + dmLengthText(previous->recOut - shot.recIn, cut.fcm) +
                                                " before the segment in front of it has ended");
                 added->severity = run.strictSeverity(cut);
                 if (shot.recIn - previous->recIn >= 1.0)
                     added.mend(Mending::Unsafe, [node = dmToChange(previous->standing), out = shot.recIn]
                                { return node->setRecLength(out - node->getRecIn()); });
             })},
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
         .find = dmEachCut(
             [](DmRuleRun& run, const DmCutView& cut)
             {
                 DmFirsts<const DmSegmentNode*> firsts(dmCountShots(cut));
                 for (const DmLaneView& lane : cut.lanes)
                     for (const DmShotView& shot : lane.shots)
                     {
                         const DmSegmentNode* const segment = shot.standing;
                         const DmString& id = segment->getSegmentId();
                         const DmSegmentNode* const* const first =
                             id.empty() ? nullptr : firsts.add({.text = id.view()}, segment);
                         if (!first)
                             continue;
                         const DmSegmentNode& other = **first;
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
             })},
    };
    return rules;
}
