#include "platform/macos/switchCachingOff.h"

#include <fcntl.h>
#include <unistd.h>

namespace halvercine::platform::macos {

posix::Caching switchCachingOff(int file) {
  return {::fcntl(file, F_NOCACHE, 1) == 0, static_cast<std::size_t>(::getpagesize())};
}

}  // namespace halvercine::platform::macos
