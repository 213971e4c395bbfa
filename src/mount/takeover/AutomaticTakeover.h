// Making read-only NTFS volumes writable without being asked.
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <boost/signals2/connection.hpp>

#include "base/OwnedPost.h"
#include "base/spawn.h"
#include "mount/takeover/MountRetryQueue.h"
#include "mount/takeover/TakeoverEvent.h"
#include "mount/takeover/VolumeTakeover.h"

namespace halvercine::mount {

/// The one thing that a volume on its way can become.
enum class MountReadinessTransition { ready };

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
    return takeover_.lastRemountFailure();
  }
  const std::map<std::string, PendingRecovery>& pendingUnmountedRecovery() const {
    return takeover_.pending();
  }
  const MountRetryQueue& takeoverQueue() const { return queue_; }
  std::optional<MountReadinessTransition> readinessTransition() const { return transition_; }

  /// What it does, as it does it.
  disks::DiskMonitor::Signal<void(const TakeoverEvent&)> happened;

  /// How long a tool that an earlier run started may still be at work.
  static constexpr auto orphanWindow = std::chrono::seconds(70);

 private:
  struct Inherited {
    JournalRecord::Recovery recovery;
    platform::Uptime until{};  ///< until then a tool of the earlier run may still unmount it
  };

  void considerSoon();
  void consider();
  void takeUpLeftovers();
  void tidy();
  void tidyPending();
  void inherit(JournalRecord::Recovery recovery);
  void considerInherited();
  bool rescue(const JournalRecord::Recovery& recovery, const disks::Disk& disk);
  void considerPending();
  void considerReadOnly();
  void remember(std::uint64_t deviceId, ReadOnlyCause cause);
  void pass(std::string_view title, const std::vector<disks::Disk>& volumes);
  void suppress(const disks::Disk& disk);
  bool isDueFor(const std::string& bsdName, std::uint64_t deviceId) const;
  void begin(const std::string& bsdName, base::Task<void> attempt);
  void began(const std::string& bsdName, const std::string& diskName);
  base::Task<void> attemptTakeover(std::string bsdName);
  base::Task<void> attemptRemount(std::string bsdName);
  base::Task<void> conclude(TakeoverResult result);
  base::Task<void> awaitVerdict(TakeoverResult result);
  base::Task<void> giveUp(TakeoverResult result);
  void keepWatching(const TakeoverResult& result);
  base::Task<void> restoreAtTheEnd(std::string bsdName);
  bool retryLater(const TakeoverResult& result);
  void holdOff();
  void armTimer();
  void save();
  bool isUnmountedByUser(const JournalRecord::Recovery& recovery, disks::Disk disk) const;
  void tell(TakeoverEventKind kind, const std::string& bsdName, const std::string& diskName,
            TakeoverEvent details = {});
  void tell(TakeoverEventKind kind, const TakeoverResult& result, TakeoverEvent details = {});

  TakeoverContext context_;
  VolumeTakeover takeover_;
  MountRetryQueue queue_;
  std::set<std::string> attempting_;    // BSD names
  std::set<std::uint64_t> suppressed_;  // told once per job that destroys data
  std::vector<Inherited> inherited_;
  platform::Uptime nothingBefore_{};  // another process is at work until then, perhaps
  std::optional<MountReadinessTransition> transition_;
  std::optional<platform::TimerId> timer_;
  std::vector<boost::signals2::scoped_connection> connections_;
  bool isDue_ = false;
  bool isFinishing_ = false;
  bool isUnsaved_ = false;
  base::OwnedPost post_;
  base::TaskScope tasks_;
};

}  // namespace halvercine::mount
