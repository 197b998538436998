/// Time in frames, and its timecode labels.
///
///     TimeUnit in(1800);
///     char label[TimeUnit::labelSize];
///     in.toTimeCode(label, sizeof label, FCM_29_97_DF);          // "00;01;00;02"
///     in.fromTimeCode("00;10;00;00", FCM_29_97_DF).getFrames();  // 17982
///
/// A TimeUnit is one double: a count of frames (with fractions: sub-frames) of some frame-code mode. The mode is not
/// part of the value: it is passed along wherever one is needed, and mode 0 stands for the process-wide default.
///
/// Conversions are functions of their arguments (and of the default mode and the bump mode, where they say so) and may
/// be called from any thread. Counts and labels reach 2147483647 frames and saturate there; NaN counts as 0.
#pragma once

#include "tuFcm.h"
#include "zrExport.h"

#include <compare>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <limits>
#include <string>

namespace DM
{

/// Where a drop-frame label that does not exist (00;01;00;00 at 29.97) is moved to.
enum DfBumpMode : std::int32_t
{
    DF_BUMP_TO_PREVIOUS = 0, ///< the last label of the previous minute
    DF_BUMP_TO_NEXT = 1,     ///< the first label of its own minute
    DF_BUMP_TO_EARLIER = 2   ///< frame 28 (29.97) or 56 (59.94) of the previous minute's last second
};

/// The frame count that a double stands for: the nearest integer if it lies within 0.00001, else cut toward zero;
/// saturated to 32 bits, and 0 for NaN. Every conversion from times to integers goes through this one.
constexpr std::int32_t tuFrameCount(double frames)
{
    using Limits = std::numeric_limits<std::int32_t>;
    if (frames >= Limits::max())
        return Limits::max();
    if (!(frames > Limits::min()))
        return frames <= Limits::min() ? Limits::min() : 0;
    constexpr double nearly = 0.00001;
    const auto cut = static_cast<std::int32_t>(frames);
    if (cut + 1.0 - frames < nearly)
        return cut + 1;
    return frames - (cut - 1.0) < nearly ? cut - 1 : cut;
}

/// A time that was read from a label, on its way into a TimeUnit: frames, like it.
class TimeCodeUnit
{
public:
    explicit constexpr TimeCodeUnit(double frames = 0.0)
        : _time(frames)
    {
    }
    constexpr double getFrames() const { return _time; }

private:
    double _time;
};

class ZR_DM_API TimeUnit
{
public:
    static constexpr std::size_t labelSize = 24; ///< bytes that hold any label
    static constexpr std::size_t timeSize = 32;  ///< bytes that hold any wall-clock text without prefix

    constexpr TimeUnit() = default;
    explicit constexpr TimeUnit(double frames)
        : _time(frames)
    {
    }
    constexpr TimeUnit(const TimeCodeUnit& time)
        : _time(time.getFrames())
    {
    }

    static constexpr TimeUnit getZero() { return TimeUnit(0.0); }
    static constexpr TimeUnit getTuInfinity() { return TimeUnit(1073741823.0); }
    /// The value of a time that is not set.
    static constexpr TimeUnit getNotATime() { return TimeUnit(2147483647.0); }

    constexpr bool isATime() const { return _time != getNotATime()._time; }
    constexpr double getFrames() const { return _time; }
    constexpr std::int32_t getFrameCount() const { return tuFrameCount(_time); }

    friend constexpr auto operator<=>(const TimeUnit&, const TimeUnit&) = default; // NOLINT(modernize-use-nullptr)
    friend constexpr TimeUnit operator+(TimeUnit a, TimeUnit b) { return TimeUnit(a._time + b._time); }
    friend constexpr TimeUnit operator-(TimeUnit a, TimeUnit b) { return TimeUnit(a._time - b._time); }
    friend constexpr TimeUnit operator-(TimeUnit a) { return TimeUnit(0.0 - a._time); } // no negative zero
    friend constexpr TimeUnit operator*(TimeUnit a, double factor) { return TimeUnit(a._time * factor); }
    friend constexpr TimeUnit operator*(double factor, TimeUnit a) { return a * factor; }
    friend constexpr TimeUnit operator/(TimeUnit a, double divisor) { return TimeUnit(a._time / divisor); }
    constexpr TimeUnit& operator+=(TimeUnit other) { return *this = *this + other; }
    constexpr TimeUnit& operator-=(TimeUnit other) { return *this = *this - other; }
    constexpr TimeUnit& operator*=(double factor) { return *this = *this * factor; }
    constexpr TimeUnit& operator/=(double divisor) { return *this = *this / divisor; }

    // Labels

