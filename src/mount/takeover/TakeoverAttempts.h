// The attempts under way, and what follows from how each ends.
#pragma once

#include <functional>
#include <optional>
#include <set>
#include <string>

#include "base/spawn.h"
#include "mount/takeover/InheritedRecoveries.h"
#include "mount/takeover/MountRetryQueue.h"
#include "mount/takeover/TakeoverEvent.h"
#include "mount/takeover/VolumeTakeover.h"

namespace halvercine::mount {

/// The one thing that a volume on its way can become.
enum class MountReadinessTransition { ready };

/// Runs attempts, each on its own, and tells their story. A volume that does not end writable gets
/// its place in the queue, as long as another attempt can help; when none is left, it is at least
/// mounted read-only. Main actor; when it goes, so do the attempts.
class TakeoverAttempts {
 public:
  struct Events {
    std::function<void(const TakeoverEvent&)> happened;
    /// A retry has been counted: a crash must not bring it back.
    std::function<void()> counted;
    /// Something else has the volume or the disks in hand, and may not for long.
    std::function<void()> blocked;
    /// An attempt is over, with all that follows.
    std::function<void()> ended;
  };

  /// `takeover`, `queue` and `inherited` outlive this.
  TakeoverAttempts(TakeoverContext context, VolumeTakeover& takeover, MountRetryQueue& queue,
                   InheritedRecoveries& inherited, Events events);

  /// Takes a mounted volume over. Not while it `isUnderWay`.
  void takeOver(const std::string& bsdName);

  /// Mounts one of the volumes that are pending. Not while it `isUnderWay`.
  void remount(const std::string& bsdName);

  bool isUnderWay(const std::string& bsdName) const { return underWay_.contains(bsdName); }
  bool isIdle() const { return underWay_.empty(); }

  /// Lets what runs come to its end without another retry, and mounts what is unmounted: read-only
  /// if it must be. Bounded by the limits of the disk tool.
  base::Task<void> finish();
  bool isFinishing() const { return isFinishing_; }

  std::optional<MountReadinessTransition> readinessTransition() const { return transition_; }

 private:
  using Kind = TakeoverEventKind;

  void begin(const std::string& bsdName, base::Task<void> attempt);
  void end(const std::string& bsdName);
  VolumeTakeover::Began whenBegun(const std::string& bsdName, std::string diskName);
  base::Task<void> attemptTakeover(std::string bsdName);
  base::Task<void> attemptRemount(std::string bsdName);
  base::Task<void> conclude(TakeoverResult result);
  base::Task<void> awaitVerdict(TakeoverResult result);
  base::Task<void> giveUp(TakeoverResult result);
  base::Task<void> restoreAtTheEnd(std::string bsdName);
  bool retryLater(const TakeoverResult& result);
  void keepWatching(const TakeoverResult& result);
  void tell(Kind kind, const std::string& bsdName, const std::string& diskName,
            TakeoverEvent details = {});
  void tell(Kind kind, const TakeoverResult& result, TakeoverEvent details = {});

  TakeoverContext context_;
  VolumeTakeover& takeover_;
  MountRetryQueue& queue_;
  InheritedRecoveries& inherited_;
  Events events_;
  std::set<std::string> underWay_;  // BSD names
  std::optional<MountReadinessTransition> transition_;
  bool isFinishing_ = false;
  base::TaskScope tasks_;
};

}  // namespace halvercine::mount
