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

const DmSourceNode* sourceOf(const DmSegmentNode& segment)
{
    return segment.whatIs() == DM_SOURCE_NODE ? static_cast<const DmSourceNode*>(&segment) : nullptr;
}

double inTimeOf(const DmSegmentNode& segment)
{
    const auto* const source = sourceOf(segment);
    const auto* const media = source ? dynamic_cast<const DmSourceNode::MediaInput*>(source->getSrcInput()) : nullptr;
    const double in = (media ? media->getSrcIn() : 0.0) + segment.getRelIn();
    constexpr double limit = 1e15;
    return std::isfinite(in) ? std::clamp(in, -limit, limit) : 0.0;
}

} // namespace

std::string mediumOf(const DmSegmentNode& segment)
{
    const auto* const source = sourceOf(segment);
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
    const std::string id = mediumOf(segment) + '@' + std::to_string(std::llround(inTimeOf(segment)));
    const auto [found, isNew] = _taken.try_emplace(id, 1);
    if (isNew)
        return id;
    for (int& count = found->second;;)
        if (std::string candidate = id + '/' + std::to_string(++count); take(candidate))
            return candidate;
}

} // namespace interchange
