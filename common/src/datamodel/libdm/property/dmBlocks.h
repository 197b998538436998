/// Memory for the objects of a tree: places of equal size, side by side in blocks of 8192 bytes.
///
/// A block goes back to the C library's allocator when the last object in it is released, so an object that outlives
/// its document keeps one block alive. Objects are made and released by any thread. Each is allocated alone in builds
/// with a sanitizer, in processes with ZR_EACH_OBJECT_ALONE in their environment, which is for tools that watch the
/// allocator, and when it has more than 512 bytes.
///
/// What pays for it: the allocator's own eight bytes an object and its rounding to sixteen (documentsBench).
#pragma once

#include "zrExport.h"

#include <cstddef>

namespace dmBlocks
{

/// Aligned for eight bytes. Throws std::bad_alloc.
ZR_DM_API void* take(std::size_t size);
/// With the size that it was taken with; null is given back for nothing.
ZR_DM_API void give(void* memory, std::size_t size) noexcept;

} // namespace dmBlocks
