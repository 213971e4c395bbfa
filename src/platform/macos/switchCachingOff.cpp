#include "platform/macos/switchCachingOff.h"

#include <fcntl.h>
#include <unistd.h>

namespace halvercine::platform::macos {

posix::Caching switchCachingOff(int file) {
  const bool isSwitched = ::fcntl(file, F_NOCACHE, 1) == 0;
  return {isSwitched ? PageCache::smallBlocks : PageCache::on,
          static_cast<std::size_t>(::getpagesize())};
}

}  // namespace halvercine::platform::macos
