/// A scene as a page: one HTML file that opens from disk in any browser and fetches nothing.
#pragma once

#include "vwScene.h"

#include "zrExport.h"

#include <string>
#include <string_view>

namespace view
{

/// The page around a scene, as view/page builds it: script, style and markup, with a policy that allows nothing else.
struct PageParts
{
    std::string_view beforePolicyEnd; ///< up to where a page that watches may say where it asks
    std::string_view beforeTitle;
    std::string_view beforeScene;
    std::string_view behindScene;
};

/// `watch`, if given, is the path that the page asks its server for a newer scene. The scene is written as data that
/// may stand inside script elements: some 60 bytes a segment, beside its texts (each different one once) and its
/// effects.
ZR_DM_API std::string pageOf(const Scene& scene, const PageParts& parts, std::string_view watch = {});

} // namespace view
