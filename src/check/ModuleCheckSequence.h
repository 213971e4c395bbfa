// What to do next in a check through the file-system module: decisions alone, no files, no clock.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include <boost/describe.hpp>

#include "check/CheckProgressSnapshot.h"
#include "check/MountHolder.h"
#include "platform/Clock.h"

namespace halvercine::check {

/// Between two rounds: often enough for a living progress bar.
inline constexpr std::chrono::milliseconds pollInterval{750};
/// The most that counts of the time between two rounds: the rest the machine has slept.
inline constexpr platform::Uptime countedLimit = 4 * pollInterval;
/// Until when the module has taken the request, unless another driver has the volume.
inline constexpr std::chrono::seconds claimLimit{15};
/// Until when it has, unless it does not run at all. A volume that is just being mounted takes so
/// long to reach it.
inline constexpr std::chrono::seconds fallbackLimit{90};
/// A check that gets nowhere for longer than this hangs: a slow disk still gets somewhere.
inline constexpr std::chrono::minutes stallLimit{10};
/// How long the module may take to react to the cancel flag, counted anew from each new frame;
/// after a stall in all.
inline constexpr std::chrono::seconds cancelLimit{60};

/// What is found in one round.
struct ModuleCheckRound {
  platform::Uptime now{0};
  std::optional<CheckProgressSnapshot> frame;  ///< what the progress file holds
  bool reportAccepted = false;                 ///< there is a report, and it is about this volume
  bool requestWaits = false;                   ///< the module has not taken the request
  MountHolder holder = MountHolder::nobody;
  bool isPaused = false;
  std::optional<platform::Uptime> cancelWritten;  ///< when the cancel flag was put there
  std::optional<std::int32_t> goneExecutor;       ///< a process that was asked for and is not there

  bool operator==(const ModuleCheckRound&) const = default;
};
BOOST_DESCRIBE_STRUCT(ModuleCheckRound, (),
                      (now, frame, reportAccepted, requestWaits, holder, isPaused, cancelWritten,
                       goneExecutor))

enum class ModuleCheckAction {
  poll,      ///< look again in the next round
  finish,    ///< the report is the result
  bypass,    ///< another driver has the volume: the module's authorization is to be restored
  fallBack,  ///< nobody answers: the command-line tool is to check
  stall,     ///< ask the module to stop and call the check failed; then go on polling until it
             ///< has stopped
  takeBack,  ///< cancelled before the module has taken the request
  leave,     ///< nobody reacts to the cancel flag any more
  handOver,  ///< the process that executes the check has died: the volume is to be recovered
};
BOOST_DESCRIBE_ENUM(ModuleCheckAction, poll, finish, bypass, fallBack, stall, takeBack, leave,
                    handOver)

struct ModuleCheckStep {
  ModuleCheckAction action = ModuleCheckAction::poll;
  std::string logLine;  ///< for the system log; empty for none
};

/// Takes in one round after the other. `poll` and `stall` are followed by another round, after any
/// other action the sequence is over.
///
/// What a machine sleeps between two rounds counts for no deadline.
///
/// Time in which the check is paused counts neither for a stall nor for the two deadlines of the
/// request; the wait after a cancel counts it, since cancelling ends the pause.
class ModuleCheckSequence {
 public:
  explicit ModuleCheckSequence(platform::Uptime start)
      : start_(start), lastRound_(start), lastProgress_(start) {}

  /// Whether a frame is another one than the last: its time stamp is later. Without a time stamp
  /// the content decides; the first frame is always new.
  bool isNew(const CheckProgressSnapshot& frame) const;

  ModuleCheckStep next(const ModuleCheckRound& round);

  /// The last new frame.
  const std::optional<CheckProgressSnapshot>& frame() const { return frame_; }

 private:
  void passTime(const ModuleCheckRound& round);
  void takeFrame(const ModuleCheckRound& round);
  std::optional<ModuleCheckStep> waitForClaim(const ModuleCheckRound& round) const;
  bool isStalled(const ModuleCheckRound& round) const;
  bool isCancelIgnored(const ModuleCheckRound& round) const;
  bool isExecutorGone(const ModuleCheckRound& round) const;

  platform::Uptime start_;  // shifted by pauses and sleep, like the last progress
  platform::Uptime lastRound_;
  platform::Uptime lastProgress_;
  std::optional<platform::Uptime> lastNewFrame_;
  std::optional<CheckProgressSnapshot> frame_;
  std::optional<platform::Uptime> stalled_;  // when
  platform::Uptime sleptSinceCancel_{0};
};

}  // namespace halvercine::check
