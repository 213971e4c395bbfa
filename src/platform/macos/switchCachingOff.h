// Files past the unified buffer cache.
#pragma once

#include "platform/posix/PosixUncachedFiles.h"

namespace halvercine::platform::macos {

/// Turns the data caching of one descriptor off (F_NOCACHE). What is not aligned to a page goes
/// through the cache all the same, and so does a write of less than 16 KiB (MIN_DIRECT_WRITE_SIZE
/// of the kernel's clusters).
posix::Caching switchCachingOff(int file);

}  // namespace halvercine::platform::macos
