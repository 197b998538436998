/// What the object of a usual clip says beyond its node, told from the object alone.
///
/// Of a clip that was just read, the node says what the object does, but for what it has no property for. So where an
/// object has the members that nearly all clips have, and no others but among its metadata, it is enough to look
/// whether each value came through, and what is left over is written at once: so of the clips of older programs, too,
/// which do without some of those members in the same manner each time. Everything else is held against what would be
/// written for the node, member by member (icOtioMatch.h, icOtioPatch.h), with the same result. otioBench: what clips
/// leave over took a third of the time of reading them, and takes a fifth.
///
/// For sources of this library only.
#pragma once

#include "icOtioParts.h"

#include <optional>
#include <string>
#include <vector>

namespace interchange::otio
{

/// None where the clip is not a usual one, whatever its metadata are. `node`: as it was read, with nothing of our own;
/// `items`: what made it.
std::optional<Manner> usualManner(const Value& clip, const DmSourceNode& node, Trim trim, const Items& items);
/// The leftover of a clip of that manner, empty for nothing; none where its metadata are not usual ones. `notes`: those
/// among them.
std::optional<std::string> usualLeftover(const Value& metadata, const Manner& manner, const std::vector<Note>& notes);

} // namespace interchange::otio
