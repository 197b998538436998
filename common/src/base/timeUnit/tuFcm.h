/// Frame-code modes: the rates at which frames are counted, and how their labels are written.
///
/// A mode fixes three things: the exact rate (29.97 is 30000/1001), the integer rate of the labels' frame field (30),
/// and whether labels are dropped so that they keep up with the clock. The numbering is deliberate: a positive mode is
/// its integer rate, and 30 and 60 are the 1000/1001 rates counted without dropping; the others are negative.
///
/// A value that is no mode counts at the rate of its number when that is positive, and at no rate (0) when it is not:
/// every conversion in it then gives zero. FCM_NOT_DEFINED stands for the process-wide default mode wherever a rate is
/// needed (see TimeUnit::getDefaultFcm, which stops a process that has none).
///
/// Every function may be called from any thread.
#pragma once

#include "zrExport.h"

#include <cstdint>
#include <span>
#include <string_view>

namespace DM
{

// clang-format off
/// The modes that have a rate, the slowest first; all that is known of one stands in its line. Enumerator and number (a
/// positive one is the rate); exact rate, over 1000 or 1001; frames in a second's labels; labels dropped in a minute
/// that is no multiple of ten; in a label, what stands before minutes and seconds, and before frames; the modes at the
/// same rate that drop labels and that do not; the texts of getFCMString, getFPSString, getFPSOrNDFString and
/// getDFAndNDFString.
#define ZR_FRAME_CODE_MODES(MODE)                                                                                                      \
    MODE(FCM_23_976,    -3, 24000, 1001, 24, 0, ':', '+', FCM_23_976,   FCM_23_976,    "23.976 fps",    "23.976", "23.976 fps", "NDF") \
    MODE(FCM_24,        24, 24000, 1000, 24, 0, ':', '+', FCM_24,       FCM_24,        "24 fps",        "24",     "24 fps",     "NDF") \
    MODE(FCM_25,        25, 25000, 1000, 25, 0, ':', ':', FCM_25,       FCM_25,        "25 fps",        "25",     "25 fps",     "NDF") \
    MODE(FCM_29_97_DF,  -1, 30000, 1001, 30, 2, ';', ';', FCM_29_97_DF, FCM_29_97_NDF, "29.97 fps DF",  "29.97",  "29.97 DF",   "DF")  \
    MODE(FCM_29_97_NDF, 30, 30000, 1001, 30, 0, ':', ':', FCM_29_97_DF, FCM_29_97_NDF, "29.97 fps NDF", "29.97",  "29.97 NDF",  "NDF") \
    MODE(FCM_30,        -4, 30000, 1000, 30, 0, ':', ':', FCM_30,       FCM_30,        "30 fps",        "30",     "30 fps",     "NDF") \
    MODE(FCM_50,        50, 50000, 1000, 50, 0, ':', '#', FCM_50,       FCM_50,        "50 fps",        "50",     "50 fps",     "NDF") \
    MODE(FCM_59_94_DF,  -2, 60000, 1001, 60, 4, ';', '#', FCM_59_94_DF, FCM_59_94_NDF, "59.94 fps DF",  "59.94",  "59.94 DF",   "DF")  \
    MODE(FCM_59_94_NDF, 60, 60000, 1001, 60, 0, ':', '#', FCM_59_94_DF, FCM_59_94_NDF, "59.94 fps NDF", "59.94",  "59.94 NDF",  "NDF") \
    MODE(FCM_60,        -5, 60000, 1000, 60, 0, ':', '#', FCM_60,       FCM_60,        "60 fps",        "60",     "60 fps",     "NDF")
// clang-format on

enum FrameCodeModes : std::int32_t
{
    FCM_NOT_DEFINED = 0,
#define ZR_MODE(name, number, ...) name = (number),
    ZR_FRAME_CODE_MODES(ZR_MODE)
#undef ZR_MODE
};

using FCM = FrameCodeModes;

class ZR_DM_API FcmUtil
{
public:
    /// The ten modes that have a rate, the slowest first.
    static std::span<const FrameCodeModes> getModes();

    // Rates

    /// Frames per second of the labels' frame field: 30 for all of 29.97 DF, 29.97 NDF and 30.
    static int getIntFPS(FrameCodeModes fcm);
    /// Exact frames per second: 30000/1001 for 29.97.
    static double getDoubleFPS(FrameCodeModes fcm);
    /// The exact rate as a fraction over 1000 or 1001; `reduce` turns 25000/1000 into 25/1. What is no mode, or mode 0
    /// without a default, gives 0/1 and false: this one never stops the process and posts nothing.
    static bool getRational(FrameCodeModes fcm, unsigned& num, unsigned& den, bool reduce);
    /// Frames whose labels fill an hour: 107892 at 29.97 DF, 108000 at 29.97 NDF and 30.
    static int getFramesOneHour(FrameCodeModes fcm);

    // Drop frame

    static bool isDropFrame(FrameCodeModes fcm)
    {
#define ZR_MODE(name, number, num, den, fps, dropped, ...) || ((dropped) != 0 && fcm == (name))
        return false ZR_FRAME_CODE_MODES(ZR_MODE);
#undef ZR_MODE
    }
    /// The mode that drops labels at the same rate; modes that have none are returned as they are.
    static FrameCodeModes toDrop(FrameCodeModes fcm);
    static FrameCodeModes toNonDrop(FrameCodeModes fcm);

    // Modes from rates; FCM_NOT_DEFINED when no mode has the rate

    /// From an integer rate, in which 30 and 60 are the 1000/1001 rates.
    static FrameCodeModes FPStoFCM(int fps, bool drop);
    static FrameCodeModes FPStoFCM(double fps, bool drop);
    static FrameCodeModes FPStoFCM(unsigned num, unsigned den, bool drop);
    /// The mode to read a rate in that need not be a mode's own: the highest rung at or below it of a ladder that reads
    /// double and half rates as the rate itself (48 and 12 as 24, 15 as 30); 60 and above are 60. FCM_NOT_DEFINED only
    /// for what is no rate: zero, a negative number, NaN.
    static FrameCodeModes FPStoApproximateFCM(double fps, bool drop);

    // Names; never null: "???" for mode 0, "" for what is no mode

    static const char* getFCMString(FrameCodeModes fcm);      ///< "29.97 fps DF": the name in documents and options
    static const char* getFPSString(FrameCodeModes fcm);      ///< "29.97"
    static const char* getFPSOrNDFString(FrameCodeModes fcm); ///< "29.97 DF", and "25 fps" where nothing can drop
    static const char* getDFAndNDFString(FrameCodeModes fcm); ///< "DF" or "NDF"
    /// The mode named by getFCMString; FCM_NOT_DEFINED for null and for every other text.
    static FrameCodeModes getFCMFromString(const char* text, bool caseSensitive);
    /// The mode as people name it, in upper or lower case: the names of getFCMString, and in short a rate ("25", "30",
    /// "59.94"; 23.98 is 23.976), "PAL" or "NTSC", each with or without "fps" and "DF" or "NDF" ("29.97df"). 29.97,
    /// 59.94 and NTSC count without dropping unless "DF" says otherwise. FCM_NOT_DEFINED for every other text.
    static FrameCodeModes getFCMFromName(std::string_view name);
};

} // namespace DM
