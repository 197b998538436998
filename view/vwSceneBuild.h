/// Lays a document out as a scene.
#pragma once

#include "vwScene.h"

#include "dmDiff.h"
#include "dmFinding.h"
#include "dmRoot.h"

#include <span>

namespace view
{

/// Of all compositions of the document, and what their containers hold. `title` heads the picture.
ZR_DM_API Scene sceneOf(const DmRoot& root, const std::string& title);

/// Of two versions of a cut, one over the other, as what they have in common allows: what is the same is grey and, in
/// long stretches, folded; what `diff` tells stands at its place, in its colour. A composition that only one of them
/// has is drawn as such.
ZR_DM_API Scene sceneOf(const DmRoot& before, const DmRoot& after, const DmDiff& diff, const std::string& title);

/// Lays what checks find (DmFindings) on a scene of the same document, each at its place.
ZR_DM_API void addFindings(Scene& scene, std::span<const DmFinding> findings);
/// What all rules that are on by themselves find.
ZR_DM_API void addFindings(Scene& scene, const DmRoot& root);

} // namespace view
