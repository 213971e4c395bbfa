// Which devices are being unmounted and mounted again.
#pragma once

#include <cstdint>
#include <memory>
#include <set>

namespace halvercine::mount {

/// Keeps one sequence of unmounting and mounting per device, and none while a job that destroys
/// data holds the disks. Main actor.
class DiskRemountCoordinator {
 public:
  /// Holds a device while it lives. It may outlive the coordinator.
  class Hold {
   public:
    Hold(std::shared_ptr<std::set<std::uint64_t>> busy, std::uint64_t deviceId);
    ~Hold();
    Hold(Hold&& other) noexcept = default;
    Hold& operator=(Hold&&) = delete;

    std::uint64_t deviceId() const { return deviceId_; }

   private:
    std::shared_ptr<std::set<std::uint64_t>> busy_;  // null once moved from
    std::uint64_t deviceId_;
  };

  bool destructive() const { return destructive_; }
  void setDestructive(bool destructive) { destructive_ = destructive; }

  bool isBusy(std::uint64_t deviceId) const { return busy_->contains(deviceId); }

  bool canBegin(std::uint64_t deviceId) const { return !destructive_ && !isBusy(deviceId); }

  /// Only when `canBegin`.
  Hold begin(std::uint64_t deviceId) { return {busy_, deviceId}; }

 private:
  std::shared_ptr<std::set<std::uint64_t>> busy_ = std::make_shared<std::set<std::uint64_t>>();
  bool destructive_ = false;
};

}  // namespace halvercine::mount
