/// Nested compositions as what they play.
#pragma once

#include "icReport.h"

#include "dmRoot.h"

namespace interchange
{

/// A copy in which containers have become the segments and transitions that they play: of picture the layers of all
/// tracks made one, as the editing operation does it, of sound the one track that there is. Cue marks inside become the
/// outer composition's. A container that would play otherwise then (with effects, muted, in another mode, beside a
/// transition that shows of it what another shot has, of several sound tracks) stays, which a finding names.
CoSharedPtr<DmRoot> flatten(const DmRoot& root, Report& report);

} // namespace interchange
