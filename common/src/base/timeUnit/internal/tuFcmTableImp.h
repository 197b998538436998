/// The table of the frame-code modes, for this room's own use: a mode's rate, its names, and how its labels count.
#pragma once

#include "tuFcm.h"
#include "tuTimeUnit.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace DM
{

struct FcmRow
{
    FrameCodeModes fcm;
    std::int32_t num; ///< exact rate, over `den`; 0: none
    std::int32_t den;
    std::int32_t intFps;
    std::int32_t dropped; ///< labels dropped in a minute that is no multiple of ten; 0: counts without dropping
    char separator;       ///< before minutes and seconds in a label
    char frameSeparator;  ///< before frames in a label
    FrameCodeModes drop;  ///< the mode that drops at the same rate, or the mode itself
    FrameCodeModes nonDrop;
    const char* fcmString;
    const char* fpsString;
    const char* fpsOrNdfString;
    const char* dfAndNdfString;
};

/// Row 0 answers for every value that is no mode, row 1 for the undefined one; the modes follow, the slowest first.
inline constexpr auto fcmRows = std::to_array<FcmRow>(
    {{FCM_NOT_DEFINED, 0, 1, 0, 0, ':', ':', FCM_NOT_DEFINED, FCM_NOT_DEFINED, "", "", "", ""},
     {FCM_NOT_DEFINED, 0, 1, 0, 0, ':', ':', FCM_NOT_DEFINED, FCM_NOT_DEFINED, "???", "???", "???", "???"},
#define ZR_MODE(name, number, ...) {name, __VA_ARGS__},
     ZR_FRAME_CODE_MODES(ZR_MODE)
#undef ZR_MODE
    });

inline constexpr std::size_t firstFcmRow = 2; ///< of the modes that have a rate

inline constexpr FrameCodeModes lowestFcm =
    std::min_element(fcmRows.begin(), fcmRows.end(), [](const FcmRow& a, const FcmRow& b) { return a.fcm < b.fcm; })
        ->fcm;
inline constexpr FrameCodeModes highestFcm =
    std::max_element(fcmRows.begin(), fcmRows.end(), [](const FcmRow& a, const FcmRow& b) { return a.fcm < b.fcm; })
        ->fcm;

/// The modes' rows by their distance from the lowest mode.
inline constexpr auto fcmRowIndex = []
{
    std::array<std::uint8_t, highestFcm - lowestFcm + 1> index{};
    for (std::size_t row = 1; row < fcmRows.size(); ++row)
        index[static_cast<std::size_t>(fcmRows[row].fcm - lowestFcm)] = static_cast<std::uint8_t>(row);
    return index;
}();

constexpr const FcmRow& fcmRow(FrameCodeModes fcm)
{
    const std::uint32_t slot = static_cast<std::uint32_t>(fcm) - static_cast<std::uint32_t>(lowestFcm);
    return fcmRows[slot < fcmRowIndex.size() ? fcmRowIndex[slot] : 0];
}

/// How a mode's labels are counted; a positive number that is no mode is its own rate, any other gives 0.
struct FcmCount
{
    std::uint32_t fps;
    std::uint32_t dropped;
};

/// The exact rate; a positive number that is no mode is its own, any other gives 0/1.
struct FcmRate
{
    std::int32_t num;
    std::int32_t den;
};

/// The mode whose rate counts: the default mode for mode 0. Without a default it stops the process.
inline FrameCodeModes withDefault(FrameCodeModes fcm)
{
    return fcm != FCM_NOT_DEFINED ? fcm : TimeUnit::getDefaultFcm();
}

// Mode 0 has no rate for these two: whoever wants that of the default mode resolves it first.

constexpr FcmCount fcmCount(FrameCodeModes fcm)
{
    const FcmRow& row = fcmRow(fcm);
    if (row.num == 0)
        return {static_cast<std::uint32_t>(fcm > 0 ? fcm : 0), 0};
    return {static_cast<std::uint32_t>(row.intFps), static_cast<std::uint32_t>(row.dropped)};
}

constexpr FcmRate fcmRate(FrameCodeModes fcm)
{
    const FcmRow& row = fcmRow(fcm);
    if (row.num == 0)
        return {fcm > 0 ? fcm : 0, 1};
    return {row.num, row.den};
}

} // namespace DM
