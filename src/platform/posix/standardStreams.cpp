#include "platform/posix/standardStreams.h"

#include <fcntl.h>
#include <unistd.h>

namespace halvercine::platform::posix {

void fillClosedStandardStreams() {
  // In this order a new file gets the number that is missing.
  for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
    if (::fcntl(stream, F_GETFD) >= 0) continue;
    ::open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
  }
}

}  // namespace halvercine::platform::posix
