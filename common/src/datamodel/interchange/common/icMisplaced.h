/// Nodes that a document holds where no cut list has a place for them: a format names them as left out.
#pragma once

#include "icReport.h"

#include "dmTreeNode.h"

namespace interchange
{

/// Of a root: what is neither a composition nor a reel of such. Of a composition: what stands beside its tracks, their
/// layers, and the segments and transitions in those. A place that holds nothing has nothing to lose.
void tellMisplaced(const DmTreeNode& node, Report& report);

} // namespace interchange
