#include "icIds.h"

#include "dmSourceInput.h"
#include "dmSourceNode.h"
#include "dmUtf8.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>

namespace interchange
{

namespace
{

double inTimeOf(const DmSegmentNode& segment)
{
    const auto* const source = dynamic_cast<const DmSourceNode*>(&segment);
    const auto* const media = source ? dynamic_cast<const DmSourceNode::MediaInput*>(source->getSrcInput()) : nullptr;
    const double in = (media ? media->getSrcIn() : 0.0) + segment.getRelIn();
    constexpr double limit = 1e15;
    return std::isfinite(in) ? std::clamp(in, -limit, limit) : 0.0;
}

} // namespace

std::string mediumOf(const DmSegmentNode& segment)
{
    const auto* const source = dynamic_cast<const DmSourceNode*>(&segment);
    const DmSourceInfo* const info = source && source->getSrcInput() ? source->getSrcInput()->getSrcInfo() : nullptr;
    std::string medium;
    if (info)
        medium = dmUtf8(info->getPath().empty() ? info->getReelName() : info->getPath());
    if (medium.empty() && !(segment.getName() == L"untitled"))
        medium = dmUtf8(segment.getName());
    if (medium.empty())
        medium = source ? "clip" : segment.whatIs() == DM_GAP_NODE ? "gap" : "nested";
    std::ranges::replace(medium, '#', '_');
    return medium;
}

std::string freshId()
{
    std::random_device random;
    char text[33];
    std::snprintf(text, sizeof text, "%08x%08x%08x%08x", random(), random(), random(), random());
    return text;
}

std::string IdMaker::make(const DmSegmentNode& segment)
{
    std::string id = mediumOf(segment) + '@' + std::to_string(std::llround(inTimeOf(segment)));
    for (;;)
    {
        const int count = ++_counts[id];
        std::string candidate = count == 1 ? id : id + '/' + std::to_string(count);
        if (take(candidate))
            return candidate;
    }
}

} // namespace interchange
