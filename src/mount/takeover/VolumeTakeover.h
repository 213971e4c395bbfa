// Unmounting one volume and mounting it again, safely.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/FileLock.h"
#include "base/Localization.h"
#include "base/Task.h"
#include "disks/DiskMonitor.h"
#include "disks/DiskUtility.h"
#include "mount/takeover/DiskRemountCoordinator.h"
#include "mount/takeover/MountVerdicts.h"
#include "mount/takeover/RemountFailureStore.h"
#include "mount/takeover/TakeoverJournal.h"
#include "mount/takeover/TakeoverSequence.h"
#include "platform/Platform.h"

namespace halvercine::mount {

/// Issued when the program unmounts a volume to mount it again; the volume is mounted only while
/// the ticket is valid.
struct UnmountedRecoveryTicket {
  /// Beyond all retries. A volume that has stayed unmounted for longer is the user's business.
  static constexpr platform::Uptime validity = std::chrono::minutes(30);

  std::uint64_t deviceID = 0;
  platform::Uptime createdAt{};

  bool isValid(std::uint64_t deviceId, platform::Uptime now) const {
    return deviceID == deviceId && now - createdAt <= validity;
  }
};

/// A volume unmounted by the program that is still to be mounted again.
struct PendingRecovery {
  disks::Disk disk;  ///< as it was when it was unmounted, or when it was found
  SessionNtfsIdentity identity;
  UnmountedRecoveryTicket ticket;
  platform::WallTime since{};  ///< when it was unmounted, as the wall clock had it
};

/// The text of a failure that is none: nothing was tried.
inline constexpr std::string_view destructiveText = "(suppressed: destructive op in progress)";

/// What became of one attempt.
struct TakeoverResult {
  TakeoverEnd end = TakeoverEnd::notEligible;
  std::string toolText;  ///< of the step that failed
  std::string bsdName;
  std::string diskName;
  std::optional<SessionNtfsIdentity> identity;  ///< nothing when the gates were not passed
  platform::WallTime mountedAfter{};            ///< when the mount began
};

/// What the takeover needs of the rest of the program. All of it outlives the takeover.
struct TakeoverContext {
  base::MainActor& actor;
  const platform::Platform& platform;
  disks::DiskMonitor& monitor;
  const disks::DiskUtility& utility;
  const base::Localization& localization;
  /// Whether the user has unmounted this volume since then.
  std::function<bool(const disks::Disk&, platform::WallTime since)> isUnmountedByUser;
  /// Whether something else works on the volume of this BSD name, in whatever process: a check.
  std::function<bool(const std::string&)> isInUse;
  /// Adds to the operation log: category and message.
  std::function<void(std::string category, std::string message)> addToLog;
};

/// Carries out the steps of `TakeoverSequence`, one sequence per device at a time and none beside
/// those of another process. It keeps what it has unmounted in the journal until it is mounted
/// again. Main actor; it outlives its tasks.
class VolumeTakeover {
 public:
  explicit VolumeTakeover(TakeoverContext context);

  /// Called when the gates are passed.
  using Began = std::function<void()>;

  /// Takes a mounted volume over. When it ends mounted, `confirm` is to follow.
  base::Task<TakeoverResult> takeOver(std::string bsdName, Began began = {});

  /// Mounts one of `pending()` again. When it ends mounted, `confirm` is to follow.
  base::Task<TakeoverResult> remount(std::string bsdName, Began began = {},
                                     disks::MountAccess access = disks::MountAccess::readWrite);

  /// Mounts one of `pending()` as `access` says, and tells whether it is mounted then.
  base::Task<bool> restore(std::string bsdName, disks::MountAccess access);

  /// Waits until it is known what the volume that was mounted again is: until a fresh report says
  /// so, but not longer than `confirmationLimit`, nor than `mayWait` answers true. Unless it turns
  /// out unmounted, it is pending no more.
  base::Task<MountVerdict> confirm(TakeoverResult result, std::function<bool()> mayWait);
  static constexpr auto confirmationLimit = std::chrono::seconds(10);

  /// Takes care of a volume that has to be mounted again. False when that cannot be recorded.
  bool adopt(PendingRecovery recovery);

  /// Forgets a volume: it is mounted, gone, or the user's business.
  void drop(const std::string& bsdName);

  /// By BSD name.
  const std::map<std::string, PendingRecovery>& pending() const { return pending_; }

  DiskRemountCoordinator& coordinator() { return coordinator_; }
  const TakeoverJournal& journal() const { return journal_; }
  MountVerdicts& verdicts() { return verdicts_; }
  RemountFailureStore& failures() { return failures_; }
  const RemountFailureStore& failures() const { return failures_; }

  /// Adds the text of `key` with the volume's name to the operation log.
  void addToLog(std::string_view category, std::string_view key, const std::string& diskName,
                const std::string& more = {}) const;

 private:
  struct Run;
  struct Hold {
    DiskRemountCoordinator::Hold device;
    std::shared_ptr<base::FileLock> workingLock;
  };

  base::Task<TakeoverResult> drive(std::shared_ptr<Run> run, Began began);
  base::Task<void> unmount(std::shared_ptr<Run> run);
  base::Task<void> mount(std::shared_ptr<Run> run);
  SequenceFacts factsFor(Run& run);
  TakeoverResult finished(Run& run, TakeoverEnd end);
  void hold(Run& run);
  bool issueTicket(Run& run);
  bool shareWorkingLock(Run& run);
  void release(const std::string& bsdName);

  TakeoverContext context_;
  TakeoverJournal journal_;
  DiskRemountCoordinator coordinator_;
  std::weak_ptr<base::FileLock> workingLock_;  // shared by the sequences that run
  std::map<std::string, PendingRecovery> pending_;
  std::map<std::string, Hold> holds_;  // by BSD name, until the verdict
  MountVerdicts verdicts_;
  RemountFailureStore failures_;
};

}  // namespace halvercine::mount
