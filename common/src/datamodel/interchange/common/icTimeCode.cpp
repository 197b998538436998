#include "icTimeCode.h"

#include "icText.h"

#include <array>

namespace interchange
{

namespace
{

bool isSeparator(char c)
{
    return c == ':' || c == ';' || c == '.' || c == ',' || c == '+' || c == '#';
}

} // namespace

std::optional<TimeLabel> parseTimeLabel(std::string_view text)
{
    constexpr std::size_t fields = 4;
    constexpr int digitsOfAField = 3;
    std::array<int, fields> values{};
    std::size_t field = 0;
    int digits = 0;
    bool drop = false;
    for (const char c : text)
    {
        if (isDigit(c))
        {
            if (++digits > digitsOfAField)
                return std::nullopt;
            values[field] = values[field] * 10 + (c - '0');
            continue;
        }
        if (!isSeparator(c) || digits == 0 || ++field == fields)
            return std::nullopt;
        drop |= c == ';' || c == ',';
        digits = 0;
    }
    if (field != fields - 1 || digits == 0)
        return std::nullopt;
    return TimeLabel{values[0], values[1], values[2], values[3], drop};
}

bool isInDay(const TimeLabel& label, DM::FrameCodeModes fcm)
{
    return label.hours < 24 &&
           DM::TimeUnit::isValidTimeCode(label.hours, label.minutes, label.seconds, label.frames, fcm);
}

std::int64_t framesOf(const TimeLabel& label, DM::FrameCodeModes fcm)
{
    DM::TimeUnit time;
    time.fromTimeCode(label.hours % 24, label.minutes, label.seconds, label.frames, fcm, true, true);
    return time.getFrameCount();
}

std::int64_t framesOfDay(DM::FrameCodeModes fcm)
{
    return std::int64_t{24} * DM::FcmUtil::getFramesOneHour(fcm);
}

void appendTimeLabel(std::string& text, std::int64_t frames, DM::FrameCodeModes fcm)
{
    const std::int64_t day = framesOfDay(fcm);
    int hours = 0;
    int minutes = 0;
    int seconds = 0;
    int frame = 0;
    DM::TimeUnit(static_cast<double>((frames % day + day) % day)).toTimeCode(hours, minutes, seconds, frame, fcm);

    const auto twoDigits = [](int value) { return std::array{char('0' + value / 10), char('0' + value % 10)}; };
    const auto append = [&](int value) { text.append(twoDigits(value).data(), 2); };
    append(hours);
    text.push_back(':');
    append(minutes);
    text.push_back(':');
    append(seconds);
    text.push_back(DM::FcmUtil::isDropFrame(fcm) ? ';' : ':');
    append(frame);
}

} // namespace interchange
