#include "icMisplaced.h"

#include "icTree.h"

#include "dmTrackNode.h"

#include <algorithm>
#include <cmath>

namespace interchange
{

namespace
{

constexpr Loss misplaced{"DM728", "left out"};

/// `track`: in which the node stands; null for what stands in none.
void tellChildren(const DmTreeNode& node, const DmTrackNode* track, Report& report)
{
    for (int i = 0; i < node.getNbChildren(); ++i)
    {
        const DmTreeNode* const child = node.getChild(i);
        if (!child)
            continue;
        const eDmTreeNodeClassId kind = child->whatIs();
        bool hasPlace = false;
        switch (node.whatIs())
        {
        case DM_ROOT_NODE:
            hasPlace = kind == DM_COMPOSITION_NODE || kind == DM_REEL_NODE;
            break;
        case DM_REEL_NODE:
            hasPlace = kind == DM_COMPOSITION_NODE;
            break;
        case DM_COMPOSITION_NODE:
            hasPlace = kind == DM_TRACK_NODE;
            break;
        case DM_TRACK_NODE:
            hasPlace = kind == DM_LAYER_NODE;
            break;
        default:
            hasPlace = child->asSegment() || child->asTransition();
        }
        if (!hasPlace)
        {
            report.at({.node = child,
                       .mediaType = track ? track->getMediaType() : DM_MEDIA_UNDEFINED,
                       .track = track ? track->getTrackNum() : 0});
            report.lose(misplaced);
        }
        else if (kind == DM_REEL_NODE || kind == DM_TRACK_NODE || kind == DM_LAYER_NODE)
            tellChildren(*child, kind == DM_TRACK_NODE ? static_cast<const DmTrackNode*>(child) : track, report);
    }
}

} // namespace

void tellMisplaced(const DmTreeNode& node, Report& report)
{
    tellChildren(node, nullptr, report);
    report.at({});
}

CoSharedPtr<DmTrxEffectNode> mendedMix(const DmTrxEffectNode& mix, const DmTreeNode* before, const DmTreeNode* behind)
{
    constexpr double least = 0.5;   // of frames
    constexpr double longest = 999; // frames, as lists say it
    const DmSegmentNode* const last = before ? before->asSegment() : nullptr;
    const DmSegmentNode* const next = behind ? behind->asSegment() : nullptr;
    if (!next || std::abs(mix.getRecOut() - next->getRecIn()) <= least)
        return {};
    const double between = last ? next->getRecIn() - last->getRecOut() : -1.0;
    const double length = between >= 0 && between <= longest ? between : mix.getRecLength();
    if (!std::isfinite(next->getRecIn()) || !std::isfinite(length) || length < 0)
        return {};
    const CoSharedPtr<DmPropertySet> copy = orBadAlloc(mix.clone());
    const CoSharedPtr<DmTrxEffectNode> mended(static_cast<DmTrxEffectNode*>(copy.get()));
    require(mended->setRecIn(next->getRecIn() - length));
    require(mended->setRecLength(length));
    require(mended->setRelIn(std::min(mix.getRelIn(), length)));
    return mended;
}

} // namespace interchange
