/// Marks what the library exports: everything else is built with hidden visibility.
#pragma once

#if defined(__GNUC__)
#define ZR_DM_API __attribute__((visibility("default")))
#else
#define ZR_DM_API
#endif
