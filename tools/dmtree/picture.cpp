#include "picture.h"

#include "textFile.h"

#include "vwPageParts.h"

#include <iostream>
#include <stdexcept>

namespace dmtree
{

const view::PageParts& requirePage(const std::string& subcommand)
{
    if (const view::PageParts* const page = view::pageParts())
        return *page;
    throw std::runtime_error(subcommand + ": this dmtree was built without Node and has no page; --svg needs none");
}

void writePicture(const std::string& subcommand, const std::string& path, const std::string& text,
                  const view::Scene& scene)
{
    if (path == "-")
        std::cout << text;
    else
        writeText(path, text);
    for (const std::string& note : scene.notes)
        std::cerr << "dmtree " << subcommand << ": " << note << '\n';
}

} // namespace dmtree
