/// Lays a document out as a scene.
#pragma once

#include "vwScene.h"

#include "dmCompositionNode.h"
#include "dmRoot.h"

namespace view
{

/// Of all compositions of the document, and what their containers hold. `title` heads the picture.
ZR_DM_API Scene sceneOf(const DmRoot& root, const std::string& title);

/// Lays what the checks find (DmTreeTool::findViolations, every rule) on a scene of the same document.
ZR_DM_API void addFindings(Scene& scene, const DmRoot& root);

} // namespace view
