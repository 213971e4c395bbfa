#include "check/CheckSession.h"

#include <utility>

#include "base/either.h"
#include "disks/DiskUtilityText.h"
#include "mount/takeover/TakeoverJournal.h"

namespace halvercine::check {
namespace {

/// The log key of an event, and how it is followed by the volume and the reason.
std::string logText(const base::Localization& localization, bool isRepair, std::string_view event,
                    const std::string& volumeName, const std::string& reason) {
  auto text = localization.text(std::string(isRepair ? "log.repair." : "log.check.").append(event));
  text.append("（").append(volumeName).append("）");
  if (!reason.empty()) text.append(": ").append(reason);
  return text;
}

}  // namespace

CheckSession::CheckSession(const CheckServices& services, disks::Disk disk, bool repair, Path path,
                           Holds holds)
    : services_(services),
      disk_(std::move(disk)),
      volume_(identityOf(disk_, *services.platform.mediaRegistry)),
      isRepair_(repair),
      path_(path),
      holds_(std::move(holds)),
      wasMounted_(disk_.isMounted) {}

base::Task<void> CheckSession::run() {
  log("start");
  auto outcome = co_await check();
  finish(std::move(outcome));
}

base::Task<CheckOutcome> CheckSession::check() {
  return path_ == Path::module ? checkByModule() : checkDirectly();
}

base::Task<CheckOutcome> CheckSession::checkByModule() {
  using Kind = ModuleCheckEnd::Kind;
  for (;;) {
    if (isCancelling_) co_return CheckCancelled{};
    auto end = co_await handOver();
    switch (end.kind) {
      case Kind::finished:
        if (end.report->cancelled.value_or(false)) co_return CheckCancelled{};
        if (end.report->error) co_return CheckFailed{std::move(*end.report->error)};
        co_return CheckSucceeded{std::move(*end.report)};
      case Kind::bypassed:
        co_return CheckModuleBypassed{};
      case Kind::unanswered:
        cliFallback_ = true;
        co_return co_await checkDirectly();
      case Kind::left:
        hasStoppedSafely_ = false;
        co_return CheckCancelled{};
      case Kind::takenBack:
        co_return CheckCancelled{};
      case Kind::deviceReplaced:
        co_return interrupted();
      case Kind::executorGone:
        break;
    }
    const bool isRecovered = co_await recover();
    if (isCancelling_) co_return CheckCancelled{};
    if (!isRecovered || outcome_ || recoveries_ == recoveryLimit) co_return interrupted();
    ++recoveries_;
  }
}

base::Task<ModuleCheckEnd> CheckSession::handOver() {
  ModuleCheck::Events events;
  events.progressed = [this](const CheckProgressSnapshot& frame) {
    progress_ = frame;
    rate_.add(services_.platform.clock->uptime(), frame);
    changed();
  };
  events.stalled = [this] {
    isStopping_ = true;
    conclude(CheckFailed{services_.localization.text("check.failed.timeout")});
  };
  progress_.reset();
  rate_.reset();
  module_ = std::make_unique<ModuleCheck>(services_.actor, services_.platform, services_.monitor,
                                          volume_, std::move(events));
  auto end = co_await module_->run(isRepair_);
  module_.reset();
  isPaused_ = false;
  co_return end;
}

/// The volume again as it was before, after the process that served it has died. Whether a file is
/// open on it is for the disk tool to say: nothing is forced.
base::Task<bool> CheckSession::recover() {
  isRecovering_ = true;
  changed();
  bool isDone = isThere();
  if (isDone && isMounted()) {
    const auto unmounted = co_await unmountForNow();
    isDone = unmounted.status == 0;
  }
  if (isDone && wasMounted_) isDone = co_await mountAgain();
  isRecovering_ = false;
  changed();
  co_return isDone&& isThere();
}

base::Task<bool> CheckSession::mountAgain() {
  if (!isThere()) co_return false;
  const auto mounted = co_await services_.utility.mount(volume_.bsdName);
  const bool isDone = std::holds_alternative<disks::MountSuccess>(mounted);
  services_.monitor.refresh();
  if (isDone) settleRecovery();
  co_return isDone;
}

/// Should this process die before it has mounted the volume again, the resident controller does.
base::Task<disks::ToolResult> CheckSession::unmountForNow() {
  const mount::TakeoverJournal journal(services_.platform);
  const double now = platform::secondsSince1970(services_.platform.clock->now());
  if (volume_.deviceID) {
    journal.note({volume_.bsdName, disk_.name, mount::identityOf(disk_, *volume_.deviceID), now});
  }
  auto result = co_await services_.utility.unmount(volume_.bsdName);
  if (result.status != 0 && isMounted()) settleRecovery();
  co_return result;
}

void CheckSession::settleRecovery() {
  if (!volume_.deviceID) return;
  mount::TakeoverJournal(services_.platform).settle(volume_.bsdName, *volume_.deviceID);
}

base::Task<CheckOutcome> CheckSession::checkDirectly() {
  path_ = Path::direct;
  progress_.reset();
  changed();
  if (isCancelling_) co_return CheckCancelled{};
  if (isRepair_) co_return co_await repairDirectly();
  auto first = co_await base::either(services_.direct(volume_.bsdName, false), untilCancelled());
  cancelWait_.reset();
  if (first.index() == 1) co_return CheckCancelled{};
  co_return std::move(std::get<0>(first));
}

/// The tool writes to the device: nobody else may.
base::Task<CheckOutcome> CheckSession::repairDirectly() {
  const bool mustMount = isMounted();
  if (mustMount) {
    const auto unmounted = co_await unmountForNow();
    if (unmounted.status != 0) {
      co_return CheckFailed{services_.localization.text(disks::errorKey(unmounted.text))};
    }
  }
  if (!isThere()) co_return interrupted();
  auto outcome = co_await services_.direct(volume_.bsdName, true);
  if (mustMount) co_await mountAgain();
  co_return outcome;
}

base::Task<std::monostate> CheckSession::untilCancelled() {
  return base::waitFor<std::monostate>([this](base::Completion<std::monostate> completion) {
    cancelWait_ = std::move(completion);
    return std::function<void()>();
  });
}

bool CheckSession::setPaused(bool isPaused) {
  if (!module_ || outcome_ || isPaused_ == isPaused || !module_->setPaused(isPaused)) return false;
  isPaused_ = isPaused;
  rate_.reset();
  changed();
  return true;
}

bool CheckSession::cancel() {
  if (!isRunning_ || outcome_ || (path_ == Path::direct && isRepair_)) return false;
  if (module_ && !module_->cancel()) return false;
  isCancelling_ = true;
  isPaused_ = false;
  if (cancelWait_) (*cancelWait_)(std::monostate{});
  changed();
  return true;
}

/// Says how it ended, once.
void CheckSession::conclude(CheckOutcome outcome) {
  if (outcome_) return;
  outcome_ = std::move(outcome);
  if (const auto* failed = std::get_if<CheckFailed>(&*outcome_)) {
    log("failed", failed->message);
  } else if (std::holds_alternative<CheckSucceeded>(*outcome_)) {
    log("success");
  } else {
    log(std::holds_alternative<CheckCancelled>(*outcome_) ? "cancelled" : "failed");
  }
  changed();
}

void CheckSession::finish(CheckOutcome outcome) {
  conclude(std::move(outcome));
  holds_ = {};
  isStopping_ = false;
  isRunning_ = false;
  changed();
}

void CheckSession::log(std::string_view event, const std::string& reason) {
  if (!services_.log) return;
  services_.log(isRepair_ ? "repair" : "check",
                logText(services_.localization, isRepair_, event, disk_.name, reason));
}

bool CheckSession::isMounted() {
  services_.monitor.refresh();
  const auto* now = services_.monitor.find(volume_.bsdName);
  return now && now->isMounted;
}

bool CheckSession::isThere() const {
  return isStillThere(volume_, *services_.platform.mediaRegistry);
}

CheckOutcome CheckSession::interrupted() const {
  return CheckFailed{services_.localization.text("check.failed.interrupted")};
}

}  // namespace halvercine::check
