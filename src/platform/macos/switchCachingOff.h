// Files past the unified buffer cache.
#pragma once

#include "platform/posix/PosixUncachedFiles.h"

namespace halvercine::platform::macos {

/// Turns the data caching of one descriptor off (F_NOCACHE). What is not aligned to a page would
/// go through the cache all the same.
posix::Caching switchCachingOff(int file);

}  // namespace halvercine::platform::macos
