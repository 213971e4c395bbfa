// One check or repair of one volume, from its start to its end.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include <boost/describe.hpp>
#include <boost/signals2/dummy_mutex.hpp>
#include <boost/signals2/signal_type.hpp>

#include "base/Completion.h"
#include "base/FileLock.h"
#include "base/Localization.h"
#include "base/MainActor.h"
#include "base/Task.h"
#include "check/CheckOutcome.h"
#include "check/CheckRate.h"
#include "check/DestructiveHold.h"
#include "check/ModuleCheck.h"
#include "check/TemporaryUnmount.h"
#include "check/VolumeIdentity.h"
#include "disks/DiskMonitor.h"
#include "disks/DiskUtility.h"
#include "platform/Platform.h"

namespace halvercine::check {

/// Checks or repairs a volume by the command-line tool, without the module.
using DirectCheck = std::function<base::Task<CheckOutcome>(std::string bsdName, bool repair)>;

/// Adds an entry to the log that the user reads. The category is "check" or "repair".
using LogOperation = std::function<void(std::string category, std::string message)>;

/// What a session works with. It outlives the session.
struct CheckServices {
  base::MainActor& actor;
  const platform::Platform& platform;
  disks::DiskMonitor& monitor;
  const disks::DiskUtility& utility;
  const base::Localization& localization;
  DirectCheck direct;
  LogOperation log;
};

/// How often a check whose executor has died is started again, after the volume has been mounted
/// anew: what kills the module three times will kill it every time.
inline constexpr int recoveryLimit = 2;

/// Main actor. Destroying it under way withdraws its flags and releases what it holds; the module
/// then finishes by itself what it has begun.
class CheckSession {
 public:
  enum class Path { module, direct };
  BOOST_DESCRIBE_NESTED_ENUM(Path, module, direct)

  template <class Signature>
  using Signal = disks::DiskMonitor::Signal<Signature>;

  /// What a session holds for as long as it runs.
  struct Holds {
    std::optional<base::FileLock> mailbox;       ///< nothing where there is no shared container
    std::optional<DestructiveHold> destructive;  ///< of a repair
  };

  CheckSession(const CheckServices& services, disks::Disk disk, bool repair, Path path,
               Holds holds);
  CheckSession(const CheckSession&) = delete;
  CheckSession& operator=(const CheckSession&) = delete;

  /// The whole check. Called once, by the store.
  base::Task<void> run();

  /// As it was at the start.
  const disks::Disk& disk() const { return disk_; }
  const VolumeIdentity& volume() const { return volume_; }
  bool isRepair() const { return isRepair_; }

  /// The path that runs now: a check through the module may have fallen back.
  Path path() const { return path_; }
  bool cliFallback() const { return cliFallback_; }

  /// The last frame; nothing before the first one, and on the direct path.
  const std::optional<CheckProgressSnapshot>& progress() const { return progress_; }
  const CheckRate& rate() const { return rate_; }
  bool isPaused() const { return isPaused_; }
  bool isCancelling() const { return isCancelling_; }
  /// It has come to nothing, and whoever executes it is still being stopped.
  bool isStopping() const { return isStopping_; }
  /// The volume is being mounted anew after the executor's death.
  bool isRecovering() const { return isRecovering_; }
  int recoveries() const { return recoveries_; }

  /// False when nobody has confirmed that whoever executed the check has stopped.
  bool hasStoppedSafely() const { return hasStoppedSafely_; }
  /// It was cancelled by refusing the administrator's rights: the tool was never begun.
  bool isRefused() const { return isRefused_; }

  /// The check unmounted the volume, and it is not mounted. Of a session that has ended.
  bool isLeftUnmounted() const { return isLeftUnmounted_; }

  /// How it ended. After a stall it is there while the module is still being stopped.
  const std::optional<CheckOutcome>& outcome() const { return outcome_; }
  /// Until nothing of it is left: no flag, no hold.
  bool isRunning() const { return isRunning_; }

  /// Only a check that the module executes can be paused. False when nothing has changed.
  bool pause() { return setPaused(true); }
  bool resume() { return setPaused(false); }

  /// Asks for the end; the outcome comes when whoever executes the check has stopped. False when it
  /// cannot be asked for: a repair by the command-line tool is not stopped halfway, since the
  /// volume could be left worse than it was.
  bool cancel();

  /// After every change of what this class tells.
  Signal<void()> changed;

 private:
  base::Task<CheckOutcome> check();
  base::Task<CheckOutcome> checkByModule();
  base::Task<ModuleCheckEnd> handOver();
  base::Task<bool> recover();
  base::Task<CheckOutcome> checkDirectly();
  base::Task<CheckOutcome> repairDirectly();
  CheckOutcome directOutcome(CheckOutcome outcome);
  base::Task<std::monostate> untilCancelled();
  bool setPaused(bool isPaused);
  void finish(CheckOutcome outcome);
  void conclude(CheckOutcome outcome);
  void log(std::string_view event, const std::string& reason = {});
  bool isThere() const;
  CheckOutcome interrupted() const;

  const CheckServices& services_;
  disks::Disk disk_;
  VolumeIdentity volume_;
  bool isRepair_;
  Path path_;
  Holds holds_;
  bool wasMounted_;
  TemporaryUnmount unmount_;

  std::unique_ptr<ModuleCheck> module_;  // while it runs
  std::optional<base::Completion<std::monostate>> cancelWait_;
  std::optional<CheckProgressSnapshot> progress_;
  CheckRate rate_;
  bool cliFallback_ = false;
  bool isPaused_ = false;
  bool isCancelling_ = false;
  bool isStopping_ = false;
  bool isRecovering_ = false;
  bool isRunning_ = true;
  bool hasStoppedSafely_ = true;
  bool isRefused_ = false;
  bool isLeftUnmounted_ = false;
  int recoveries_ = 0;
  std::optional<CheckOutcome> outcome_;
};

}  // namespace halvercine::check
