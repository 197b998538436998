/// What a segment plays: which frame of its material stands at a record time, and the other way round.
///
///     const DmPlayed played(*segment, dmFcmFromText(composition->getFCM()));
///     if (const std::optional<double> frame = played.frameAt(playhead))
///         show(*frame + dmMaterialOf(*segment).begin);
///
/// Record times ("recIn", "recLength") are frames of the composition's mode; positions in the material ("relIn",
/// "srcLength") are frames of the material's mode and count from its begin. Both are points in time: the frame f of the
/// material lasts from position f to f + 1. Modes of different rates are brought together by the clock: a second of
/// record time plays a second of the material.
///
/// "relIn" is the begin of the range that plays, whatever the speed. At constant speed v the range is |v| times as long
/// as the segment; a negative speed plays it backwards, from its end to its begin; speed 0 holds the frame at "relIn",
/// as a still is held. A timewarp effect gives the speed: the first of the segment that is not muted (DmVTimewarp,
/// DmPPFxTW; of sound DmATimewarp, whose ratio is 1 / v). What a container plays is its composition, by the same rules.
///
/// A timewarp that is not constant is keyed, and nothing evaluates curves: there are answers at the keys of its channel
/// "timing" only. A key's frame counts from "recIn" ("extraTimingOffset" moves it; with "offsetTimingWithRelIn" it
/// counts from "relIn" before that), its value from "relIn".
///
/// Answers are given for times outside the segment too, as transitions play them: whether the material reaches that
/// far, dmMaterialOf says. An object of this class is a plain value, made from the segment as it is; without memory for
/// its keys it has none.
#pragma once

#include "tuFcm.h"
#include "zrExport.h"

#include <optional>
#include <vector>

class DmSegmentNode;
class DmTimewarpSettings;

class ZR_DM_API DmPlayed
{
public:
    enum class Motion
    {
        None,     ///< no material: a gap, a source without input, a container without composition
        Constant, ///< at `speed()`, which is not 0
        Freeze,   ///< one frame all along
        Keyed
    };
    struct Key
    {
        double recordTime;
        double position;
    };

    /// `compositionFcm` is the mode of the composition that the segment stands in.
    DmPlayed(const DmSegmentNode& segment, DM::FrameCodeModes compositionFcm);

    Motion motion() const { return _motion; }
    bool isReverse() const { return _motion == Motion::Constant && _speed < 0.0; }
    /// 1 is normal, negative is backwards; 0 for a freeze and for what has no constant speed.
    double speed() const { return _speed; }
    /// Frames of the material for one of record time at normal speed: 1 where both modes have the same rate.
    double rate() const { return _rate; }
    /// The material's mode, the composition's where that is undefined.
    DM::FrameCodeModes fcm() const { return _fcm; }
    /// In record order; empty but for keyed speeds.
    const std::vector<Key>& keys() const { return _keys; }

    // The range of the material that plays: [begin, end). Of a freeze, the frame that is held; of keyed speeds, from
    // the lowest key to the frame at the highest.

    double begin() const { return _begin; }
    double end() const { return _end; }
    double length() const { return _end - _begin; }

    /// The point of the material at a point in record time; none without material, and between the keys.
    std::optional<double> positionAt(double recordTime) const;
    /// The frame that is seen at a record time.
    std::optional<double> frameAt(double recordTime) const;
    /// The record time of a point of the material. None without material, beside the keys, and of a freeze at all but
    /// the frame that it holds, which has been there since "recIn".
    std::optional<double> recordTimeAt(double position) const;
    /// When a frame begins to be seen.
    std::optional<double> recordTimeOf(double frame) const;

private:
    void setKeys(const DmSegmentNode& segment, const DmTimewarpSettings& warp);

    Motion _motion = Motion::None;
    DM::FrameCodeModes _fcm;
    double _recIn;
    double _speed = 0.0;
    double _rate = 1.0;
    double _begin = 0.0;
    double _end = 0.0;
    std::vector<Key> _keys;
};
