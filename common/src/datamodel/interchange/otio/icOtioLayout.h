/// What of a layer becomes objects of a track, and where they stand: holes between them, and what covers what.
#pragma once

#include "dmCompositionNode.h"
#include "dmLayerNode.h"
#include "dmSegmentNode.h"
#include "dmTrackNode.h"
#include "dmTrxEffectNode.h"

#include <cstddef>
#include <span>
#include <vector>

namespace interchange::otio
{

constexpr double leastLength = 0.5; ///< of a segment that a layer takes

/// What of a layer becomes an object: a segment or a transition, with what stands in front of it.
struct Item
{
    const DmTreeNode* node;       ///< on the layer
    const DmSegmentNode* segment; ///< itself, or the one that travels with a gap; null for a transition
    const DmTrxEffectNode* mix;   ///< null for a segment
    std::size_t before;           ///< where what stands in front of it begins among the layout's `between`, ...
    std::size_t endOfBefore;      ///< ... and ends
    double start = 0;             ///< in record time
    double length = 0;            ///< as it is written
    double hole = 0;              ///< in front of it

    double recIn() const { return mix ? mix->getRecIn() : static_cast<const DmSegmentNode*>(node)->getRecIn(); }
    double recLength() const { return mix ? mix->getRecLength() : segment->getRecLength(); }
};

struct Layout
{
    std::vector<Item> items;
    std::vector<const DmTreeNode*> between;           ///< what stands between the items, and behind the last of them
    double end = 0;                                   ///< in record time
    std::vector<std::size_t> covered;                 ///< items whose end a later one covers
    std::vector<CoSharedPtr<DmTrxEffectNode>> mended; ///< copies of transitions that say other times than they take

    std::span<const DmTreeNode* const> before(const Item& item) const
    {
        return std::span(between).subspan(item.before, item.endOfBefore - item.before);
    }
    std::span<const DmTreeNode* const> behind() const
    {
        return std::span(between).subspan(items.empty() ? 0 : items.back().endOfBefore);
    }
};

Layout layoutOf(const DmLayerNode& layer, double origin);

/// The one that plays: the result layer, else the first; -1 without any.
int baseLayerOf(const DmTrackNode& track);

/// Where the record time lies that objects count from: the start, or before it what begins earlier. Where nothing
/// stands, as the reader has it.
double originOf(const DmCompositionNode& composition);

/// From there to the end of the last layer.
double lengthOf(const DmCompositionNode& composition, double origin);

} // namespace interchange::otio
