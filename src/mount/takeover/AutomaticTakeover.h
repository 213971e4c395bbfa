// Making read-only NTFS volumes writable without being asked.
#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <boost/signals2/connection.hpp>

#include "base/OwnedPost.h"
#include "mount/takeover/InheritedRecoveries.h"
#include "mount/takeover/MountRetryQueue.h"
#include "mount/takeover/TakeoverAttempts.h"
#include "mount/takeover/TakeoverEvent.h"
#include "mount/takeover/TakeoverStateStore.h"
#include "mount/takeover/VolumeTakeover.h"

namespace halvercine::mount {

/// Watches the monitor's list. Volumes that pass the gate are taken over at once, each on its own;
/// those that did not end writable are tried again as the queue says; those that the program has
/// unmounted, in this run or an earlier one, are mounted again. Main actor; one per machine: the
/// holder of the journal's controller lock has it.
class AutomaticTakeover {
 public:
  explicit AutomaticTakeover(TakeoverContext context);
  ~AutomaticTakeover();
  AutomaticTakeover(const AutomaticTakeover&) = delete;
  AutomaticTakeover& operator=(const AutomaticTakeover&) = delete;

  /// Takes up what an earlier run left, and begins. The monitor has been started.
  void start();

  /// Begins nothing more, lets what runs come to its end, and mounts what is unmounted: read-only
  /// if it must be. Bounded by the limits of the disk tool.
  base::Task<void> finish();

  /// The line under the explanation of a read-only volume.
  std::optional<MountRecoveryPolicy::StatusLine> recoveryStatus(const std::string& bsdName) const;

  const std::optional<RemountFailure>& lastRemountFailure() const {
    return takeover_.failures().last();
  }
  const std::map<std::string, PendingRecovery>& pendingUnmountedRecovery() const {
    return takeover_.pending();
  }
  const MountRetryQueue& takeoverQueue() const { return queue_; }
  std::optional<MountReadinessTransition> readinessTransition() const {
    return attempts_.readinessTransition();
  }

  /// What it does, as it does it.
  disks::DiskMonitor::Signal<void(const TakeoverEvent&)> happened;

 private:
  void considerSoon();
  void consider();
  void tidy();
  void tidyPending();
  void rescueInherited();
  void considerPending();
  void considerReadOnly();
  void pass(std::string_view title, const std::vector<disks::Disk>& volumes);
  void suppress(const disks::Disk& disk);
  bool isOurs(const std::string& bsdName) const;
  bool isDue(const std::string& bsdName, std::uint64_t deviceId) const;
  void holdOff();
  void armTimer();
  void save();
  void tell(TakeoverEventKind kind, const std::string& bsdName, const std::string& diskName);

  TakeoverContext context_;
  VolumeTakeover takeover_;
  MountRetryQueue queue_;
  InheritedRecoveries inherited_;
  TakeoverStateStore store_;
  std::set<std::uint64_t> suppressed_;  // told once per job that destroys data
  platform::Uptime nothingBefore_{};    // another process is at work until then, perhaps
  std::optional<platform::TimerId> timer_;
  std::vector<boost::signals2::scoped_connection> connections_;
  bool willConsider_ = false;
  base::OwnedPost post_;
  TakeoverAttempts attempts_;
};

}  // namespace halvercine::mount
