/// Ids that readers make up: from what a clip is, never from its place, so that two versions of a list give the same
/// shot the same id.
#pragma once

#include "dmSegmentNode.h"

#include <string>
#include <unordered_map>

namespace interchange
{

/// The medium by which a segment's material is known: its path, else its reel, else the clip's name; without '#', which
/// stands before the part of an id that tells linked segments apart.
std::string mediumOf(const DmSegmentNode& segment);

/// One that nobody has had.
std::string freshId();

/// The ids of one composition.
class IdMaker
{
public:
    /// "T001@86400"; where that repeats, "T001@86400/2" and so on.
    std::string make(const DmSegmentNode& segment);
    /// Notes that an id stands in the composition; false where it did so before.
    bool take(const std::string& id) { return _taken.try_emplace(id, 1).second; }

private:
    std::unordered_map<std::string, int> _taken; ///< and how often they were to be made
};

} // namespace interchange
