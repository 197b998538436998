/// What can be said of a list only when all of it is read: its order, and whether numbers, lengths and places agree.
#pragma once

#include "icEdlList.h"
#include "icReport.h"

namespace interchange
{

/// What a finding about an event says of it: clip, first channel and record time.
Where whereOf(const EdlList& list, const EdlEvent& event);

/// Finds out whether the list is in record order, on each channel by itself. If so, it passes midnight where a record
/// time falls by more than half a day, and its numbers rise; else it does neither.
void settleOrder(EdlList& list, Report& report);

/// Takes the lengths of transitions and sources for what their record sides leave them, says which mode fits better
/// where many lengths differ a little, and which events lie over others.
void checkEvents(EdlList& list, Report& report);

} // namespace interchange
