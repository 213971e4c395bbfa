// Handing a check to the file-system module, and following it.
#pragma once

#include <functional>
#include <memory>
#include <optional>

#include <boost/describe.hpp>

#include "base/MainActor.h"
#include "base/Task.h"
#include "check/CheckMailbox.h"
#include "check/ModuleCheckSequence.h"
#include "check/VolumeIdentity.h"
#include "disks/DiskMonitor.h"
#include "platform/Platform.h"

namespace halvercine::check {

/// How a hand-over ended.
struct ModuleCheckEnd {
  enum class Kind {
    finished,       ///< by the module's report
    bypassed,       ///< another driver has the volume
    unanswered,     ///< nobody took the request, or it could not even be written
    takenBack,      ///< cancelled before the module took it
    left,           ///< cancelled, and nobody reacted
    executorGone,   ///< the process that executed the check has died
    deviceReplaced  ///< the volume has gone, or its name is another device's now
  };
  BOOST_DESCRIBE_NESTED_ENUM(Kind, finished, bypassed, unanswered, takenBack, left, executorGone,
                             deviceReplaced)

  Kind kind = Kind::finished;
  std::optional<CheckReportModel> report;  ///< of `finished` alone
};

/// One hand-over to the module, from the request to its end. The request and the flags in the
/// mailbox are withdrawn whichever way it ends, also when it is destroyed under way. Main actor;
/// the files are read in the background.
class ModuleCheck {
 public:
  struct Events {
    std::function<void(const CheckProgressSnapshot&)> progressed;  ///< a new frame
    /// The check has come to nothing; it goes on until the module has stopped.
    std::function<void()> stalled;
  };

  /// The monitor's list tells who has mounted the volume.
  ModuleCheck(base::MainActor& actor, const platform::Platform& platform,
              const disks::DiskMonitor& monitor, VolumeIdentity volume, Events events);
  ~ModuleCheck();
  ModuleCheck(const ModuleCheck&) = delete;
  ModuleCheck& operator=(const ModuleCheck&) = delete;

  /// Called once.
  base::Task<ModuleCheckEnd> run(bool repair);

  /// Puts the pause flag there or takes it away; false when that was not possible. A check that is
  /// being cancelled is not paused any more.
  bool setPaused(bool isPaused);

  /// Puts the cancel flag there and ends a pause. False when it could not be written: then the
  /// check goes on.
  bool cancel();

 private:
  struct Reader;
  struct Found;

  bool handOver(bool repair);
  base::Task<Found> look(ModuleCheckSequence sequence);
  ModuleCheckRound roundOf(const Found& found) const;
  MountHolder holder() const;
  std::optional<ModuleCheckEnd> act(const ModuleCheckStep& step, Found& found);

  base::MainActor& actor_;
  const platform::Platform& platform_;
  const disks::DiskMonitor& monitor_;
  VolumeIdentity volume_;
  Events events_;
  std::optional<CheckMailbox> mailbox_;  // while something of ours may be in it
  std::shared_ptr<Reader> reader_;       // shared with the work in the background
  bool isPaused_ = false;
  std::optional<platform::Uptime> cancelWritten_;
};

}  // namespace halvercine::check
