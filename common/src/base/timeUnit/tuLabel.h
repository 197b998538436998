/// Labels as people write and read them: "01:00:00:15", and "01:00:00;02" where labels drop.
///
///     TimeUnit time;
///     const TimeLabel::Status status = TimeLabel::read("00:10:00;00", FCM_29_97_DF, time);   // 17982
///     if (status != TimeLabel::Good)
///         std::cerr << TimeLabel::reason(status);
///     TimeLabel::text(time, FCM_29_97_DF);                                                   // "00:10:00;00"
///
/// Reading is strict: what is not a label to the letter, or not one of the mode, is told and never taken for another.
/// Beside this form every mode's own (TimeUnit::toTimeCode: "01:00:00+12", "01;00;00#04") and the "." and "," of other
/// systems are read. A mode is FCM_NOT_DEFINED for the process-wide default; nothing here stops a process without one.
#pragma once

#include "tuTimeUnit.h"
#include "zrExport.h"

#include <string>
#include <string_view>

namespace DM
{

class ZR_DM_API TimeLabel
{
public:
    enum Status
    {
        Good,
        NotALabel,  ///< the text is something else
        NoMode,     ///< the mode has no rate
        OutOfRange, ///< minutes, seconds or frames are more than the mode counts to
        Dropped,    ///< the mode leaves this label out
        TooLarge    ///< more frames than can be counted
    };
    /// What it says about a label, in a sentence's words: "a field is out of range in this mode".
    static const char* reason(Status status);

    /// What becomes of a label that the mode does not have.
    struct Moves
    {
        bool clamp = false; ///< fields out of range go to the nearest in range
        bool bump = false;  ///< labels that the mode drops go where TimeUnit::setDfBumpMode says
    };

    /// Splits a text of at most 31 characters: one to four numbers, the last of hours, minutes, seconds and frames,
    /// between single separators (: ; . , + #), with a sign and a separator in front if need be. No blanks. Numbers
    /// saturate.
    static Status parse(std::string_view text, TimeLabel& label);
    /// The time of the label in a mode; left as it is where the status is not Good.
    Status toTime(FrameCodeModes fcm, TimeUnit& time, Moves moves) const;
    Status toTime(FrameCodeModes fcm, TimeUnit& time) const { return toTime(fcm, time, {}); }
    /// Whether there is such a label in a mode. Where the answer is Good or Dropped, TimeUnit::fromTimeCode takes the
    /// fields as they are, without stopping the process.
    static Status mayBe(int hours, int minutes, int seconds, int frames, FrameCodeModes fcm);

    /// Both in one step.
    static Status read(std::string_view text, FrameCodeModes fcm, TimeUnit& time);
    /// The label of a time, with a "-" in front of a negative one's; a count of frames where the mode has no rate.
    static std::string text(TimeUnit time, FrameCodeModes fcm);

    // As written, in range or not

    int hours = 0;
    int minutes = 0;
    int seconds = 0;
    int frames = 0;
    int fields = 0; ///< how many were written
    bool isNegative = false;
    bool isDrop = false; ///< with a ";" or "," between two fields
};

} // namespace DM
