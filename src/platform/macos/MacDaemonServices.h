// Launch daemons by the Service Management framework.
#pragma once

#include "platform/DaemonServices.h"

namespace halvercine::platform::macos {

class MacDaemonServices : public DaemonServices {
 public:
  std::unique_ptr<DaemonService> daemon(const std::string& propertyListName) override;
};

}  // namespace halvercine::platform::macos
