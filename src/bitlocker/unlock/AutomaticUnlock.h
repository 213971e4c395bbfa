// Unlocking remembered volumes as they come.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>

#include <boost/signals2/connection.hpp>
#include <boost/signals2/dummy_mutex.hpp>
#include <boost/signals2/signal_type.hpp>

#include "base/spawn.h"
#include "bitlocker/BitLockerMailbox.h"
#include "bitlocker/unlock/BitLockerKeychain.h"
#include "bitlocker/unlock/UnlockAttempt.h"
#include "bitlocker/unlock/UnlockContext.h"
#include "bitlocker/unlock/unlockResult.h"
#include "disks/Disk.h"

namespace halvercine::bitlocker {

/// Watches the monitor, and tries the remembered credential of each locked volume: once for each
/// BSD name in a run, so that a credential that is not right any more is not tried again and again.
/// It waits while a request for the volume is pending or another job runs on the disk, and keeps
/// away from volumes that are not safe to mount. Its end withdraws what it has requested. Main
/// actor.
class AutomaticUnlock {
 public:
  template <class Signature>
  using Signal = typename boost::signals2::signal_type<
      Signature, boost::signals2::keywords::mutex_type<boost::signals2::dummy_mutex>>::type;

  enum class EventKind {
    unlocked,
    failed,          ///< with the result code
    rejected,        ///< nothing was done: the volume is unsafe
    notTransferred,  ///< the request could not be handed over safely
  };
  struct Event {
    EventKind kind;
    disks::Disk disk;
    std::string code{};
  };

  /// Until a keychain that is locked, as it is before the user has logged in, is asked again.
  static constexpr auto keychainDelay = std::chrono::seconds(15);
  /// Between the two attempts to hand a request over.
  static constexpr auto secondAttemptDelay = std::chrono::seconds(1);

  /// `isUnsafe` tells whether a volume has to be checked, or finished, before it may be mounted.
  AutomaticUnlock(UnlockContext context, std::function<bool(const disks::Disk&)> isUnsafe);

  ~AutomaticUnlock() { stop(); }
  AutomaticUnlock(const AutomaticUnlock&) = delete;
  AutomaticUnlock& operator=(const AutomaticUnlock&) = delete;

  /// Looks at the volumes that are there, and from now on at those that come.
  void start();

  /// Withdraws the requests that wait, before it returns, and begins nothing any more.
  void stop();

  Signal<void(const Event&)> happened;

 private:
  using Device = std::pair<std::string, std::optional<std::uint64_t>>;  // BSD name and device ID

  void look();
  bool isWaiting(const disks::Disk& disk) const;
  bool isStillLocked(const disks::Disk& disk, std::optional<std::uint64_t> deviceId) const;
  base::Task<void> examine(disks::Disk disk, std::optional<std::uint64_t> deviceId);
  base::Task<void> tryToUnlock(disks::Disk disk, std::optional<std::uint64_t> deviceId,
                               BitLockerKeychain::Payload remembered);
  void tell(EventKind kind, const disks::Disk& disk, const std::string& code);

  const UnlockContext context_;
  std::function<bool(const disks::Disk&)> isUnsafe_;
  BitLockerMailbox mailbox_;
  BitLockerKeychain keychain_;
  std::set<std::string> autoUnlockAttempted_;  // BSD names
  std::set<Device> unremembered_;              // of which the keychain has nothing
  // By BSD name. Kept here since a cancelled task gives up what it holds only when the actor runs
  // again, which at the end of the program it does not.
  std::map<std::string, std::unique_ptr<UnlockAttempt>> underWay_;
  boost::signals2::scoped_connection refreshed_;
  base::TaskScope tasks_;
};

}  // namespace halvercine::bitlocker
