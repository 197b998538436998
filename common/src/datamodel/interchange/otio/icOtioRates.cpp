#include "icOtioRates.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace interchange::otio
{

std::pair<double, double> PlayedRates::most(double start) const
{
    std::pair<double, double> most(0, -1);
    for (const auto& [rate, seconds] : _seconds)
        if (DM::FcmUtil::FPStoFCM(rate, false) != DM::FCM_NOT_DEFINED &&
            (seconds > most.second || (seconds == most.second && rate == start)))
            most = {rate, seconds};
    return most;
}

void PlayedRates::add(const Value& top, bool isSound)
{
    std::vector<std::pair<const Value*, bool>> open{{&top, isSound}};
    while (!open.empty())
    {
        auto [value, sound] = open.back();
        open.pop_back();
        const std::string_view schema = schemaOf(value);
        if (isTrack(schema) && textOf(value, "kind") == "Audio")
            sound = true;
        const Value* range = member(value, "source_range");
        if (!range && schema == "Clip")
            range = member(mediaOf(*value), "available_range");
        if (const Value* const length = member(range, "duration"); length && !sound)
            note(*length);
        if (const Value* const stack = member(value, "tracks"))
            open.emplace_back(stack, sound);
        if (const Value* const children = arrayOf(value, "children"))
            for (const Value& child : children->GetArray())
                open.emplace_back(&child, sound);
    }
}

void PlayedRates::add(double rate, double frames)
{
    if (const double length = frames / rate; length >= 0 && length < 1e9)
        _seconds[rate] += length;
}

void PlayedRates::note(const Value& duration)
{
    const Value* const rate = member(&duration, "rate");
    const Value* const value = member(&duration, "value");
    if (rate && rate->IsNumber() && value && value->IsNumber() && rate->GetDouble() > 0)
        add(rate->GetDouble(), value->GetDouble());
}

DM::FrameCodeModes bestMode(double rate)
{
    constexpr double tolerance = 1e-4;
    constexpr double many = 1e9;
    const auto distance = [rate](DM::FrameCodeModes mode)
    {
        const double fps = DM::FcmUtil::getDoubleFPS(mode);
        const double times = std::max(fps, rate) / std::min(fps, rate);
        const bool isWhole = std::abs(times - std::round(times)) <= tolerance * times;
        return isWhole ? (fps > rate ? times : many / 2 + times) : many + std::abs(fps - rate);
    };
    DM::FrameCodeModes best = DM::FCM_24;
    for (const DM::FrameCodeModes mode : DM::FcmUtil::getModes())
        if (distance(mode) < distance(best))
            best = mode;
    return DM::FcmUtil::toNonDrop(best);
}

} // namespace interchange::otio
