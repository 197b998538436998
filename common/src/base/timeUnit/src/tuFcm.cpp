#include "tuFcm.h"

#include "tuFcmTableImp.h"
#include "tuTimeUnit.h"

#include "CoNumber.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <strings.h>

namespace DM
{

namespace
{

/// A rate and the modes that it stands for, the second when labels are to be dropped.
struct Rung
{
    double fps;
    double tolerance;
    FrameCodeModes fcm;
    FrameCodeModes dropFcm;
};

constexpr double wide = 0.01;
constexpr double narrow = 0.0001F; // single precision on purpose: 9.999999747378752e-05

/// Each mode's own: rates over 1001 are known by three decimals.
constexpr auto exactRungs = []
{
    std::array<Rung, fcmRows.size() - firstFcmRow> rungs{};
    std::transform(fcmRows.begin() + firstFcmRow, fcmRows.end(), rungs.begin(),
                   [](const FcmRow& row)
                   {
                       const std::int64_t thousandths = (std::int64_t{row.num} * 1000 + row.den / 2) / row.den;
                       return Rung{static_cast<double>(thousandths) / 1000, row.den == 1001 ? wide : narrow,
                                   row.nonDrop, row.drop};
                   });
    return rungs;
}();

/// From the top. Below 24 the half rates read as their doubles; the rung at 18, the old amateur film rate, also holds
/// 23.976 itself; the last one takes everything slower.
constexpr Rung approximateRungs[] = {
    {60.0, narrow, FCM_60, FCM_60},
    {59.94, narrow, FCM_59_94_NDF, FCM_59_94_DF},
    {50.0, narrow, FCM_50, FCM_50},
    {48.0, narrow, FCM_24, FCM_24},
    {47.952, narrow, FCM_23_976, FCM_23_976},
    {30.0, narrow, FCM_30, FCM_30},
    {29.97, narrow, FCM_29_97_NDF, FCM_29_97_DF},
    {25.0, narrow, FCM_25, FCM_25},
    {24.0, narrow, FCM_24, FCM_24},
    {18.0, narrow, FCM_23_976, FCM_23_976},
    {15.0, narrow, FCM_30, FCM_30},
    {14.985, narrow, FCM_29_97_NDF, FCM_29_97_DF},
    {12.5, narrow, FCM_25, FCM_25},
    {12.0, narrow, FCM_24, FCM_24},
    {0.0, 0.0, FCM_23_976, FCM_23_976},
};

FrameCodeModes modeOf(const Rung* rung, const Rung* end, bool drop)
{
    if (rung == end)
        return FCM_NOT_DEFINED;
    return drop ? rung->dropFcm : rung->fcm;
}

} // namespace

std::span<const FrameCodeModes> FcmUtil::getModes()
{
    static constexpr auto modes = []
    {
        std::array<FrameCodeModes, fcmRows.size() - firstFcmRow> all{};
        std::transform(fcmRows.begin() + firstFcmRow, fcmRows.end(), all.begin(),
                       [](const FcmRow& row) { return row.fcm; });
        return all;
    }();
    return modes;
}

int FcmUtil::getIntFPS(FrameCodeModes fcm)
{
    return static_cast<int>(fcmCount(withDefault(fcm)).fps);
}

double FcmUtil::getDoubleFPS(FrameCodeModes fcm)
{
    const FcmRate rate = fcmRate(withDefault(fcm));
    return static_cast<double>(rate.num) / rate.den;
}

bool FcmUtil::getRational(FrameCodeModes fcm, unsigned& num, unsigned& den, bool reduce)
{
    const FcmRow& row = fcmRow(fcm != FCM_NOT_DEFINED ? fcm : TimeUnit::findDefaultFcm());
    const int divisor = reduce && row.den == 1000 ? 1000 : 1;
    num = static_cast<unsigned>(row.num / divisor);
    den = static_cast<unsigned>(row.den / divisor);
    return row.num != 0;
}

int FcmUtil::getFramesOneHour(FrameCodeModes fcm)
{
    constexpr std::int64_t hour = 3600;
    fcm = withDefault(fcm);
    const FcmRow& row = fcmRow(fcm);
    const std::int64_t frames = row.dropped != 0 ? row.num * hour / row.den : fcmCount(fcm).fps * hour;
    return static_cast<int>(std::min<std::int64_t>(frames, std::numeric_limits<int>::max()));
}

FrameCodeModes FcmUtil::toDrop(FrameCodeModes fcm)
{
    const FcmRow& row = fcmRow(fcm);
    return row.num != 0 ? row.drop : fcm;
}

FrameCodeModes FcmUtil::toNonDrop(FrameCodeModes fcm)
{
    const FcmRow& row = fcmRow(fcm);
    return row.num != 0 ? row.nonDrop : fcm;
}

FrameCodeModes FcmUtil::FPStoFCM(int fps, bool drop)
{
    const FcmRow& row = fcmRow(static_cast<FrameCodeModes>(std::max(fps, 0)));
    return drop ? row.drop : row.fcm;
}

FrameCodeModes FcmUtil::FPStoFCM(double fps, bool drop)
{
    return modeOf(std::find_if(exactRungs.data(), exactRungs.data() + exactRungs.size(),
                               [fps](const Rung& rung) { return std::abs(fps - rung.fps) < rung.tolerance; }),
                  exactRungs.data() + exactRungs.size(), drop);
}

FrameCodeModes FcmUtil::FPStoFCM(unsigned num, unsigned den, bool drop)
{
    // Each fraction that a mode is known by, over 1, 1000 or 1001, lies on the rung of its mode.
    return den == 0 ? FCM_NOT_DEFINED : FPStoFCM(static_cast<double>(num) / den, drop);
}

FrameCodeModes FcmUtil::FPStoApproximateFCM(double fps, bool drop)
{
    return modeOf(std::find_if(std::begin(approximateRungs), std::end(approximateRungs),
                               [fps](const Rung& rung) { return fps > rung.fps - rung.tolerance; }),
                  std::end(approximateRungs), drop);
}

const char* FcmUtil::getFCMString(FrameCodeModes fcm)
{
    return fcmRow(fcm).fcmString;
}

const char* FcmUtil::getFPSString(FrameCodeModes fcm)
{
    return fcmRow(fcm).fpsString;
}

const char* FcmUtil::getFPSOrNDFString(FrameCodeModes fcm)
{
    return fcmRow(fcm).fpsOrNdfString;
}

const char* FcmUtil::getDFAndNDFString(FrameCodeModes fcm)
{
    return fcmRow(fcm).dfAndNdfString;
}

FrameCodeModes FcmUtil::getFCMFromString(const char* text, bool caseSensitive)
{
    if (!text)
        return FCM_NOT_DEFINED;
    const auto compare = caseSensitive ? strcmp : strcasecmp;
    for (const FrameCodeModes fcm : getModes())
        if (compare(text, getFCMString(fcm)) == 0)
            return fcm;
    return FCM_NOT_DEFINED;
}

FrameCodeModes FcmUtil::getFCMFromName(std::string_view name)
{
    constexpr std::size_t longest = 31;
    std::string text;
    for (const char c : name.substr(0, longest + 1))
        if (c != ' ')
            text += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    const auto take = [&text](std::string_view end)
    {
        const bool ends = text.ends_with(end);
        if (ends)
            text.resize(text.size() - end.size());
        return ends;
    };
    const bool nonDrop = take("ndf");
    const bool drop = !nonDrop && take("df");
    static_cast<void>(take("fps"));

    const double rate = text == "pal"    ? 25.0
                        : text == "ntsc" ? 29.97
                                         : CoNumber::whole(text, std::chars_format::fixed).value_or(-1.0);
    if (rate < 0.0)
        return FCM_NOT_DEFINED;
    const FrameCodeModes mode = name.size() > longest ? FCM_NOT_DEFINED : FPStoFCM(rate, drop);
    return drop && !isDropFrame(mode) ? FCM_NOT_DEFINED : mode;
}

} // namespace DM
