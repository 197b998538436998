/// Pulldown: film frames carried in video at a fixed cadence, four in five (24 in 30) or twenty-four in twenty-five.
///
/// Times are frames of the rate that their name gives (t24, t30, t25). A cadence is placed by a reference time, whose
/// frame has the given position in the cadence. Every conversion is a pure function of its arguments, never fails, and
/// may be called from any thread; times beyond 32 bits of frames saturate.
#pragma once

#include "tuTimeUnit.h"
#include "zrExport.h"

#include <cstdint>

namespace DM
{

/// The 2:3 pulldown: four film frames A B C D in the five video frames AA BB BC CD DD.
class ZR_DM_API TU2_3Conv
{
public:
    /// The position of a video frame in the cadence. BC and CD are made of fields of two film frames.
    enum PD30FrameType : std::int32_t
    {
        PD30_AA,
        PD30_BB,
        PD30_BC,
        PD30_CD,
        PD30_DD
    };

    /// "AA" to "DD"; null for what is no position.
    static const char* get_pd30ftStr(PD30FrameType type);

    static PD30FrameType getPD30FrameType(TimeUnit t, TimeUnit ref, PD30FrameType frameType);
    /// The film frame of position `t`: that of getPD30FrameType, but -1 for DD.
    static int getPD24FrameType(TimeUnit t, TimeUnit ref, PD30FrameType frameType);

    /// With `dropFrame`, both shift by getDFPadding(dfRef): video time is that much less.
    static TimeUnit to30fpsEquiv(TimeUnit t24, TimeUnit ref, PD30FrameType frameType, bool dropFrame, TimeUnit dfRef);
    static TimeUnit to24fpsEquiv(TimeUnit t30, TimeUnit ref, PD30FrameType frameType, bool dropFrame, TimeUnit dfRef);
    /// A number of frames that grows with t about as the dropped labels do. It is not their number: it stays as it is
    /// for the times that were stored with it.
    static TimeUnit getDFPadding(TimeUnit t);

    /// The length in film frames of `length` video frames from `t` on, and the reverse.
    static TimeUnit compressDuration(TimeUnit t, std::uint32_t length, TimeUnit ref, PD30FrameType frameType);
    static TimeUnit expandDuration(TimeUnit t, std::uint32_t length, TimeUnit ref, PD30FrameType frameType);
};

/// The 24-in-25 pulldown: twenty-four film frames in twenty-five video frames, twelve of which (LM to WX) are
/// made of fields of two film frames. The cadence runs on through time zero: frame -1 is the last of a group.
class ZR_DM_API TuPPConv
{
public:
    /// The position of a video frame in the cadence.
    enum PD25FrameType : std::int32_t
    {
        // clang-format off
        PD25_AA, PD25_BB, PD25_CC, PD25_DD, PD25_EE, PD25_FF, PD25_GG, PD25_HH, PD25_II, PD25_JJ, PD25_KK, PD25_LL,
        PD25_LM, PD25_MN, PD25_NO, PD25_OP, PD25_PQ, PD25_QR, PD25_RS, PD25_ST, PD25_TU, PD25_UV, PD25_VW, PD25_WX,
        PD25_XX
        // clang-format on
    };

    /// "AA" to "XX"; null for what is no position.
    static const char* get_pd25ftStr(PD25FrameType type);

    static PD25FrameType getPD25FrameType(TimeUnit t, TimeUnit ref, PD25FrameType frameType);

    static TimeUnit to25fpsEquiv(TimeUnit t24, TimeUnit ref, PD25FrameType frameType);
    static TimeUnit to24fpsEquiv(TimeUnit t25, TimeUnit ref, PD25FrameType frameType);

    /// The length in film frames of `length` video frames from `t` on, and the reverse.
    static TimeUnit compressDuration(TimeUnit t, std::uint32_t length, TimeUnit ref, PD25FrameType frameType);
    static TimeUnit expandDuration(TimeUnit t, std::uint32_t length, TimeUnit ref, PD25FrameType frameType);
};

/// How a medium's 2:3 pulldown is placed: a plain value.
class ZR_DM_API Tu23Data
{
public:
    using PD30FrameType = TU2_3Conv::PD30FrameType;

    /// Not flagged, at time zero in no mode, at the default reference frame type.
    Tu23Data();
    Tu23Data(bool flag, TimeUnit refTime, FrameCodeModes fcm, PD30FrameType refFrameType, TimeUnit dfRefTime);

    void copy(const Tu23Data& other) { *this = other; }

    bool getFlag() const { return _flag; }
    TimeUnit getRefTime() const { return _refTime; }
    FrameCodeModes getFcm() const { return _fcm; }
    PD30FrameType getRefFrameType() const { return _refFrameType; }
    TimeUnit getDfRefTime() const { return _dfRefTime; }

    void setFlag(bool flag) { _flag = flag; }
    void setRefTime(TimeUnit time) { _refTime = time; }
    void setFcm(FrameCodeModes fcm) { _fcm = fcm; }
    void setRefFrameType(PD30FrameType type) { _refFrameType = type; }
    void setDfRefTime(TimeUnit time) { _dfRefTime = time; }

    /// Process-wide; a relaxed atomic.
    static PD30FrameType getDefaultRefFrameType();
    static void setDefaultRefFrameType(PD30FrameType type);

private:
    bool _flag = false;
    TimeUnit _refTime;
    FrameCodeModes _fcm = FCM_NOT_DEFINED;
    PD30FrameType _refFrameType;
    TimeUnit _dfRefTime;
};

} // namespace DM
