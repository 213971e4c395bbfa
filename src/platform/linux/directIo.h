// Direct I/O: past the kernel's page cache.
#pragma once

#include "platform/posix/PosixUncachedFiles.h"

namespace halvercine::platform::gnulinux {

/// Opens the descriptor's file for direct I/O from now on, if its file system has it for blocks of
/// at most 4 KiB.
posix::Caching switchCachingOff(int file);

}  // namespace halvercine::platform::gnulinux
