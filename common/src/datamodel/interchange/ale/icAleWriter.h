/// A document as an ALE. A composition that came from one has a row a source, in record order; of any other document
/// each medium is a row: its whole length where that is known, else from the first to the last frame that plays.
#pragma once

#include "icReport.h"

#include "dmRoot.h"
#include "tuFcm.h"

#include <optional>
#include <string>

namespace interchange
{

/// None with errors in the report. `fcm`: of compositions that name no mode.
[[nodiscard]] std::optional<std::string> writeAle(const DmRoot& root, DM::FrameCodeModes fcm, Report& report);

} // namespace interchange
