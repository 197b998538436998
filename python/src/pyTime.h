/// Times with their frame-code mode, and labels in bulk.
#pragma once

#include "pyError.h"

#include "tuTimeUnit.h"

namespace zrpy
{

struct Time
{
    DM::TimeUnit time;
    DM::FrameCodeModes mode;
};

/// A member of zrdmtree.Fcm, its number, or its name ("25 fps"); raises for anything else.
DM::FrameCodeModes toMode(py::handle mode);
/// Frames: of a number, of a Time (in `mode`, where that is another), of a label.
double toFrames(py::handle time, DM::FrameCodeModes mode);
std::string labelOf(double frames, DM::FrameCodeModes mode);

void addTimes(py::module_& module);

} // namespace zrpy
