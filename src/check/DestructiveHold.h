// Keeping automatic mounts and unmounts away while a volume is repaired.
#pragma once

#include <memory>
#include <utility>

#include "disks/DiskMonitor.h"

namespace halvercine::check {

/// The monitor's `destructiveBusy`, set by the first of any number of repairs and cleared after the
/// last. Main actor; the monitor outlives it.
class DestructiveHold {
 public:
  class Flag {
   public:
    explicit Flag(disks::DiskMonitor& monitor) : monitor_(monitor) {
      monitor_.beginDestructiveOperation();
    }
    ~Flag() { monitor_.endDestructiveOperation(); }
    Flag(const Flag&) = delete;
    Flag& operator=(const Flag&) = delete;

   private:
    disks::DiskMonitor& monitor_;
  };

  /// `shared` belongs to the repairs of one monitor.
  static DestructiveHold take(disks::DiskMonitor& monitor, std::weak_ptr<Flag>& shared) {
    auto flag = shared.lock();
    if (!flag) shared = flag = std::make_shared<Flag>(monitor);
    return DestructiveHold(std::move(flag));
  }

 private:
  explicit DestructiveHold(std::shared_ptr<Flag> flag) : flag_(std::move(flag)) {}

  std::shared_ptr<Flag> flag_;
};

}  // namespace halvercine::check
