/// The grammar of the lines of a cut list that have more than a text in them: what the words of a line say, by itself.
/// What they mean where they stand is readEdl's to settle.
#pragma once

#include "icEdlList.h"
#include "icTimeCode.h"

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace interchange
{

/// "001  REEL  AA/V  D  024  TIMECODE x 4".
struct EdlEventLine
{
    EdlEvent event;                    ///< but for its times and what they depend on
    std::array<TimeLabel, 4> labels{}; ///< source in and out, record in and out
    std::string_view labelsText;       ///< from the first of them to the last
    bool hasUsualLabels = false;       ///< two digits each, and colons but for the last separator
    bool hasMore = false;              ///< something stands behind the last time code
};

/// The names of the labels of an event line, as messages use them.
inline constexpr std::array<std::string_view, 4> edlLabelNames{"source in-time", "source out-time", "record in-time",
                                                               "record out-time"};

/// Reads an event line from both ends, so that the reel may be anything: it is what remains between the number and the
/// channels, perhaps nothing. Says what is wrong with a line that is no event; none if it is one.
std::optional<std::string> parseEventLine(std::string_view line, EdlEventLine& read);

/// A line of an event, or of a mark, with its record times that many frames later; as it stands where these are none of
/// the day's.
std::string movedLine(std::string_view line, std::int64_t frames, DM::FrameCodeModes fcm);

/// "V", "A2", "AA/V", "B", "NONE", ...: kinds and numbers, with or without separators. A bare "A" behind another stands
/// for the next channel.
std::optional<EdlChannels> parseChannels(std::string_view text);

/// As we write them: channels without those of AUD lines, and what stands behind them in front of the time codes.
std::string channelsText(EdlChannels channels);
std::string transitionText(const EdlEvent& event);
/// However many blanks stand between them.
bool haveSameWords(std::string_view a, std::string_view b);
/// What an event's spelling says, where that still is so; the two texts above where it is not.
struct EdlSpelling
{
    std::string channels;
    std::string transition;
    std::uint64_t routed = 0; ///< the audio channels that AUD lines are left to say
};
EdlSpelling spellingOf(const EdlEvent& event);

/// What stands behind "M2": "REEL  FPS  TIMECODE", of which the first and the last may be missing.
struct EdlSpeedLine
{
    std::string_view reel;
    std::string_view number; ///< the text of ...
    double fps = 0;
    std::optional<TimeLabel> at;
};
std::optional<EdlSpeedLine> parseSpeed(std::string_view text);

/// The nine numbers of an ASC_SOP, however they are grouped and spaced.
std::optional<std::array<double, 9>> parseSlopeOffsetPower(std::string_view text);

/// A mark that a note says, at the in-time of the note's event: "text |C:colour |M:name |D:frames", of which one of the
/// colour and the name may be missing. Colours may have a word of the system's own before their name.
struct EdlNoteMark
{
    std::string_view name;
    std::string_view comment;
    std::optional<NamedColour> colour;
    std::int64_t length = 0; ///< 0: a point
};
std::optional<EdlNoteMark> parseNoteMark(std::string_view text);

/// The nine numbers, and the saturation, as we write them.
std::string slopeOffsetPowerText(const Look& look);
std::string saturationText(const Look& look);

/// A text as a message quotes it: shortened, if it is very long.
std::string quoted(std::string_view text);

} // namespace interchange
