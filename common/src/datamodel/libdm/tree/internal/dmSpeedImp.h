/// At what speed a segment plays, and how the rates of two modes compare: what its material and its played frames are
/// both worked out from.
#pragma once

#include "dmSegmentNode.h"
#include "tuFcm.h"

class DmTimewarpSettings;

struct DmSpeed
{
    double speed = 1.0;                        ///< of a constant one
    const DmTimewarpSettings* keyed = nullptr; ///< the timewarp whose speed is not constant
};

/// That of the segment's first timewarp which is not muted; normal without one.
DmSpeed dmSpeedOf(const DmSegmentNode& segment);

/// Frames of one mode in the time of a frame of the other; 1 where one of them has no rate.
double dmFramesPerFrame(DM::FrameCodeModes of, DM::FrameCodeModes in);
