#include "mount/takeover/DiskRemountCoordinator.h"

#include <utility>

namespace halvercine::mount {

DiskRemountCoordinator::Hold::Hold(std::shared_ptr<std::set<std::uint64_t>> busy,
                                   std::uint64_t deviceId)
    : busy_(std::move(busy)), deviceId_(deviceId) {
  busy_->insert(deviceId_);
}

DiskRemountCoordinator::Hold::~Hold() {
  if (busy_) busy_->erase(deviceId_);
}

}  // namespace halvercine::mount
