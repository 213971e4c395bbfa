// Volumes that a tool may still unmount though nobody waits for it any more.
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "mount/takeover/TakeoverJournal.h"
#include "mount/takeover/VolumeTakeover.h"

namespace halvercine::mount {

/// What other processes of the program have left unmounted, or were about to unmount, when they
/// ended; and what this one has given a tool up for. A tool that is still at work may unmount such
/// a volume late, so each is watched for as long as that can be, and becomes the `VolumeTakeover`'s
/// to mount when it is found unmounted. Main actor.
class InheritedRecoveries {
 public:
  /// How long a tool that nobody waits for may still be at work.
  static constexpr auto orphanWindow = std::chrono::seconds(70);

  /// `takeover` outlives this.
  InheritedRecoveries(TakeoverContext context, VolumeTakeover& takeover);

  /// Watches what an earlier run watched.
  void restore(std::vector<JournalRecord::Recovery> recoveries);

  /// Moves what other processes have left in the journal here. False when one of them is at work:
  /// then it is waited for. Not while this process is at work itself.
  bool takeUpLeftovers();

  /// Watches a volume for as long as a tool that was started for it may still unmount it.
  void add(JournalRecord::Recovery recovery);

  /// Whether the volume of a BSD name is being taken care of as it is.
  using IsOurs = std::function<bool(const std::string& bsdName)>;

  /// Hands over the volumes that are unmounted, and forgets those that need no watching any more.
  /// Gives what it handed over.
  std::vector<JournalRecord::Recovery> rescue(const IsOurs& isOurs);

  /// As the journal keeps them.
  std::vector<JournalRecord::Recovery> records() const;

 private:
  struct Watched {
    JournalRecord::Recovery recovery;
    platform::Uptime until{};
  };

  enum class Finding {
    over,     ///< the device has gone, or the user has unmounted it
    well,     ///< it is mounted, being taken care of, or not to be recognised just now
    blocked,  ///< it is unmounted, and has to wait
    rescued,
  };

  Finding look(const JournalRecord::Recovery& recovery, const IsOurs& isOurs);
  bool isUnmountedByUser(const JournalRecord::Recovery& recovery, disks::Disk disk) const;
  bool adopt(const JournalRecord::Recovery& recovery, const disks::Disk& disk);

  TakeoverContext context_;
  VolumeTakeover& takeover_;
  std::vector<Watched> watched_;
};

}  // namespace halvercine::mount
