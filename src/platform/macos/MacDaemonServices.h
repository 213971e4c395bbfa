// Launch daemons by the Service Management framework.
#pragma once

#include <memory>
#include <variant>

#include "platform/DaemonServices.h"
#include "platform/macos/CallbackGate.h"

namespace halvercine::platform::macos {

/// Steps end on queues of the system's. One that has not ended when this object goes is not told of
/// any more.
class MacDaemonServices : public DaemonServices {
 public:
  using Gate = CallbackGate<std::monostate>;

  ~MacDaemonServices() override { gate_->close(); }
  std::unique_ptr<DaemonService> daemon(const std::string& propertyListName) override;

 private:
  std::shared_ptr<Gate> gate_ = std::make_shared<Gate>(std::monostate());
};

}  // namespace halvercine::platform::macos
