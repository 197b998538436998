/// Memory of what is looked at soon, fetched while something else is: a long cut is in no cache.
///
/// What pays for it: the validation of 300 000 plain clips takes three fifths of the time that it takes without, and
/// with places in the table of ids fetched, too, a clip among a million costs what one among 100 000 does (treeBench).
#pragma once

#include "dmElementImp.h"

namespace dmFetch
{

/// How many elements before it is looked at.
inline constexpr int ahead = 16;

/// So much as a source has, in lines of the cache.
inline void lines(const void* memory)
{
    for (int i = 0; memory && i < 3; ++i)
        __builtin_prefetch(static_cast<const char*>(memory) + i * 64);
}

inline void element(const DmTreeNode& layer, int position)
{
    lines(layer.getChild(position));
}

/// What is next in a layer: first elements, then the texts of their ids, then where a table of ids looks for them.
template <class Ids>
void elementsBehind(const DmTreeNode& layer, int position, const Ids& ids)
{
    element(layer, position + ahead);
    element(layer, position + ahead + 1); // a transition, whose visit may pass by
    if (const DmSegmentNode* const segment = dmSegment(layer.getChild(position + ahead / 2)))
        lines(segment->getSegmentId().c_str());
    if (const DmSegmentNode* const segment = dmSegment(layer.getChild(position + ahead / 4)))
        ids.fetch(segment->getSegmentId().view());
}

} // namespace dmFetch
