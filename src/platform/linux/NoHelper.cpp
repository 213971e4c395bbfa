#include "platform/linux/NoHelper.h"

#include <cerrno>

namespace halvercine::platform::gnulinux {

std::expected<std::unique_ptr<HelperConnection>, SystemError> NoHelperTransport::open(
    const std::string& machService) {
  return std::unexpected(
      SystemError{"this system has no service " + machService, "POSIX", EOPNOTSUPP});
}

}  // namespace halvercine::platform::gnulinux
