/// Lays two versions of a cut one over the other: which rows belong together is known; where they are drawn, what of
/// them is folded, and what is said of them is worked out here.
#pragma once

#include "vwScene.h"

#include "dmCounterparts.h"
#include "dmDiff.h"

namespace view
{

/// A composition of two versions, as it was built: its axes, its folds, its extent.
void align(Composition& composition, const Scene& scene, const DmCounterparts& matched);

/// Each change at its place, in its colour. What is only shifted by others is not marked.
void addChanges(Scene& scene, const DmDiff& diff);

/// Behind addChanges: folds what nothing is said of.
void fold(Composition& composition, const Scene& scene);

} // namespace view
