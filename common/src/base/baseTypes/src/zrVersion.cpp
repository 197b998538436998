#include "zrVersion.h"

const char* zrLibraryVersion()
{
    return ZR_LIBRARY_VERSION;
}
