// Which volumes the user has unmounted by hand.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "disks/Disk.h"
#include "platform/Clock.h"
#include "platform/UserDefaults.h"

namespace halvercine::mount {

/// Remembers across launches which volumes the user unmounted, so that nothing mounts them behind
/// the user's back. Each is kept under its identity (see `volumeIdentity`) for two days at most.
/// The settings are read anew each time. Main actor.
class ManualUnmountRegistry {
 public:
  static constexpr double lifetime = 172800;  ///< seconds

  ManualUnmountRegistry(platform::UserDefaults& defaults, const platform::Clock& clock)
      : defaults_(defaults), clock_(clock) {}

  /// Remembers an unmount of now, and drops what is older than the lifetime. False when it could
  /// not be stored.
  bool record(const std::string& identity);

  /// Forgets a volume, which has been mounted since. False when that could not be stored.
  bool forget(const std::string& identity);

  /// Forgets the volumes of the list that are mounted: whoever unmounted them by hand has changed
  /// their mind. Entries of the last five seconds stay, since the list may be older than they are.
  void forgetMounted(const std::vector<disks::Disk>& disks);

  /// All entries, with the seconds since 1970 of their unmounts. What is no number is left out.
  std::map<std::string, double> registry() const;

  /// When the user unmounted this volume, in seconds since 1970; nothing when nobody did within the
  /// lifetime. A clock that was wrong then, or is now, makes no entry last longer.
  std::optional<double> unmountedAt(const std::string& identity) const;

 private:
  bool store(std::map<std::string, double> entries);
  double now() const { return platform::secondsSince1970(clock_.now()); }

  platform::UserDefaults& defaults_;
  const platform::Clock& clock_;
};

}  // namespace halvercine::mount
