// What outlives the process that takes volumes over.
#pragma once

#include <cstdint>
#include <expected>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <boost/describe.hpp>

#include "base/FileLock.h"
#include "mount/MountRecoveryPolicy.h"
#include "mount/takeover/SessionNtfsIdentity.h"
#include "platform/Platform.h"

namespace halvercine::mount {

/// The failure that the user is shown: "takeover.remount.failed" with the disk's name.
struct RemountFailure {
  std::string id;  ///< BSD name
  std::string diskName;
  std::string rawError;  ///< the tool's text

  bool operator==(const RemountFailure&) const = default;
};
BOOST_DESCRIBE_STRUCT(RemountFailure, (), (id, diskName, rawError))

/// The journal's records, as JSON. Times are seconds since 1970 (UTC).
struct JournalRecord {
  /// A volume that is about to be unmounted, or has been, to be mounted again.
  struct Recovery {
    std::string bsdName;
    std::string diskName;
    SessionNtfsIdentity identity;
    double createdAt = 0;
    bool operator==(const Recovery&) const = default;
  };
  /// A volume's entry in the retry queue.
  struct Retry {
    std::string bsdName;
    std::uint64_t deviceID = 0;
    int count = 0;
    double nextAfter = 0;
    bool operator==(const Retry&) const = default;
  };
  /// What the module had to say of a volume that was taken over, and stays read-only.
  struct Verdict {
    std::uint64_t deviceID = 0;
    ReadOnlyCause cause = ReadOnlyCause::unknown;
    bool operator==(const Verdict&) const = default;
  };

  std::string bootSession;
  std::vector<Recovery> recoveries;
  /// Those of a process that ended without having finished them.
  std::vector<Recovery> inherited;
  std::vector<Retry> retries;
  std::vector<Verdict> verdicts;
  std::vector<std::uint64_t> working;  ///< device IDs; while somebody holds the working lock
  std::optional<RemountFailure> lastFailure;
  std::optional<std::uint64_t> lastFailureDevice;  ///< device ID, of `lastFailure`

  bool operator==(const JournalRecord&) const = default;
};
BOOST_DESCRIBE_STRUCT(JournalRecord::Recovery, (), (bsdName, diskName, identity, createdAt))
BOOST_DESCRIBE_STRUCT(JournalRecord::Retry, (), (bsdName, deviceID, count, nextAfter))
BOOST_DESCRIBE_STRUCT(JournalRecord::Verdict, (), (deviceID, cause))
BOOST_DESCRIBE_STRUCT(JournalRecord, (),
                      (bootSession, recoveries, inherited, retries, verdicts, working, lastFailure,
                       lastFailureDevice))

/// "takeover.json" in the program's Application Support folder, with the locks beside it: what has
/// been unmounted to be mounted again is written there first, so that no crash forgets it. Several
/// processes of the program may use it. Main actor.
class TakeoverJournal {
 public:
  explicit TakeoverJournal(const platform::Platform& platform) : platform_(platform) {}

  /// What is in it; empty when there is none, it is of an earlier boot, or cannot be understood.
  JournalRecord read() const;

  /// Reads, lets `change` change it and stores it, with other processes kept out. False when it
  /// could not be stored: then the old one stands.
  bool update(const std::function<void(JournalRecord&)>& change) const;

  /// Notes a volume before it is unmounted to be mounted again, in place of an older note on its
  /// name. False when it could not be noted: then it must not be unmounted.
  bool note(const JournalRecord::Recovery& recovery) const;

  /// The volume need not be mounted any more.
  void settle(const std::string& bsdName, std::uint64_t deviceId) const;

  enum class LockFailure {
    held,         ///< by another process
    unavailable,  ///< there is no place for it
  };

  /// Held by a process while it unmounts and mounts volumes.
  std::expected<base::FileLock, LockFailure> takeWorkingLock() const;

  /// Held by the resident controller while it runs.
  std::expected<base::FileLock, LockFailure> takeControllerLock() const;

  bool isSomebodyWorking() const;
  bool isControllerRunning() const;

 private:
  std::optional<std::filesystem::path> folder() const;
  std::expected<base::FileLock, LockFailure> take(const char* name) const;
  bool isHeld(const char* name) const;

  const platform::Platform& platform_;
};

}  // namespace halvercine::mount
