#include "icMisplaced.h"

#include "dmTrackNode.h"

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

} // namespace interchange
