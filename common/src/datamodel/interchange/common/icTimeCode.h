/// Time code as cut lists write it: labels of one day, where a ";" between any two fields tells drop frame.
///
/// The library's own label texts mark each family of modes with separators of its own; lists know two. All counting is
/// left to DM::TimeUnit.
#pragma once

#include "tuTimeUnit.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace interchange
{

/// The fields of a label as they stand, in range or not.
struct TimeLabel
{
    int hours = 0;
    int minutes = 0;
    int seconds = 0;
    int frames = 0;
    bool drop = false; ///< written with a ";" or ","
};

/// A label of four numbers, each of up to 999 (DM::TimeLabel::parse), as the whole text; none when it is anything else.
/// A "." or
/// ":" says nothing about drop frame, and neither do the "+" and "#" of the library's own labels.
std::optional<TimeLabel> parseTimeLabel(std::string_view text);

/// Such a label as nearly all of all lists are, "01:00:00:00" or "01:00:00;00", from the text's begin on; none for
/// another one.
inline constexpr std::size_t usualLabelSize = 11;
inline std::optional<TimeLabel> usualLabel(const char* text)
{
    constexpr std::size_t last = 8; ///< separator
    bool isUsual = text[2] == ':' && text[5] == ':' && (text[last] == ':' || text[last] == ';');
    for (const std::size_t at : {0, 1, 3, 4, 6, 7, 9, 10})
        isUsual &= text[at] >= '0' && text[at] <= '9';
    if (!isUsual)
        return std::nullopt;
    const auto number = [text](std::size_t at) { return (text[at] - '0') * 10 + (text[at + 1] - '0'); };
    return TimeLabel{number(0), number(3), number(6), number(9), text[last] == ';'};
}

/// Whether a label is one of the day's in the mode: fields in range, and not one that drop frame leaves out.
bool isInDay(const TimeLabel& label, DM::FrameCodeModes fcm);
/// Frames since midnight. A label that is not one of the day's is moved to one that is: hours wrap at 24, the other
/// fields are clamped, and labels that drop frame leaves out are bumped as TimeUnit::setDfBumpMode says.
std::int64_t framesOf(const TimeLabel& label, DM::FrameCodeModes fcm);
/// Frames of a day's labels.
std::int64_t framesOfDay(DM::FrameCodeModes fcm);

/// Appends the label of a count of frames, wrapped at midnight: "01:00:00:00", and "01:00:00;00" in drop-frame modes.
/// `form`: a label whose separators and leading zeros it has instead.
void appendTimeLabel(std::string& text, std::int64_t frames, DM::FrameCodeModes fcm, std::string_view form = {});
/// Whether two labels differ in nothing but their figures.
bool haveSameForm(std::string_view a, std::string_view b);

} // namespace interchange
