#include "tuLabel.h"

#include "tuFcmTableImp.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>

namespace DM
{

namespace
{

FrameCodeModes modeOrDefault(FrameCodeModes fcm)
{
    return fcm != FCM_NOT_DEFINED ? fcm : TimeUnit::findDefaultFcm();
}

} // namespace

const char* TimeLabel::reason(Status status)
{
    switch (status)
    {
    case Good:
        return "";
    case NotALabel:
        return "not a label";
    case NoMode:
        return "no frame-code mode to read it in";
    case OutOfRange:
        return "a field is out of range in this mode";
    case Dropped:
        return "this mode drops the label";
    case TooLarge:
        return "more frames than can be counted";
    }
    return "";
}

TimeLabel::Status TimeLabel::parse(std::string_view text, TimeLabel& label)
{
    constexpr std::size_t longest = 31; // as TimeUnit::parseTimeCodeString reads
    constexpr std::int64_t largest = std::numeric_limits<int>::max();
    label = {};
    if (text.size() > longest)
        return NotALabel;
    if (text.starts_with('-') || text.starts_with('+'))
    {
        label.isNegative = text.front() == '-';
        text.remove_prefix(1);
    }
    if (text.starts_with(':') || text.starts_with(';'))
        text.remove_prefix(1);

    std::array<int, 4> numbers{};
    std::size_t last = 0;
    int digits = 0;
    for (const char c : text)
    {
        if (c >= '0' && c <= '9')
        {
            ++digits;
            numbers[last] = static_cast<int>(std::min(numbers[last] * std::int64_t{10} + (c - '0'), largest));
            continue;
        }
        if (std::string_view(":;.,+#").find(c) == std::string_view::npos || digits == 0 || ++last == numbers.size())
            return NotALabel;
        label.isDrop |= c == ';' || c == ',';
        digits = 0;
    }
    if (digits == 0)
        return NotALabel;
    std::rotate(numbers.begin(), numbers.begin() + static_cast<std::ptrdiff_t>(last) + 1, numbers.end());
    label.hours = numbers[0];
    label.minutes = numbers[1];
    label.seconds = numbers[2];
    label.frames = numbers[3];
    label.fields = static_cast<int>(last) + 1;
    return Good;
}

TimeLabel::Status TimeLabel::toTime(FrameCodeModes fcm, TimeUnit& time, Moves moves) const
{
    fcm = modeOrDefault(fcm);
    const int rate = static_cast<int>(fcmCount(fcm).fps);
    if (rate == 0)
        return NoMode;
    int mm = minutes;
    int ss = seconds;
    int ff = frames;
    if (moves.clamp)
    {
        mm = std::min(mm, 59);
        ss = std::min(ss, 59);
        ff = std::min(ff, rate - 1);
    }
    if (!TimeUnit::isValidTimeCode(hours, mm, ss, ff, FcmUtil::toNonDrop(fcm)))
        return OutOfRange;
    if (!moves.bump && !TimeUnit::isValidTimeCode(hours, mm, ss, ff, fcm))
        return Dropped;
    TimeUnit read;
    read.fromTimeCode(hours, mm, ss, ff, fcm, false, moves.bump);
    if (!(read < TimeUnit::getNotATime()))
        return TooLarge;
    time = isNegative ? -read : read;
    return Good;
}

TimeLabel::Status TimeLabel::mayBe(int hours, int minutes, int seconds, int frames, FrameCodeModes fcm)
{
    TimeLabel label;
    label.hours = hours;
    label.minutes = minutes;
    label.seconds = seconds;
    label.frames = frames;
    TimeUnit time;
    return label.toTime(fcm, time);
}

TimeLabel::Status TimeLabel::read(std::string_view text, FrameCodeModes fcm, TimeUnit& time)
{
    TimeLabel label;
    const Status status = parse(text, label);
    return status == Good ? label.toTime(fcm, time) : status;
}

std::string TimeLabel::text(TimeUnit time, FrameCodeModes fcm)
{
    fcm = modeOrDefault(fcm);
    if (fcmCount(fcm).fps == 0)
        return std::to_string(time.getFrameCount());
    char text[TimeUnit::labelSize];
    time.toTimeCode(text, sizeof text, fcm);
    // What tells the modes' families apart goes, but for the one thing that editors look for.
    int field = 0;
    for (char& c : text)
    {
        if (c == '\0')
            break;
        const bool isSeparator = c != '-' && (c < '0' || c > '9');
        if (isSeparator)
            c = ++field == 3 && FcmUtil::isDropFrame(fcm) ? ';' : ':';
    }
    return text;
}

} // namespace DM