    /// The label of the absolute time; hours are not wrapped at 24. All four are 0 in a mode without a rate.
    void toTimeCode(int& hh, int& mm, int& ss, int& ff, FrameCodeModes fcm) const;
    /// Writes the label, with a "-" before that of a negative count, cut to `size` and always terminated. The
    /// separators tell the mode's family: "01:00:00:15" (25, 30, mode 0), "01:00:00+12" (24, 23.976), "01:00:00#30"
    /// (50, 60), "01;00;00;02" (29.97 DF), "01;00;00#04" (59.94 DF). Returns the characters written; none, for want of
    /// a buffer or of room, is a soft assertion.
    int toTimeCode(char* buffer, std::size_t size, FrameCodeModes fcm) const;

    /// Becomes the time of a label. `clamp` moves fields that are out of range to the nearest in range, where otherwise
    /// the process stops, as it does without a mode: ask TimeLabel::mayBe first. `bump` moves a drop-frame label that
    /// does not exist as setDfBumpMode says; unmoved, it counts as if its minute had dropped none.
    TimeUnit& fromTimeCode(int hh, int mm, int ss, int ff, FrameCodeModes fcm, bool clamp = false, bool bump = false);
    /// The same for a text (see parseTimeCodeString), clamping and bumping; a leading "-" gives a negative time. A text
    /// that is no label is 0: what a person or a file says is read by TimeLabel (tuLabel.h), which tells.
    TimeUnit& fromTimeCode(const char* text, FrameCodeModes fcm);

    /// Splits a text at ":", ";", "+" and "#" into the last of hours, minutes, seconds and frames; what is not given is
    /// 0, what is no number too. A leading sign and one leading separator are skipped, fields after the fourth ignored,
    /// and only the first 31 characters are read. Null is an empty text.
    static void parseTimeCodeString(const char* text, int& hh, int& mm, int& ss, int& ff);
    /// Whether the fields are in range and the label exists (drop-frame modes leave labels out). False, quietly, in a
    /// mode without a rate or in mode 0 without a default.
    static bool isValidTimeCode(int hh, int mm, int ss, int ff, FrameCodeModes fcm);

    // Wall-clock time at the mode's exact rate, rounded to milliseconds

    void toTime(int& hh, int& mm, int& ss, int& ms, FrameCodeModes fcm) const;
    /// Writes "hh:mm:ss.mmm", with a "-" before a negative time, into at least timeSize bytes.
    int toTime(char* buffer, FrameCodeModes fcm) const;
    /// The same, cut to `size` and always terminated; a prefix that is not null takes the place of the sign. Returns
    /// the characters written.
    int toTime(char* buffer, std::size_t size, FrameCodeModes fcm, const char* prefix = nullptr) const;

    // Another mode

    /// The same wall-clock time in frames of `toFcm`, plus `offset` (in frames of `toFcm` too), rounded to sub-frames.
    /// A time that is not set or infinite stays so. False, and the time unchanged, when a mode has no rate.
    bool getEquivTime(TimeUnit& result, FrameCodeModes fromFcm, FrameCodeModes toFcm,
                      TimeUnit offset = getZero()) const;
    /// The label of that time in `toFcm`, as toTimeCode writes it; empty, and 0, when a mode has no rate.
    int getEquivTimeCode(char* buffer, std::size_t size, FrameCodeModes fromFcm, FrameCodeModes toFcm,
                         TimeUnit offset = getZero()) const;
    /// The time to the nearest 1/1000 of a frame, saturated as counts are, so that it agrees with its label.
    TimeUnit roundToSubFrames() const;

    // Process-wide state: relaxed atomics

    /// The default mode: as set, else as ZR_DEFAULT_FCM names it, which is read until it gives a mode, and posted. A
    /// process that has neither is stopped: ask hasDefaultFcm first.
    static FrameCodeModes getDefaultFcm();
    /// The mode that getDefaultFcm would return, or FCM_NOT_DEFINED where it would stop the process; posts nothing.
    static FrameCodeModes findDefaultFcm();
    static bool hasDefaultFcm() { return findDefaultFcm() != FCM_NOT_DEFINED; }
    static void setDefaultFcm(FrameCodeModes fcm);

    /// A value that is no bump mode stops the process when it is first needed.
    static void setDfBumpMode(DfBumpMode mode);
    static DfBumpMode getDfBumpMode();

    /// Frames per second for media without a mode. Without one (0.0), asking for it stops the process: ask
    /// hasDefaultFrameRate first.
    static double getDefaultFrameRate();
    static void setDefaultFrameRate(double framesPerSecond);
    static bool hasDefaultFrameRate();
    /// With as many decimals as it takes: "25", "29.97", "23.976".
    static std::string getDefaultFrameRateString();

    /// For debugging: the value, its label in each family of modes and in the default mode; on standard output.
    void dump() const;
    void dump(std::ostream& out) const;
    /// The frames in the shortest form that reads back as the same double.
    friend ZR_DM_API std::ostream& operator<<(std::ostream& out, const TimeUnit& time);

private:
    double _time = 0.0;
};

} // namespace DM
