/// Where layers begin that hold elements, which says what a composition's record time counts from
/// (DmCompositionNode::countsAbsolutely), for one that is about to get another track too.
#pragma once

#include "dmLayerNode.h"

#include <algorithm>
#include <cmath>
#include <limits>

class DmLayerStarts
{
public:
    explicit DmLayerStarts(const DmTreeNode& composition)
    {
        for (int i = 0; i < composition.getNbChildren(); ++i)
        {
            const DmTreeNode* const track = composition.getChild(i);
            for (int j = 0; track && j < track->getNbChildren(); ++j)
                if (const auto* const layer = dynamic_cast<const DmLayerNode*>(track->getChild(j)))
                    add(*layer, layer->getLayerStartTC());
        }
    }

    /// A layer that begins, or is about to begin, at `start`.
    void add(const DmLayerNode& layer, double start)
    {
        if (layer.getNbChildren() > 0)
            _least = std::min(_least, start);
    }
    /// The least one lies nearer to the start time code than to 0.
    bool areAbsolute(double startTC) const { return std::abs(_least - startTC) < std::abs(_least); }

private:
    double _least = std::numeric_limits<double>::infinity(); ///< which is near to neither
};
