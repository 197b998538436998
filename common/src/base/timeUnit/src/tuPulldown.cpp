#include "tuPulldown.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdlib>

namespace DM
{

namespace
{

std::atomic<TU2_3Conv::PD30FrameType> _defaultRefFrameType = TU2_3Conv::PD30_AA;

constexpr const char* pd30Names[] = {"AA", "BB", "BC", "CD", "DD"};
constexpr const char* pd25Names[] = {"AA", "BB", "CC", "DD", "EE", "FF", "GG", "HH", "II", "JJ", "KK", "LL", "LM",
                                     "MN", "NO", "OP", "PQ", "QR", "RS", "ST", "TU", "UV", "VW", "WX", "XX"};

template <std::size_t N>
const char* nameOf(const char* const (&names)[N], std::int32_t type)
{
    return type >= 0 && static_cast<std::size_t>(type) < N ? names[type] : nullptr;
}

constexpr std::int64_t floorDiv(std::int64_t a, std::int64_t b)
{
    return a / b - (a % b < 0 ? 1 : 0);
}

constexpr std::int64_t floorMod(std::int64_t a, std::int64_t b)
{
    return a - floorDiv(a, b) * b;
}

TimeUnit timeOf(std::int64_t frames)
{
    return TimeUnit(static_cast<double>(frames));
}

/// The position in a cadence of `period` video frames at which `t` falls, when `ref` falls at `frameType`.
std::int64_t phase(TimeUnit t, TimeUnit ref, std::int32_t frameType, int period)
{
    return floorMod(std::int64_t{(t - ref).getFrameCount()} + frameType, period);
}

// The four-in-five cadence. Rows are phases, columns positions in a group; -1 and the repeated entries belong to it.

template <int Columns>
using Cadence = int[5][Columns];

constexpr Cadence<5> to24Table = {{0, 1, 2, 3, 3}, {0, 1, 2, 2, 3}, {0, 1, 1, 2, 3}, {0, 0, 1, 2, 3}, {-1, 0, 1, 2, 3}};
constexpr Cadence<4> to30Table = {{0, 1, 2, 3}, {0, 1, 2, 4}, {0, 1, 3, 4}, {0, 2, 3, 4}, {1, 2, 3, 4}};
constexpr Cadence<5> compressTable = {
    {0, 1, 2, 2, 3}, {0, 1, 1, 2, 3}, {0, 0, 1, 2, 3}, {-1, 0, 1, 2, 3}, {0, 1, 2, 3, 3}};
constexpr Cadence<4> expandTable = {{0, 1, 3, 4}, {0, 2, 3, 4}, {1, 2, 3, 4}, {1, 2, 3, 5}, {0, 1, 2, 4}};

/// A time of groups of `From` frames in groups of `To`; the groups before zero mirror those after it.
template <int From, int To>
TimeUnit regroup(const Cadence<From>& table, TimeUnit t, TimeUnit ref, std::int32_t frameType)
{
    const std::int32_t n = t.getFrameCount();
    const std::int64_t q = n / From;
    const int m = n % From;
    const std::int64_t v = table[phase(timeOf(5 * q), ref, frameType, 5)][std::abs(m)];
    return timeOf(To * q + (m < 0 ? -v : v));
}

/// A length of groups of `From` frames in groups of `To`, from the given phase on.
template <int From, int To>
TimeUnit regroupLength(const Cadence<From>& table, std::uint32_t length, std::int64_t fromPhase)
{
    if (length == 0)
        return TimeUnit::getZero();
    return timeOf(std::int64_t{length / From} * To + table[fromPhase][length % From]);
}

// The 24-in-25 cadence: one row, from the first frame of a group on. The last entries of the shorter side's rows stand
// for no frame of it.

using PPRow = int[25];

// clang-format off
constexpr PPRow ppTo24       = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 23};
constexpr PPRow ppTo25       = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 0};
constexpr PPRow ppCompress   = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23};
constexpr PPRow ppExpand     = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 0};
// clang-format on

/// `n` frames from position `start` on, in groups of `From`, as frames of the other side in groups of `To`: the cadence
/// is continued over the ends of the groups, and time `start` stays where it is.
template <int From, int To>
TimeUnit rerun(const PPRow& row, std::int64_t start, std::int64_t n)
{
    const auto at = [&row](std::int64_t j) { return To * floorDiv(j, From) + row[floorMod(j, From)]; };
    return timeOf(at(start + n) - at(start));
}

} // namespace

