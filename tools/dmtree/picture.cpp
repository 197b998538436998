#include "picture.h"

#include "textFile.h"

#include "vwPageParts.h"

#include "CoNumber.h"
#include "tuTimeUnit.h"

#include <iostream>
#include <stdexcept>

namespace dmtree
{
namespace
{

/// A label in the composition's mode, or a count of frames.
double recordTime(const view::Scene& scene, const view::Composition& composition, const std::string& text)
{
    const view::Mode& mode = scene.modes[composition.mode];
    const bool isCount = !text.empty() && text.find_first_not_of("0123456789") == text.npos;
    if (isCount)
        return DM::CoNumber::whole(std::string_view(text).substr(0, 12)).value_or(0.0);
    int hours = 0;
    int minutes = 0;
    int seconds = 0;
    int frames = 0;
    DM::TimeUnit::parseTimeCodeString(text.c_str(), hours, minutes, seconds, frames);
    if (text.find_first_not_of("0123456789:;+#") != text.npos || text.find_first_of(":;+#") == text.npos ||
        !DM::TimeUnit::isValidTimeCode(hours, minutes, seconds, frames, mode.fcm))
        throw std::runtime_error("--range: '" + text + "' is no label in " + mode.name);
    return DM::TimeUnit().fromTimeCode(hours, minutes, seconds, frames, mode.fcm).getFrames() - composition.labelStart;
}

} // namespace

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

view::Window rangeOf(const view::Scene& scene, const view::Composition& composition, const std::string& text)
{
    const std::size_t at = text.find('-');
    if (at == text.npos || text.find('-', at + 1) != text.npos)
        throw std::runtime_error("--range: '" + text + "' is no IN-OUT");
    const double in = recordTime(scene, composition, text.substr(0, at));
    const double out = recordTime(scene, composition, text.substr(at + 1));
    if (out <= in)
        throw std::runtime_error("--range: '" + text + "' ends before it begins");
    const view::Axis& axis = composition.axisOf(view::noSegment);
    return {axis.placeOfIn(in), axis.placeOfOut(out), 0.0};
}

} // namespace dmtree
