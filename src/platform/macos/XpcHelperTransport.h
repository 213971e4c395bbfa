// Connections to the privileged helper by NSXPCConnection.
#pragma once

#include "platform/HelperTransport.h"

namespace halvercine::platform::macos {

/// Replies and errors come on queues of the connections.
class XpcHelperTransport : public HelperTransport {
 public:
  std::expected<std::unique_ptr<HelperConnection>, SystemError> open(
      const std::string& machService) override;
};

}  // namespace halvercine::platform::macos
