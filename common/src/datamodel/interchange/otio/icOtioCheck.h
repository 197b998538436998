/// Whether what stands in an object is of the kinds that readers look for: what is not counts as missing, which is said
/// here, and nowhere else.
///
/// Objects that are what is written for their nodes have no such members, so only others are looked at
/// (icOtioKeep.h): reading a file without faults costs nothing more.
///
/// For sources of this library only.
#pragma once

#include "icOtioItems.h"

namespace interchange::otio
{

/// A mistake for each member that decides what plays, a warning for each other one; the line is that of the object that
/// has it. Children are looked at when nodes are made of them.
void checkMembers(Items& items, const Value& object);

} // namespace interchange::otio
