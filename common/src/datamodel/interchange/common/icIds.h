/// Ids that readers make up: from what a clip is, never from its place, so that two versions of a list give the same
/// shot the same id.
#pragma once

#include "dmSegmentNode.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace interchange
{

/// The medium by which a segment's material is known: its path, else its reel, else the clip's name; without '#', which
/// stands before the part of an id that tells linked segments apart.
std::string mediumOf(const DmSegmentNode& segment);

/// One that nobody has had.
std::string freshId();

/// The ids of one composition. They are known by their hashes, in a flat table: where two have the same, the second is
/// taken for one that repeats, and gets a count that it need not have.
class IdMaker
{
public:
    /// "T001@86400"; where that repeats, "T001@86400/2" and so on.
    std::string make(const DmSegmentNode& segment) { return make(segment, mediumOf(segment)); }
    std::string make(const DmSegmentNode& segment, std::string medium);
    /// The id itself; where it repeats, with a count behind it.
    std::string unique(const std::string& id);
    /// Notes that an id stands in the composition; false where it did so before.
    bool take(std::string_view id);
    /// Of one that was made, and that its segment does not have after all: another may bring it. It is not made again.
    void giveBack(std::string_view id);

private:
    struct Taken
    {
        std::size_t hash = 0;
        std::uint32_t count = 0; ///< how often it was to be made; 0: nothing stands here
        bool isHeld = false;     ///< by a segment
    };

    /// Good until the next one.
    Taken& placeOf(std::string_view id);

    std::vector<Taken> _table; ///< of a power of two, at most half full
    std::size_t _ids = 0;
};

} // namespace interchange
