// The checks and repairs of this process.
#pragma once

#include <expected>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include <boost/describe.hpp>

#include "base/spawn.h"
#include "check/CheckSession.h"

namespace halvercine::check {

struct CheckOptions {
  bool repair = false;
  bool direct = false;  ///< by the command-line tool, even where there is a module
  std::optional<VolumeIdentity> agreed = {};  ///< the volume that the user has agreed to, if asked
};

/// Why a check is not started.
enum class CheckRefusal {
  notNtfs,
  running,  ///< one of this volume is running or still being stopped, here or in another process
  destructiveJob,  ///< a repair, while another job destroys data on a disk
  beingMounted,    ///< some process of the program is unmounting and mounting the volume
  changed,         ///< the name is another device's than the list says, or the user agreed to
};
BOOST_DESCRIBE_ENUM(CheckRefusal, notNtfs, running, destructiveJob, beingMounted, changed)

/// One session a volume. A session that has ended stays until the next one of its volume, for
/// whoever shows it. Main actor; destroying the store ends what runs, as `CheckSession` says.
class CheckSessionStore {
 public:
  /// Sweeps away what processes that died have left in the mailbox.
  explicit CheckSessionStore(CheckServices services);

  /// Starts a check of a listed disk. The session belongs to the store.
  ///
  /// It goes through the file-system module, which exists on macOS alone; elsewhere the
  /// command-line tool checks at once. `disk` is a copy: it may be the record of the very session
  /// that the new one takes the place of.
  std::expected<CheckSession*, CheckRefusal> start(disks::Disk disk, CheckOptions options);

  /// The running or last session of the volume that has this BSD name, or null.
  CheckSession* find(const std::string& bsdName) const;

  /// Ends all that runs where it stands, without waiting for whoever executes it; `isIdle` once
  /// that has happened. Then the store is to be destroyed, which withdraws the flags.
  void abandon() { tasks_.cancelAll(); }
  bool isIdle() const { return tasks_.running() == 0; }

  /// Whether a check or repair of this volume is running: why it may be unmounted.
  bool isChecking(const VolumeIdentity& volume) const;
  bool isChecking(const disks::Disk& disk) const;

 private:
  bool isUnchanged(const disks::Disk& disk, const CheckOptions& options) const;
  bool isBeingMounted(const disks::Disk& disk) const;

  CheckServices services_;
  std::map<std::string, std::unique_ptr<CheckSession>> sessions_;  // by BSD name
  std::weak_ptr<DestructiveHold::Flag> destructive_;
  base::TaskScope tasks_;  // last: what runs is cancelled before the sessions go
};

}  // namespace halvercine::check
