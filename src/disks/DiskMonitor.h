// Which disks there are, kept current.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <boost/signals2/dummy_mutex.hpp>
#include <boost/signals2/signal_type.hpp>

#include "base/Directory.h"
#include "base/FileLock.h"
#include "base/MainActor.h"
#include "base/OwnedPost.h"
#include "base/RepeatingTimer.h"
#include "base/spawn.h"
#include "bitlocker/BitLockerMailbox.h"
#include "disks/BitLockerStates.h"
#include "disks/Disk.h"
#include "disks/DiskDescriptor.h"
#include "platform/Platform.h"

namespace halvercine::disks {

/// Which volume a free-space figure was read for. A figure counts only while all of this still
/// holds.
struct CapacityRefreshIdentity {
  std::string id;  ///< BSD name
  std::string mountPath;
  std::optional<std::string> uuid;        ///< volume UUID
  std::optional<std::uint64_t> deviceID;  ///< registry entry ID of the medium
  std::uint64_t revision = 0;             ///< of the full refresh that the volume was seen in

  bool operator==(const CapacityRefreshIdentity&) const = default;
};

/// The one object that knows the disks. It listens to disk arbitration, to the BitLocker mailbox
/// and to two timers, and publishes a new list whenever something changed. Others observe it and
/// act; it knows none of them. Main actor; it may be destroyed with anything under way.
class DiskMonitor {
 public:
  template <class Signature>
  using Signal = typename boost::signals2::signal_type<
      Signature, boost::signals2::keywords::mutex_type<boost::signals2::dummy_mutex>>::type;

  static constexpr auto capacityInterval = std::chrono::seconds(5);
  static constexpr auto fullRefreshInterval = std::chrono::seconds(60);
  /// Disks that were still being set up when the program started have settled by then.
  static constexpr auto deferredStart = std::chrono::seconds(3);

  DiskMonitor(base::MainActor& actor, const platform::Platform& platform,
              const base::Localization& localization);
  ~DiskMonitor();
  DiskMonitor(const DiskMonitor&) = delete;
  DiskMonitor& operator=(const DiskMonitor&) = delete;

  /// Opens the session, runs the first full refresh before it returns, and starts the timers and
  /// the watch. False when there is no session: then there are no disks either. Called once.
  bool start();

  /// Refreshes now, before it returns.
  void refresh();

  /// Has a refresh run soon. Any number of calls before it runs cost one refresh.
  void scheduleRefresh();

  /// The user has come back to the program, to its window or from a terminal where it was
  /// suspended: what was missed meanwhile is caught up with.
  void applicationBecameActive() { scheduleRefresh(); }

  /// The list in display order, as of the last refresh.
  const std::vector<Disk>& disks() const { return disks_; }
  const Disk* find(const std::string& bsdName) const;

  /// Registry entry ID of a listed disk's medium, as of the last refresh.
  std::optional<std::uint64_t> deviceId(const std::string& bsdName) const;

  /// Counts the full refreshes.
  std::uint64_t refreshRevision() const { return refreshRevision_; }

  /// Whether this name has been an NTFS volume's at any time in this run.
  bool wasNtfs(const std::string& bsdName) const { return knownNtfs_.contains(bsdName); }

  /// Set while a job destroys data on a disk, in this process or in another one of the program;
  /// nothing is mounted or unmounted automatically then.
  bool destructiveBusy() const;
  void beginDestructiveOperation();
  void endDestructiveOperation();

  /// After every full refresh, also when nothing changed.
  Signal<void()> refreshed;
  /// The list, or the free space in it, has changed.
  Signal<void()> disksChanged;
  /// `destructiveBusy` has changed by this process.
  Signal<void()> destructiveBusyChanged;

 private:
  void listenToSession();
  void watchMailbox();
  void warmUp();
  void sweepStaleFiles();
  void mailboxChanged();
  BitLockerStates readStates() const;
  std::size_t mailboxDigest(const BitLockerStates& states) const;
  void refreshCapacities();
  CapacityRefreshIdentity capacityIdentity(const Disk& disk) const;
  base::Task<void> readCapacity(CapacityRefreshIdentity identity);
  void applyCapacity(const CapacityRefreshIdentity& identity, std::int64_t available);

  base::MainActor& actor_;
  const platform::Platform& platform_;
  DiskDescriptor descriptor_;
  bitlocker::BitLockerMailbox mailbox_;

  std::vector<Disk> disks_;
  std::map<std::string, std::uint64_t> deviceIds_;  // of the media of the last refresh
  std::uint64_t refreshRevision_ = 0;
  std::set<std::string> knownNtfs_;
  bool destructiveBusy_ = false;
  std::optional<base::FileLock> destructiveLock_;
  bool refreshScheduled_ = false;
  std::size_t mailboxDigest_ = 0;
  // Media whose free space is being read, by name and device.
  std::set<std::pair<std::string, std::optional<std::uint64_t>>> capacityInFlight_;

  std::unique_ptr<platform::DiskArbitrationSession> session_;
  std::unique_ptr<platform::DirectoryWatch> mailboxWatch_;
  std::optional<base::FileIdentity> watchedFolder_;
  base::RepeatingTimer capacityTimer_;
  base::RepeatingTimer fullRefreshTimer_;
  base::OwnedPost post_;
  base::TaskScope tasks_;  // last: what runs is cancelled before anything else goes
};

/// Whether a process of the program runs a job that destroys data on a disk.
bool isDestructiveJobRunning(platform::Containers& containers);

}  // namespace halvercine::disks
