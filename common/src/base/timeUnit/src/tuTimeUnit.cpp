#include "tuTimeUnit.h"

#include "CoInteger.h"
#include "envVar.h"
#include "tuFcmTableImp.h"
#include "zrAssert.h"
#include "zrPost.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>

namespace DM
{

namespace
{

// Listed with the others, but read afresh while no default mode is known.
ZR_ENV_VAR(std::string, defaultFcmVariable, "ZR_DEFAULT_FCM", "", {.readOnly = true});

const char* defaultFcmText()
{
    return std::getenv(defaultFcmVariable().getName());
}

constexpr double largestCount = std::numeric_limits<std::int32_t>::max();

// Independent values: nothing is published through them, so relaxed order is enough.
std::atomic<FrameCodeModes> _defaultFcm = FCM_NOT_DEFINED;
std::atomic<DfBumpMode> _dfBumpMode = DF_BUMP_TO_PREVIOUS;
std::atomic<double> _defaultFrameRate = 0.0;

std::uint32_t magnitude(std::int32_t count)
{
    constexpr auto lowest = std::numeric_limits<std::int32_t>::min();
    return static_cast<std::uint32_t>(count == lowest ? std::numeric_limits<std::int32_t>::max() : std::abs(count));
}

/// A time cut to the range of counts; 0 for NaN.
double saturated(double frames)
{
    return std::isnan(frames) ? 0.0 : std::clamp(frames, -largestCount, largestCount);
}

struct Label
{
    std::uint32_t hh, mm, ss, ff;
};

Label labelOf(std::uint32_t n, FcmCount count)
{
    const auto [fps, dropped] = count;
    if (fps == 0)
        return {};
    if (dropped != 0)
    {
        const std::uint32_t perTenMinutes = 600 * fps - 9 * dropped;
        const std::uint32_t perDroppedMinute = 60 * fps - dropped;
        const std::uint32_t q = n / perTenMinutes;
        const std::uint32_t r = n % perTenMinutes;
        n += 9 * dropped * q + (r < dropped ? 0 : dropped * ((r - dropped) / perDroppedMinute));
    }
    const std::uint32_t seconds = n / fps;
    const std::uint32_t minutes = seconds / 60;
    return {minutes / 60, minutes % 60, seconds % 60, n % fps};
}

/// At least two digits, as %.2d writes them.
char* putField(char* out, std::uint32_t value)
{
    if (value >= 100)
        return std::to_chars(out, out + std::numeric_limits<std::uint32_t>::digits10 + 1, value).ptr;
    *out++ = static_cast<char>('0' + value / 10);
    *out++ = static_cast<char>('0' + value % 10);
    return out;
}

bool isSeparator(char c)
{
    return c == ':' || c == ';' || c == '+' || c == '#';
}

bool isBlank(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

/// What atoi reads up to `end`, saturated, without a plus sign, which separates; leaves `text` behind the number.
int readNumber(const char*& text, const char* end)
{
    while (text != end && isBlank(*text))
        ++text;
    const std::string_view rest(text, static_cast<std::size_t>(end - text));
    std::size_t length = 0;
    const int number = rest.starts_with('+') ? 0 : CoInteger::read<int>(rest, length);
    text += length;
    return number;
}

using Fields = std::array<int, 4>; // hours, minutes, seconds, frames

Fields readFields(const char* text)
{
    constexpr std::size_t longestText = 31;
    Fields fields{};
    if (!text)
        return fields;
    const char* const end = text + strnlen(text, longestText);
    if (text != end && (*text == '-' || *text == '+'))
        ++text;
    if (text != end && (*text == ':' || *text == ';'))
        ++text;

    std::size_t numbers = 0;
    for (;;)
    {
        fields[numbers++] = readNumber(text, end);
        while (text != end && !isSeparator(*text))
            ++text;
        if (text == end || numbers == fields.size())
            break;
        ++text;
    }
    std::rotate(fields.begin(), fields.begin() + static_cast<std::ptrdiff_t>(numbers), fields.end());
    return fields;
}

bool labelExists(int mm, int ss, int ff, FcmCount count)
{
    return ss != 0 || mm % 10 == 0 || ff >= static_cast<int>(count.dropped);
}

/// Moves a drop-frame label that does not exist.
void dfBumpModeTest(DfBumpMode mode, FcmCount count, int& mm, int& ss, int& ff)
{
    const auto toPreviousMinute = [&](std::uint32_t frames)
    {
        mm -= 1; // never below zero: minute 0 drops nothing
        ss = 59;
        ff = static_cast<int>(frames);
    };
    switch (mode)
    {
    case DF_BUMP_TO_PREVIOUS:
        return toPreviousMinute(count.fps - 1);
    case DF_BUMP_TO_NEXT:
        ff = static_cast<int>(count.dropped);
        return;
    case DF_BUMP_TO_EARLIER:
        return toPreviousMinute(count.fps - count.dropped); // 28 and 56, not an even distance from the other modes
    }
    ZR_ASSERT_PLAIN(0);
}

} // namespace

void TimeUnit::toTimeCode(int& hh, int& mm, int& ss, int& ff, FrameCodeModes fcm) const
{
    const Label label = labelOf(magnitude(getFrameCount()), fcmCount(withDefault(fcm)));
    hh = static_cast<int>(label.hh);
    mm = static_cast<int>(label.mm);
    ss = static_cast<int>(label.ss);
    ff = static_cast<int>(label.ff);
}

int TimeUnit::toTimeCode(char* buffer, std::size_t size, FrameCodeModes fcm) const
{
    const FcmRow& row = fcmRow(fcm); // mode 0 has separators of its own, whatever the default mode
    const std::int32_t count = getFrameCount();
    const Label label = labelOf(magnitude(count), fcmCount(withDefault(fcm)));

    char text[labelSize];
    char* end = text;
    if (count < 0)
        *end++ = '-';
    end = putField(end, label.hh);
    *end++ = row.separator;
    end = putField(end, label.mm);
    *end++ = row.separator;
    end = putField(end, label.ss);
    *end++ = row.frameSeparator;
    end = putField(end, label.ff);

    int ret = 0;
    if (buffer && size > 0)
    {
        ret = static_cast<int>(std::min(static_cast<std::size_t>(end - text), size - 1));
        std::memcpy(buffer, text, static_cast<std::size_t>(ret));
        buffer[ret] = '\0';
    }
    ZR_ASSERT_SOFT(ret > 0);
    return ret;
}

TimeUnit& TimeUnit::fromTimeCode(int sciHours, int sciMinutes, int sciSeconds, int sciFrames, FrameCodeModes fcm,
                                 bool clamp, bool bump)
{
    if ((sciHours | sciMinutes | sciSeconds | sciFrames) == 0)
        return *this = getZero(); // zero in every mode, so no mode is asked for

    const FcmCount count = fcmCount(withDefault(fcm));
    const int frameRate = static_cast<int>(count.fps);
    if (clamp)
    {
        sciHours = std::max(sciHours, 0);
        sciMinutes = std::clamp(sciMinutes, 0, 59);
        sciSeconds = std::clamp(sciSeconds, 0, 59);
        sciFrames = std::clamp(sciFrames, 0, std::max(frameRate - 1, 0));
    }
    else
    {
        ZR_ASSERT_PLAIN_AS("sciHours >= 0", sciHours >= 0);
        ZR_ASSERT_PLAIN_AS("( sciMinutes >= 0 ) && ( sciMinutes < 60 )", sciMinutes >= 0 && sciMinutes < 60);
        ZR_ASSERT_PLAIN_AS("( sciSeconds >= 0 ) && ( sciSeconds < 60 )", sciSeconds >= 0 && sciSeconds < 60);
        ZR_ASSERT_PLAIN_AS("( sciFrames >= 0 ) && ( sciFrames < frameRate )", sciFrames >= 0 && sciFrames < frameRate);
    }
    if (bump && !labelExists(sciMinutes, sciSeconds, sciFrames, count))
        dfBumpModeTest(getDfBumpMode(), count, sciMinutes, sciSeconds, sciFrames);

    const std::int64_t minutes = sciHours * std::int64_t{60} + sciMinutes;
    const std::int64_t dropped = count.dropped * (minutes - minutes / 10);
    const auto seconds = static_cast<double>(minutes * 60 + sciSeconds);
    return *this = TimeUnit(seconds * frameRate + sciFrames - static_cast<double>(dropped));
}

TimeUnit& TimeUnit::fromTimeCode(const char* text, FrameCodeModes fcm)
{
    const auto [hh, mm, ss, ff] = readFields(text);
    fromTimeCode(hh, mm, ss, ff, fcm, true, true);
    if (text && *text == '-' && _time != 0.0)
        _time = -_time;
    return *this;
}

void TimeUnit::parseTimeCodeString(const char* text, int& hh, int& mm, int& ss, int& ff)
{
    const Fields fields = readFields(text);
    hh = fields[0];
    mm = fields[1];
    ss = fields[2];
    ff = fields[3];
}

bool TimeUnit::isValidTimeCode(int hh, int mm, int ss, int ff, FrameCodeModes fcm)
{
    const FcmCount count = fcmCount(fcm != FCM_NOT_DEFINED ? fcm : findDefaultFcm());
    return hh >= 0 && mm >= 0 && mm < 60 && ss >= 0 && ss < 60 && ff >= 0 && ff < static_cast<int>(count.fps) &&
           labelExists(mm, ss, ff, count);
}

void TimeUnit::toTime(int& hh, int& mm, int& ss, int& ms, FrameCodeModes fcm) const
{
    const FcmRate rate = fcmRate(withDefault(fcm));
    std::int64_t milliseconds = 0;
    if (rate.num != 0)
        milliseconds = std::llround(std::abs(saturated(_time)) * 1000.0 * rate.den / rate.num);
    hh = static_cast<int>(milliseconds / 3'600'000);
    mm = static_cast<int>(milliseconds / 60'000 % 60);
    ss = static_cast<int>(milliseconds / 1000 % 60);
    ms = static_cast<int>(milliseconds % 1000);
}

int TimeUnit::toTime(char* buffer, FrameCodeModes fcm) const
{
    return toTime(buffer, timeSize, fcm);
}

int TimeUnit::toTime(char* buffer, std::size_t size, FrameCodeModes fcm, const char* prefix) const
{
    if (!buffer || size == 0)
        return 0;
    int hh = 0;
    int mm = 0;
    int ss = 0;
    int ms = 0;
    toTime(hh, mm, ss, ms, fcm);
    if (!prefix)
        prefix = _time < 0.0 && (hh | mm | ss | ms) != 0 ? "-" : "";
    const int length = std::snprintf(buffer, size, "%s%.2d:%.2d:%.2d.%.3d", prefix, hh, mm, ss, ms);
    return length < 0 ? 0 : static_cast<int>(std::min(static_cast<std::size_t>(length), size - 1));
}

bool TimeUnit::getEquivTime(TimeUnit& result, FrameCodeModes fromFcm, FrameCodeModes toFcm, TimeUnit offset) const
{
    const FcmRate from = fcmRate(withDefault(fromFcm));
    const FcmRate to = fcmRate(withDefault(toFcm));
    const bool known = from.num != 0 && to.num != 0;
    if (!known || !isATime() || *this == getTuInfinity())
    {
        result = *this;
        return known;
    }
    const double ratio = static_cast<double>(to.num) * from.den / (static_cast<double>(to.den) * from.num);
    result = (TimeUnit(_time * ratio) + offset).roundToSubFrames();
    return true;
}

int TimeUnit::getEquivTimeCode(char* buffer, std::size_t size, FrameCodeModes fromFcm, FrameCodeModes toFcm,
                               TimeUnit offset) const
{
    TimeUnit equivalent;
    if (getEquivTime(equivalent, fromFcm, toFcm, offset))
        return equivalent.toTimeCode(buffer, size, toFcm);
    if (buffer && size > 0)
        buffer[0] = '\0';
    return 0;
}

TimeUnit TimeUnit::roundToSubFrames() const
{
    constexpr double subFrames = 1000.0;
    return TimeUnit(std::round(saturated(_time) * subFrames) / subFrames + 0.0); // + 0.0: no negative zero
}

FrameCodeModes TimeUnit::getDefaultFcm()
{
    if (const FrameCodeModes known = _defaultFcm.load(std::memory_order_relaxed); known != FCM_NOT_DEFINED)
        return known;
    if (const char* const value = defaultFcmText())
    {
        const FrameCodeModes named = FcmUtil::getFCMFromString(value, true);
        FrameCodeModes unset = FCM_NOT_DEFINED; // a mode that a host sets meanwhile wins
        _defaultFcm.compare_exchange_strong(unset, named, std::memory_order_relaxed);
        if (named != FCM_NOT_DEFINED)
            ZR_POST_NOTICE("Using default fcm from env var '%s'", value);
        else
            ZR_POST_ERROR("Invalid default fcm not env var '%s'", value);
    }
    else
        ZR_POST_ERROR("Default fcm not defined. You can use %s to define it.", defaultFcmVariable().getName());
    ZR_ASSERT_HARD(_defaultFcm != FCM_NOT_DEFINED);
    return _defaultFcm.load(std::memory_order_relaxed);
}

FrameCodeModes TimeUnit::findDefaultFcm()
{
    const FrameCodeModes known = _defaultFcm.load(std::memory_order_relaxed);
    return known != FCM_NOT_DEFINED ? known : FcmUtil::getFCMFromString(defaultFcmText(), true);
}

void TimeUnit::setDefaultFcm(FrameCodeModes fcm)
{
    _defaultFcm.store(fcm, std::memory_order_relaxed);
}

void TimeUnit::setDfBumpMode(DfBumpMode mode)
{
    _dfBumpMode.store(mode, std::memory_order_relaxed);
}

DfBumpMode TimeUnit::getDfBumpMode()
{
    return _dfBumpMode.load(std::memory_order_relaxed);
}

double TimeUnit::getDefaultFrameRate()
{
    ZR_ASSERT_PLAIN(_defaultFrameRate > 0.0);
    return _defaultFrameRate.load(std::memory_order_relaxed);
}

void TimeUnit::setDefaultFrameRate(double framesPerSecond)
{
    _defaultFrameRate.store(framesPerSecond, std::memory_order_relaxed);
}

bool TimeUnit::hasDefaultFrameRate()
{
    return _defaultFrameRate.load(std::memory_order_relaxed) > 0.0;
}

std::string TimeUnit::getDefaultFrameRateString()
{
    constexpr double same = 0.0005; // tells 23.976 from 23.98, and not 29.97 from 30000/1001
    const double rate = getDefaultFrameRate();
    const auto needsMoreThan = [rate](double parts)
    { return std::abs(rate - std::round(rate * parts) / parts) >= same; };
    const char* const format = !needsMoreThan(1.0) ? "%.0f" : !needsMoreThan(100.0) ? "%.2f" : "%.3f";
    char text[std::numeric_limits<double>::max_exponent10 + 8];
    std::snprintf(text, sizeof text, format, rate);
    return text;
}

void TimeUnit::dump() const
{
    dump(std::cout);
}

void TimeUnit::dump(std::ostream& out) const
{
    constexpr FrameCodeModes families[] = {FCM_24,       FCM_25, FCM_29_97_DF, FCM_29_97_NDF,
                                           FCM_59_94_DF, FCM_50, FCM_59_94_NDF};
    char text[std::numeric_limits<double>::max_exponent10 + 64];
    std::snprintf(text, sizeof text, "_time = %f ~= %d Frm", _time, getFrameCount());
    out << text << '\n';
    const auto line = [&](const char* name, FrameCodeModes fcm)
    {
        toTimeCode(text, sizeof text, fcm);
        out << name << " : " << text << '\n';
    };
    for (const FrameCodeModes fcm : families)
        line(FcmUtil::getFCMString(fcm), fcm);
    if (const FrameCodeModes fcm = findDefaultFcm(); fcm != FCM_NOT_DEFINED)
        line("default", fcm);
    else
        out << "(no default FCM)\n";
}

std::ostream& operator<<(std::ostream& out, const TimeUnit& time)
{
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, time._time).ptr;
    return out << std::string_view(text, static_cast<std::size_t>(end - text));
}

} // namespace DM
