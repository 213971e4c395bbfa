#include "helper/HelperDaemonBox.h"

#include <string>
#include <utility>

#include "helper/HelperClient.h"

namespace halvercine::helper {
namespace {

bool isUnregistered(platform::DaemonStatus status) {
  return status == platform::DaemonStatus::notRegistered ||
         status == platform::DaemonStatus::notFound;
}

}  // namespace

bool isRegistered(platform::DaemonStatus status) {
  return status == platform::DaemonStatus::enabled ||
         status == platform::DaemonStatus::requiresApproval;
}

HelperDaemonBox::HelperDaemonBox(platform::DaemonServices& services, ScheduleOnMain scheduleOnMain)
    : daemon_(services.daemon(std::string(helperLabel) + ".plist")),
      scheduleOnMain_(std::move(scheduleOnMain)) {}

DaemonStep HelperDaemonBox::registerStep() const {
  return [daemon = daemon_, schedule = scheduleOnMain_](platform::DaemonStepEnd ended) {
    daemon->registerDaemon([daemon, schedule, ended = std::move(ended)](auto error) {
      schedule([daemon, ended, error = std::move(error)]() mutable {
        if (error && isRegistered(daemon->status())) error.reset();
        ended(std::move(error));
      });
    });
  };
}

DaemonStep HelperDaemonBox::unregisterStep() const {
  return [daemon = daemon_, schedule = scheduleOnMain_](platform::DaemonStepEnd ended) {
    daemon->unregisterDaemon([daemon, schedule, ended = std::move(ended)](auto error) {
      schedule([daemon, ended, error = std::move(error)]() mutable {
        if (error && isUnregistered(daemon->status())) error.reset();
        ended(std::move(error));
      });
    });
  };
}

}  // namespace halvercine::helper
