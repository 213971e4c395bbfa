#include "check/CheckSession.h"

#include <utility>

#include "base/either.h"
#include "check/CheckOutput.h"

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
      wasMounted_(disk_.isMounted),
      unmount_(services.platform, services.monitor, services.utility, disk_.name, volume_) {}

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
        co_return outcomeOf(std::move(*end.report));
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
    if (isCancelling_) {
      hasStoppedSafely_ = false;
      return conclude(CheckCancelled{});
    }
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
  bool mustMount = wasMounted_;
  if (isDone && unmount_.isMounted()) {
    mustMount = true;
    const auto failure = co_await unmount_.unmount();
    isDone = !failure;
  }
  if (isDone && mustMount) isDone = co_await unmount_.mount();
  isRecovering_ = false;
  changed();
  co_return isDone&& isThere();
}

base::Task<CheckOutcome> CheckSession::checkDirectly() {
  path_ = Path::direct;
  progress_.reset();
  changed();
  if (isCancelling_) co_return CheckCancelled{};
  if (isRepair_) co_return co_await repairDirectly();
  auto first = co_await base::either(services_.direct(volume_.bsdName, false), untilCancelled());
  cancelWait_.reset();
  if (first.index() == 1) {
    // The tool belongs to the administrator: it is cut off, which need not end it.
    hasStoppedSafely_ = false;
    co_return CheckCancelled{};
  }
  co_return directOutcome(std::move(std::get<0>(first)));
}

/// The tool writes to the device: nobody else may.
base::Task<CheckOutcome> CheckSession::repairDirectly() {
  const bool mustMount = unmount_.isMounted();
  if (mustMount) {
    const auto failure = co_await unmount_.unmount();
    if (failure) co_return CheckFailed{services_.localization.text(*failure)};
  }
  if (!isThere()) co_return interrupted();
  // The tool may outlive this process, and nobody may mount the volume under it.
  unmount_.settle();
  auto outcome = co_await services_.direct(volume_.bsdName, true);
  if (mustMount) {
    unmount_.note();
    co_await unmount_.mount();
  }
  co_return directOutcome(std::move(outcome));
}

CheckOutcome CheckSession::directOutcome(CheckOutcome outcome) {
  isRefused_ = std::holds_alternative<CheckCancelled>(outcome);
  auto* success = std::get_if<CheckSucceeded>(&outcome);
  return success ? outcomeOf(std::move(success->report)) : std::move(outcome);
}

base::Task<std::monostate> CheckSession::untilCancelled() {
  return base::waitFor<std::monostate>([this](base::Completion<std::monostate> completion) {
    cancelWait_ = std::move(completion);
    if (isCancelling_) (*cancelWait_)(std::monostate{});
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
  isLeftUnmounted_ = unmount_.isLeftUnmounted();
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

bool CheckSession::isThere() const {
  return isStillThere(volume_, *services_.platform.mediaRegistry);
}

CheckOutcome CheckSession::interrupted() const {
  return CheckFailed{services_.localization.text("check.failed.interrupted")};
}

}  // namespace halvercine::check