const char* TU2_3Conv::get_pd30ftStr(PD30FrameType type)
{
    return nameOf(pd30Names, type);
}

TU2_3Conv::PD30FrameType TU2_3Conv::getPD30FrameType(TimeUnit t, TimeUnit ref, PD30FrameType frameType)
{
    return static_cast<PD30FrameType>(phase(t, ref, frameType, 5));
}

int TU2_3Conv::getPD24FrameType(TimeUnit t, TimeUnit ref, PD30FrameType frameType)
{
    const PD30FrameType type = getPD30FrameType(t, ref, frameType);
    return type == PD30_DD ? -1 : type;
}

TimeUnit TU2_3Conv::to30fpsEquiv(TimeUnit t24, TimeUnit ref, PD30FrameType frameType, bool dropFrame, TimeUnit dfRef)
{
    const TimeUnit t30 = regroup<4, 5>(to30Table, t24, ref, frameType);
    return dropFrame ? t30 - getDFPadding(dfRef) : t30;
}

TimeUnit TU2_3Conv::to24fpsEquiv(TimeUnit t30, TimeUnit ref, PD30FrameType frameType, bool dropFrame, TimeUnit dfRef)
{
    return regroup<5, 4>(to24Table, dropFrame ? t30 + getDFPadding(dfRef) : t30, ref, frameType);
}

TimeUnit TU2_3Conv::getDFPadding(TimeUnit t)
{
    const std::int64_t n = t.getFrameCount();
    const std::int64_t pastFirstMinute = std::max<std::int64_t>(0, floorMod(n, 17982) - 1800);
    return timeOf(floorDiv(n, 999) + 2 * (pastFirstMinute / 1798));
}

TimeUnit TU2_3Conv::compressDuration(TimeUnit t, std::uint32_t length, TimeUnit ref, PD30FrameType frameType)
{
    return regroupLength<5, 4>(compressTable, length, phase(t, ref, frameType, 5));
}

TimeUnit TU2_3Conv::expandDuration(TimeUnit t, std::uint32_t length, TimeUnit ref, PD30FrameType frameType)
{
    return regroupLength<4, 5>(expandTable, length, phase(t, ref, frameType, 5));
}

const char* TuPPConv::get_pd25ftStr(PD25FrameType type)
{
    return nameOf(pd25Names, type);
}

TuPPConv::PD25FrameType TuPPConv::getPD25FrameType(TimeUnit t, TimeUnit ref, PD25FrameType frameType)
{
    return static_cast<PD25FrameType>(phase(t, ref, frameType, 25));
}

TimeUnit TuPPConv::to25fpsEquiv(TimeUnit t24, TimeUnit ref, PD25FrameType frameType)
{
    const std::int64_t start = ppTo24[phase(TimeUnit::getZero(), ref, frameType, 25)];
    return rerun<24, 25>(ppTo25, start, t24.getFrameCount());
}

TimeUnit TuPPConv::to24fpsEquiv(TimeUnit t25, TimeUnit ref, PD25FrameType frameType)
{
    const std::int64_t start = phase(TimeUnit::getZero(), ref, frameType, 25);
    return rerun<25, 24>(ppTo24, start, t25.getFrameCount());
}

TimeUnit TuPPConv::compressDuration(TimeUnit t, std::uint32_t length, TimeUnit ref, PD25FrameType frameType)
{
    return rerun<25, 24>(ppCompress, phase(t, ref, frameType, 25), length);
}

TimeUnit TuPPConv::expandDuration(TimeUnit t, std::uint32_t length, TimeUnit ref, PD25FrameType frameType)
{
    return rerun<24, 25>(ppExpand, ppCompress[phase(t, ref, frameType, 25)], length);
}

Tu23Data::Tu23Data()
    : _refFrameType(getDefaultRefFrameType())
{
}

Tu23Data::Tu23Data(bool flag, TimeUnit refTime, FrameCodeModes fcm, PD30FrameType refFrameType, TimeUnit dfRefTime)
    : _flag(flag)
    , _refTime(refTime)
    , _fcm(fcm)
    , _refFrameType(refFrameType)
    , _dfRefTime(dfRefTime)
{
}

Tu23Data::PD30FrameType Tu23Data::getDefaultRefFrameType()
{
    return _defaultRefFrameType.load(std::memory_order_relaxed);
}

void Tu23Data::setDefaultRefFrameType(PD30FrameType type)
{
    _defaultRefFrameType.store(type, std::memory_order_relaxed);
}

} // namespace DM
