#include "vwLook.h"
#include "vwPlaces.h"
#include "vwSceneBuild.h"

#include "dmFindings.h"
#include "tuTimeUnit.h"

#include <algorithm>

namespace view
{
namespace
{

/// The record time that a finding's label stands for.
std::optional<double> timeOf(const Mode& mode, const Composition& composition, const std::string& label)
{
    const bool isNegative = label.starts_with('-');
    if (label.find_first_of("0123456789") == label.npos || mode.fps == 0)
        return {};
    int hours = 0;
    int minutes = 0;
    int seconds = 0;
    int frames = 0;
    DM::TimeUnit::parseTimeCodeString(label.c_str() + (isNegative ? 1 : 0), hours, minutes, seconds, frames);
    const double time = DM::TimeUnit().fromTimeCode(hours, minutes, seconds, frames, mode.fcm).getFrames();
    return (isNegative ? -time : time) - composition.labelStart;
}

std::string whereOf(const DmFinding& finding)
{
    std::string where = finding.line == 0 ? "" : "line " + std::to_string(finding.line);
    for (const std::string* const part : {&finding.clip, &finding.track, &finding.record})
        if (!part->empty())
            (where += where.empty() ? "" : ", ") += *part;
    return where;
}

} // namespace

void addFindings(Scene& scene, std::span<const DmFinding> findings)
{
    if (scene.compositions.empty())
    {
        for (const DmFinding& finding : findings)
            scene.notes.push_back(finding.text + " [" + finding.code + ']');
        return;
    }
    Places places(scene);
    for (const DmFinding& finding : findings)
    {
        const Place place = places.find(finding.nodePath).value_or(Place{0});
        Composition& composition = scene.compositions[place.composition];
        // A hole or an overlap lies inside what it is said of.
        const std::optional<double> time = timeOf(scene.modes[composition.mode], composition, finding.record);
        composition.remarks.push_back(
            {static_cast<std::uint8_t>(findingsAt + static_cast<std::size_t>(finding.severity)), finding.code,
             whereOf(finding), finding.text, place.row, place.segment,
             std::clamp(time.value_or(place.time.value_or(composition.begin)), composition.begin, composition.end)});
    }
    for (Composition& composition : scene.compositions)
        std::ranges::stable_sort(composition.remarks, {}, &Remark::time);
}

void addFindings(Scene& scene, const DmRoot& root)
{
    addFindings(scene, DmFindings().find(root));
}

} // namespace view
