/// For test programs, which try both kinds of installation.
#pragma once

#include "zrExport.h"

/// From now on as if the library had been built for that in-house directory (zrIsTolvane); whether it is in-house then.
ZR_DM_API bool zrUseInHouseDirectory(const char* directory);
