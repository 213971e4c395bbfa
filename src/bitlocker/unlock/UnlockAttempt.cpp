#include "bitlocker/unlock/UnlockAttempt.h"

#include <algorithm>
#include <utility>
#include <variant>

#include <boost/algorithm/string/case_conv.hpp>
#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

#include "base/Completion.h"
#include "base/Text.h"
#include "base/either.h"

namespace halvercine::bitlocker {
namespace {

using End = UnlockResult::End;

std::string newRequestID() {
  return boost::algorithm::to_upper_copy(to_string(boost::uuids::random_generator()()));
}

UnlockResult failed(std::string_view code) {
  return {.end = End::failed, .code = std::string(code)};
}

bool isFailure(std::string_view state) {
  return state == "unlockFailed" || state == "error" || state == "unsupported";
}

/// Why a mount did not happen; nothing when it did.
struct ReasonOf {
  std::optional<std::string> operator()(const disks::MountFailure& failure) const {
    return std::string(base::trimmed(failure.text));
  }
  std::optional<std::string> operator()(const disks::ThirdPartyDriver& driver) const {
    return driver.name;
  }
  std::optional<std::string> operator()(const disks::UnsafeVolume&) const {
    return "unsafe volume";
  }
  std::optional<std::string> operator()(const disks::MountSuccess&) const { return std::nullopt; }
};

}  // namespace

UnlockAttempt::UnlockAttempt(const UnlockContext& context, disks::Disk disk,
                             std::optional<std::uint64_t> deviceId)
    : context_(context),
      clock_(*context.platform.clock),
      mailbox_(*context.platform.containers, clock_),
      disk_(std::move(disk)),
      deviceId_(deviceId),
      submitTime_(platform::secondsSince1970(clock_.now())),
      requestID_(newRequestID()),
      post_(context.actor) {}

bool UnlockAttempt::isSameDevice() const {
  const auto* now = context_.monitor.find(disk_.id);
  if (!now) return true;
  const auto deviceId = context_.monitor.deviceId(disk_.id);
  return now->mediaID == disk_.mediaID && (!deviceId_ || !deviceId || deviceId == deviceId_);
}

bool UnlockAttempt::submit(std::string_view method, base::Secret credential, bool readOnly) {
  const UnlockRequest request{std::string(method), std::move(credential),
                              readOnly ? std::optional(true) : std::nullopt, requestID_};
  readOnly_ = readOnly;
  isSubmitted_ = true;  // also when writing fails half-way
  return mailbox_.writeRequest(key(), request);
}

void UnlockAttempt::withdraw() {
  if (std::exchange(isSubmitted_, false)) mailbox_.removeRequest(key(), requestID_);
}

/// The module repeats the identifier of the request. One that does not can report success, but no
/// failure: that may be an older one.
bool UnlockAttempt::isAnswer(const Status& status) const {
  if (status.guid != key() || status.timestamp < submitTime_) return false;
  return status.requestID ? status.requestID == requestID_ : status.state == "unlocked";
}

/// An ejection is written into the record that is there, which need not be an answer; but the
/// answer to somebody else's request says nothing about this one.
bool UnlockAttempt::isEjection(const Status& status) const {
  return status.guid == key() && status.ejected.value_or(false) &&
         status.requestID.value_or(requestID_) == requestID_;
}

base::Task<UnlockResult> UnlockAttempt::wait(std::function<void()> accepted) {
  accepted_ = std::move(accepted);
  const auto wake = [this] {
    if (wake_) wake_();
  };
  if (const auto folder = mailbox_.containerURL()) {
    watch_ = context_.platform.directoryWatcher->watch(*folder, post_.wrap(wake));
  }
  deadline_ = clock_.uptime() + answerLimit;
  context_.monitor.refresh();
  refreshed_ = context_.monitor.refreshed.connect(wake);
  auto result = co_await waitForEnd();
  result.isAccepted = wasAccepted();
  co_return result;
}

/// The list of disks may show the volume mounted before the record has been read.
bool UnlockAttempt::wasAccepted() const {
  if (acceptedAt_) return true;
  const auto status = mailbox_.readStatus(key());
  return status && isAnswer(*status) && status->state == "unlocked";
}

/// By the wall clock as well: a machine that sleeps meanwhile does not leave the password waiting
/// in a file for as long.
bool UnlockAttempt::isOverdue() const {
  const std::chrono::duration<double> limit = answerLimit;
  return clock_.uptime() >= deadline_ ||
         platform::secondsSince1970(clock_.now()) >= submitTime_ + limit.count();
}

base::Task<UnlockResult> UnlockAttempt::waitForEnd() {
  for (;;) {
    if (auto result = look()) co_return std::move(*result);
    if (isOverdue()) {
      co_return failed(acceptedAt_ ? unlock_code::mountNotConfirmed : unlock_code::timeout);
    }
    if (isMountDue()) {
      if (auto result = co_await mount()) co_return std::move(*result);
    } else {
      co_await nextLook();
    }
  }
}

/// What the list of disks says.
std::optional<UnlockResult> UnlockAttempt::lookAtDisk() const {
  if (!isSameDevice()) return failed(unlock_code::deviceChanged);
  const auto* disk = context_.monitor.find(disk_.id);
  if (disk && disk->isMounted) return UnlockResult{.end = End::unlocked, .code = ""};
  return std::nullopt;
}

std::optional<UnlockResult> UnlockAttempt::look() {
  if (auto result = lookAtDisk()) return result;
  const auto status = mailbox_.readStatus(key());
  if (!status || status->timestamp < submitTime_) return std::nullopt;
  if (isEjection(*status)) return UnlockResult{.end = End::ejected, .code = ""};
  if (!isAnswer(*status)) return std::nullopt;
  if (isFailure(status->state)) return failed(status->errorMessage.value_or(""));
  if (status->state != "unlocked") return std::nullopt;
  noteAcceptance();
  if (clock_.uptime() < nextRefresh_) return std::nullopt;
  nextRefresh_ = clock_.uptime() + refreshInterval;
  context_.monitor.refresh();
  return lookAtDisk();
}

void UnlockAttempt::noteAcceptance() {
  if (acceptedAt_) return;
  acceptedAt_ = clock_.uptime();
  if (accepted_) accepted_();
}

/// Once: the volume is unlocked, and the system knows what is in it, but has not mounted it.
bool UnlockAttempt::isMountDue() const {
  if (isMountTried_ || !acceptedAt_ || clock_.uptime() < *acceptedAt_ + mountPatience) return false;
  const auto* disk = context_.monitor.find(disk_.id);
  return disk && disk->isNtfs() && !context_.isBusy(*disk);
}

base::Task<std::optional<UnlockResult>> UnlockAttempt::mount() {
  isMountTried_ = true;
  const auto access = readOnly_ ? disks::MountAccess::readOnly : disks::MountAccess::readWrite;
  const auto left = deadline_ - clock_.uptime();
  auto outcome = co_await base::withTimeout(clock_, left, context_.utility.mount(disk_.id, access));
  context_.monitor.refresh();
  if (auto result = lookAtDisk()) co_return result;
  if (!outcome) co_return std::nullopt;
  const auto reason = std::visit(ReasonOf{}, *outcome);
  if (!reason) co_return std::nullopt;
  const auto text = mountFailureText(disk_.name, *reason);
  context_.addToLog("unlock", text);
  co_return failed(text);
}

/// Until the folder or the list changes, but no longer than a poll period.
base::Task<void> UnlockAttempt::nextLook() {
  const auto at = std::min(clock_.uptime() + pollInterval, deadline_);
  platform::TimerId timer = 0;
  const auto start = [this, at, &timer](const base::Completion<bool>& done) {
    wake_ = [done] { done(true); };
    timer = clock_.callAt(at, wake_);
    return std::function<void()>([&clock = clock_, id = timer] { clock.cancel(id); });
  };
  co_await base::waitFor<bool>(start);
  wake_ = nullptr;
  clock_.cancel(timer);
}

}  // namespace halvercine::bitlocker
