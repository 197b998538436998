/// Relabelling for cut lists and variable-rate cameras, whose labels at one rate stand for frames at another.
///
/// A label's frame field is mapped and the rest of the label kept, as a label of the other mode: this is not the same
/// wall-clock time (TimeUnit::getEquivTime gives that), and not invertible. Labels are those of the absolute time, so a
/// negative time is relabelled as the positive one. Pure functions, safe from any thread.
#pragma once

#include "tuTimeUnit.h"
#include "zrExport.h"

namespace DM
{

/// The frame count read as 24-frame material, in frames of 23.976; negative counts give 0.
ZR_DM_API TimeUnit Edl25to24fps(TimeUnit t);
/// The label in `fcm`, its thirty frames mapped to twenty-four, in frames of 23.976.
ZR_DM_API TimeUnit Edl30to24fps(TimeUnit t, FrameCodeModes fcm);
/// 2:3 pulldown from time zero.
ZR_DM_API TimeUnit Edl24to30fps(TimeUnit t);
/// Twice the frames of Edl24to30fps.
ZR_DM_API TimeUnit Edl24to60fps(TimeUnit t);
/// The label at 60, its frames halved, in frames of 30.
ZR_DM_API TimeUnit Edl60to30fps(TimeUnit t);
/// Edl60to30fps, and the label of that mapped as Edl30to24fps does.
ZR_DM_API TimeUnit Edl60to24fps(TimeUnit t);

/// A label time of `fcm` as the time of a variable-rate camera that records at 60, and the reverse. A mode that is not
/// of the 24, 30 or 60 family posts an error and returns false: the first then leaves `out` alone, the second gives
/// `t`.
ZR_DM_API bool EdlTCToVaricam(TimeUnit t, FrameCodeModes fcm, TimeUnit& out);
ZR_DM_API bool EdlVaricamToTC(TimeUnit t, FrameCodeModes fcm, TimeUnit& out);

} // namespace DM
