/// Which shot of one version of a cut is which of another: what whoever lays two versions side by side asks for.
#pragma once

#include "dmTreeNode.h"

#include <string>
#include <vector>

/// Two compositions that are versions of each other, and what of the one is what of the other.
struct DmCounterparts
{
    /// Positions: among the children of the composition, of the track and of the layer.
    struct Place
    {
        int track = -1;
        int layer = -1;
        int element = -1; ///< -1: the layer itself
    };
    struct Pair
    {
        Place before;
        Place after;
    };
    std::string oldPath; ///< of the composition, in its document
    std::string newPath;
    std::vector<Pair> layers;
    std::vector<Pair> shots; ///< in the order in which they stand in the older one
};

/// By the rules that DmDiff goes by. Compositions that only one of the documents holds have no counterpart.
ZR_DM_API std::vector<DmCounterparts> dmCounterparts(const DmTreeNode& before, const DmTreeNode& after);
