/// A cut list as a document: what the programs of the model can open, check and edit. docs/edl.md says what becomes
/// of what; all that has no property there goes into a blob (icEdlKept.h) on the source or the composition.
///
/// Record times are the list's own, absolute ones. Every timeline that comes out passes validation with all options.
#pragma once

#include "icEdlList.h"
#include "icReport.h"

#include "dmRoot.h"

namespace interchange
{

/// A document with one composition; null when memory ran out, which the report says. What of a list makes no sense in
/// the model is reported: events without a channel, and colours of sound. `places`: the report learns where in the list
/// each node came from.
[[nodiscard]] CoSharedPtr<DmRoot> edlToTree(const EdlList& list, Report& report, bool places = false);

} // namespace interchange
