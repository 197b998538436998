/// Pictures as the subcommands write them.
#pragma once

#include "vwLayout.h"
#include "vwScene.h"

#include <string>

namespace view
{
struct PageParts;
}

namespace dmtree
{

/// What a page is made of. Throws where this command was built without it.
const view::PageParts& requirePage(const std::string& subcommand);

/// To a file, or to standard output for "-"; what the scene has to note goes to standard error.
void writePicture(const std::string& subcommand, const std::string& path, const std::string& text,
                  const view::Scene& scene);

/// "10:00:04:00-10:00:06:00" or "100-150", of record time on the ruler; throws what is wrong with it.
view::Window rangeOf(const view::Scene& scene, const view::Composition& composition, const std::string& text);

} // namespace dmtree
