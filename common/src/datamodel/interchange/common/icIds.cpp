#include "icIds.h"

#include "icTree.h"

#include "dmSourceInput.h"
#include "dmSourceNode.h"
#include "dmUtf8.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <functional>
#include <random>
#include <utility>

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
    const auto* const media = source ? as<DmSourceNode::MediaInput>(source->getSrcInput()) : nullptr;
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
    return medium;
}

std::string freshId()
{
    std::random_device random;
    char text[33];
    std::snprintf(text, sizeof text, "%08x%08x%08x%08x", random(), random(), random(), random());
    return text;
}

std::string IdMaker::make(const DmSegmentNode& segment, std::string medium)
{
    std::ranges::replace(medium, '#', '_');
    char time[24];
    medium += '@';
    medium.append(time, std::to_chars(time, time + sizeof time, std::llround(inTimeOf(segment))).ptr);
    return unique(medium);
}

std::string IdMaker::unique(const std::string& id)
{
    const auto isNew = [this](std::string_view text)
    {
        Taken& taken = placeOf(text);
        if (taken.count != 0)
            return false;
        taken.count = 1;
        return taken.isHeld = true;
    };
    if (isNew(id))
        return id;
    for (;;)
        if (std::string candidate = id + '/' + std::to_string(++placeOf(id).count); isNew(candidate))
            return candidate;
}

bool IdMaker::take(std::string_view id)
{
    Taken& taken = placeOf(id);
    taken.count = std::max<std::uint32_t>(taken.count, 1);
    return !std::exchange(taken.isHeld, true);
}

void IdMaker::giveBack(std::string_view id)
{
    placeOf(id).isHeld = false;
}

IdMaker::Taken& IdMaker::placeOf(std::string_view id)
{
    constexpr std::size_t smallest = 64;
    const auto indexOf = [this](std::size_t hash)
    {
        std::size_t at = hash & (_table.size() - 1);
        while (_table[at].count != 0 && _table[at].hash != hash)
            at = (at + 1) & (_table.size() - 1);
        return at;
    };
    if (2 * _ids >= _table.size())
    {
        const std::vector<Taken> before(std::exchange(_table, std::vector<Taken>(std::max(smallest, 4 * _ids))));
        for (const Taken& each : before)
            if (each.count != 0)
                _table[indexOf(each.hash)] = each;
    }
    const std::size_t hash = std::hash<std::string_view>()(id);
    Taken& taken = _table[indexOf(hash)];
    if (taken.count == 0)
    {
        taken.hash = hash;
        ++_ids;
    }
    return taken;
}

} // namespace interchange
