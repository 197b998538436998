/// A document as Final Cut Pro 7 XML. docs/fcp7xml.md says what is written.
#pragma once

#include "icFormat.h"

namespace interchange
{

/// False with errors in the report. `fcm`: of compositions that name no mode.
[[nodiscard]] bool writeFcp7xml(const DmRoot& root, DM::FrameCodeModes fcm, Sink& sink, Report& report);

} // namespace interchange
