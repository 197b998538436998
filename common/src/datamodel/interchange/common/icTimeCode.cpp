#include "icTimeCode.h"

#include "icText.h"

#include "tuLabel.h"

#include <algorithm>
#include <array>

namespace interchange
{

std::optional<TimeLabel> parseTimeLabel(std::string_view text)
{
    if (text.size() == usualLabelSize)
        if (const std::optional<TimeLabel> usual = usualLabel(text.data()))
            return usual;
    constexpr int fields = 4;
    constexpr int largest = 999;
    DM::TimeLabel label;
    if (text.empty() || !isDigit(text.front()) || DM::TimeLabel::parse(text, label) != DM::TimeLabel::Good ||
        label.fields != fields || std::max({label.hours, label.minutes, label.seconds, label.frames}) > largest)
        return std::nullopt;
    return TimeLabel{label.hours, label.minutes, label.seconds, label.frames, label.isDrop};
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

bool haveSameForm(std::string_view a, std::string_view b)
{
    return std::ranges::equal(a, b, [](char x, char y) { return x == y || (isDigit(x) && isDigit(y)); });
}

void appendTimeLabel(std::string& text, std::int64_t frames, DM::FrameCodeModes fcm, std::string_view form)
{
    const std::int64_t day = framesOfDay(fcm);
    int hours = 0;
    int minutes = 0;
    int seconds = 0;
    int frame = 0;
    DM::TimeUnit(static_cast<double>((frames % day + day) % day)).toTimeCode(hours, minutes, seconds, frame, fcm);

    if (!form.empty())
    {
        const std::array fields{hours, minutes, seconds, frame};
        std::size_t field = 0;
        for (std::size_t at = 0; at < form.size() && field < fields.size(); ++field)
        {
            const std::size_t digits = std::min(form.find_first_not_of("0123456789", at), form.size()) - at;
            const std::string figure = std::to_string(fields[field]);
            text.append(digits - std::min(digits, figure.size()), '0').append(figure);
            const std::size_t next = std::min(form.find_first_of("0123456789", at + digits), form.size());
            text.append(form.substr(at + digits, next - at - digits));
            at = next;
        }
        return;
    }
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
