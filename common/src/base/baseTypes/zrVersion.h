/// The version of the library itself (not of the documents it writes: that is DmVersion).
#pragma once

#include "zrExport.h"

/// For example "0.1.0".
ZR_DM_API const char* zrLibraryVersion();
