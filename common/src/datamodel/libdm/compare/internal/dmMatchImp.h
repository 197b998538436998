/// Which shot of one cut is which of another: told by who they are, never by where they stand alone.
///
/// In this order, each among those that are left: the same id where the media agree; ids that the one was derived from;
/// the same range of the same medium; overlapping ranges of one medium; the name; at last, for material that was
/// replaced, the same id on other media, and what stands alone between the same two neighbours with the same length.
/// Ids that are used twice, or that a reader made up, are nobody's. Where a key fits several shots, neighbours of
/// matched shots are tried first and the rest is taken in order: nothing is ever compared pair by pair.
#pragma once

#include "dmCutImp.h"

namespace dmCompare
{

/// Whether ids are numbers that count the shots of each lane: a reader or a list made them up, from positions.
bool areNumbered(std::span<const Shot> shots);

struct Match
{
    std::vector<int> toNew; ///< by the position of an old shot; -1 for one that is gone
    std::vector<int> toOld;
};

/// `known`: positions of shots that are each other's.
Match matchShots(std::span<const Shot> before, std::span<const Shot> after,
                 std::span<const std::pair<int, int>> known = {});

/// The lane of the other cut for each of one, by what most of the shots say, and by kind and number for the rest; -1
/// for none.
std::vector<int> matchLanes(const Cut& before, const Cut& after, const Match& match);

/// Of positions, those that keep their order: one longest increasing run. Negative ones are not part of it.
std::vector<bool> keepsOrder(std::span<const int> positions);

} // namespace dmCompare
