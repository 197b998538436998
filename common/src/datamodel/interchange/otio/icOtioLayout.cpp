#include "icOtioLayout.h"

#include "icMisplaced.h"
#include "icTree.h"

#include "dmCutNode.h"
#include "dmGapNode.h"
#include "dmSetTools.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace interchange::otio
{

namespace
{

constexpr double tolerance = 1e-6; ///< of frames

/// A gap that stands there for no time, and says nothing.
bool isEmptyGap(const DmTreeNode& node)
{
    const auto* const gap = node.whatIs() == DM_GAP_NODE ? static_cast<const DmGapNode*>(&node) : nullptr;
    if (!gap || gap->getRecLength() != 0 || gap->getBaseBlob())
        return false;
    const auto fresh = orBadAlloc(DmGapNode::create(gap->getMediaType(), gap->getRecIn(), 0));
    bool isEqual = false;
    return dmDeepEqual(*gap, *fresh, isEqual) == DM_NO_ERROR && isEqual;
}

/// Whether a gap of no length keeps a transition from what stands in front of it: it comes from black.
bool isMixedFrom(const DmLayerNode& layer, int index, const Layout& layout)
{
    const DmTreeNode* const behind = index + 1 < layer.getNbChildren() ? layer.getChild(index + 1) : nullptr;
    const Item* const before = layout.items.empty() ? nullptr : &layout.items.back();
    const double in = static_cast<const DmGapNode*>(layer.getChild(index))->getRecIn();
    return behind && behind->whatIs() == DM_TRX_EFFECT_NODE && before && before->segment &&
           std::abs(before->recIn() + before->recLength() - in) <= tolerance;
}

} // namespace

Layout layoutOf(const DmLayerNode& layer, double origin)
{
    Layout layout;
    const auto count = static_cast<std::size_t>(layer.getNbChildren());
    layout.items.reserve(count);
    layout.between.reserve(count);
    for (int i = 0; i < layer.getNbChildren(); ++i)
    {
        const DmTreeNode* const node = layer.getChild(i);
        if (!node)
            continue;
        const bool isMix = node->whatIs() == DM_TRX_EFFECT_NODE;
        const std::size_t before = layout.items.empty() ? 0 : layout.items.back().endOfBefore;
        Item item{node, node->asSegment(), isMix ? static_cast<const DmTrxEffectNode*>(node) : nullptr, before,
                  layout.between.size()};
        if (const DmSegmentNode* const carried = carriedBy(*node))
            item.segment = carried;
        if (node->whatIs() == DM_CUT_NODE || (isEmptyGap(*node) && !isMixedFrom(layer, i, layout)))
        {
            layout.between.push_back(node);
            continue;
        }
        if (!item.mix && (!item.segment || !node->isSegment()))
            continue;
        layout.items.push_back(item);
    }
    for (std::size_t i = 0; i + 1 < layout.items.size(); ++i)
        if (Item& item = layout.items[i]; item.mix)
            if (auto mended =
                    mendedMix(*item.mix, i > 0 ? layout.items[i - 1].node : nullptr, layout.items[i + 1].node))
            {
                item.node = item.mix = mended.get();
                layout.mended.push_back(std::move(mended));
            }
    layout.end = origin;
    for (std::size_t i = 0; i < layout.items.size(); ++i)
    {
        Item& item = layout.items[i];
        item.start = std::max(item.recIn(), layout.end);
        item.hole = item.start - layout.end > tolerance ? item.start - layout.end : 0.0;
        if (item.hole == 0)
            item.start = layout.end;
        item.length = std::max(0.0, item.recIn() + item.recLength() - item.start);
        if (std::abs(item.length - item.recLength()) <= tolerance)
            item.length = item.recLength();
        if (item.segment && item.segment != item.node && item.segment->getRecLength() < leastLength)
        {
            // It travels with a gap, and takes no time.
            item.length = item.segment->getRecLength();
            layout.end = item.start;
            continue;
        }
        const bool isCovered =
            i + 1 < layout.items.size() && item.start + item.length - layout.items[i + 1].recIn() > tolerance;
        if (isCovered)
        {
            item.length = std::max(0.0, layout.items[i + 1].recIn() - item.start);
            layout.covered.push_back(i);
        }
        layout.end = item.start + item.length;
    }
    return layout;
}

int baseLayerOf(const DmTrackNode& track)
{
    int base = -1;
    for (int i = track.getNbChildren() - 1; i >= 0; --i)
        if (const auto* const layer = dynamic_cast<const DmLayerNode*>(track.getChild(i)))
            if (base < 0 || layer->isResultLayer() || !static_cast<DmLayerNode*>(track.getChild(base))->isResultLayer())
                base = i;
    return base;
}

double originOf(const DmCompositionNode& composition)
{
    double origin = composition.getRecordStart();
    bool holdsAny = false;
    for (int i = 0; i < composition.getNbChildren(); ++i)
    {
        const DmTreeNode* const track = composition.getChild(i);
        for (int k = 0; track && k < track->getNbChildren(); ++k)
        {
            const auto* const layer = dynamic_cast<const DmLayerNode*>(track->getChild(k));
            for (int n = 0; layer && n < layer->getNbChildren(); ++n)
                if (const DmTreeNode* const node = layer->getChild(n))
                    if (const DmSegmentNode* const segment = node->asSegment())
                    {
                        origin = std::min(origin, segment->getRecIn());
                        holdsAny = true;
                    }
        }
    }
    return holdsAny ? origin : composition.getStartTC();
}

double lengthOf(const DmCompositionNode& composition, double origin)
{
    double end = origin;
    for (int i = 0; i < composition.getNbChildren(); ++i)
        if (const DmTreeNode* const track = composition.getChild(i))
            for (int k = 0; k < track->getNbChildren(); ++k)
                if (const auto* const layer = dynamic_cast<const DmLayerNode*>(track->getChild(k)))
                    end = std::max(end, layoutOf(*layer, origin).end);
    return end - origin;
}

} // namespace interchange::otio
