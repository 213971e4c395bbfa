// The reasons of all volumes that are there, but not mounted.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <boost/signals2/dummy_mutex.hpp>
#include <boost/signals2/signal_type.hpp>

#include "base/MainActor.h"
#include "base/spawn.h"
#include "disks/Disk.h"
#include "disks/DiskUtility.h"
#include "mount/reasons/UnmountReason.h"
#include "platform/MediaRegistry.h"

namespace halvercine::mount {

/// Keeps one reason for each unmounted NTFS volume, from the moment it is seen unmounted until it
/// is mounted, ejected or gone. What other parts of the program know is asked at every update; the
/// disk tool is run once for each volume, and its answer counts only if the volume is still there,
/// unmounted, on the same device. Reasons are kept under the volume's identity, so that a new BSD
/// name takes none away; of exact copies, which share one, the first counts.
///
/// Main actor. It may be destroyed with anything under way; `utility` and `registry` outlive it.
class UnmountReasonStore {
 public:
  template <class Signature>
  using Signal = typename boost::signals2::signal_type<
      Signature, boost::signals2::keywords::mutex_type<boost::signals2::dummy_mutex>>::type;

  UnmountReasonStore(base::MainActor& actor, platform::SystemLog& log,
                     const disks::DiskUtility& utility, platform::MediaRegistry& registry,
                     UnmountReasonInputs inputs);

  /// Takes the list of disks as it is now: forgets what was mounted or has gone, resolves what has
  /// come.
  void update(const std::vector<disks::Disk>& disks);

  /// Works out the reason of an unmounted NTFS volume anew, and publishes it once it is known. Does
  /// nothing for any other disk, nor for one that has no identity.
  void resolve(const disks::Disk& disk);

  /// Forgets the volume of this name, which is being ejected.
  void forget(const std::string& bsdName);

  /// From volume identity to reason, `unknown` included.
  const std::map<std::string, UnmountReason>& reasons() const { return reasons_; }

  /// The volume identities whose reason is being worked out.
  const std::set<std::string>& inFlight() const { return inFlight_; }

  /// From BSD name to the volume identity under which its reason is kept.
  const std::map<std::string, std::string>& identities() const { return identities_; }

  /// The reason kept for this volume; nothing while there is none.
  std::optional<UnmountReason> reasonOf(const disks::Disk& disk) const;

  /// The reasons have changed.
  Signal<void()> changed;

 private:
  /// An unmounted volume as it was seen last.
  struct Volume {
    disks::Disk disk;
    std::optional<std::uint64_t> deviceId;
    std::uint64_t probe = 0;  // number of the run of the tool whose answer is waited for or known
    std::optional<std::string> foreignDriver;
  };

  void track(const std::string& identity, const disks::Disk& disk);
  void startProbe(const std::string& identity);
  base::Task<void> runProbe(std::string identity, std::string bsdName, std::uint64_t probe);
  void publish(const std::string& identity);
  void drop(const std::string& identity);
  void reportChange();

  const disks::DiskUtility& utility_;
  platform::MediaRegistry& registry_;
  UnmountReasonInputs inputs_;

  std::map<std::string, Volume> volumes_;  // by identity
  std::map<std::string, UnmountReason> reasons_;
  std::map<std::string, UnmountReason> reported_;  // the reasons when `changed` was last emitted
  std::set<std::string> inFlight_;
  std::map<std::string, std::string> identities_;
  std::uint64_t lastProbe_ = 0;
  base::TaskScope tasks_;  // last: what runs is cancelled before anything else goes
};

}  // namespace halvercine::mount
