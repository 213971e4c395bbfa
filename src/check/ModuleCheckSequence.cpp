#include "check/ModuleCheckSequence.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace halvercine::check {
namespace {

// People who support users search logs for these texts.
constexpr std::string_view bypassedAtClaim =
    "Halvercine: 深检标志未被认领（挂载被原生驱动接管），引导恢复扩展授权";
constexpr std::string_view bypassedAtFallback =
    "Halvercine: 深检超 90s 未认领且挂载已完成（原生接管），引导恢复授权";
constexpr std::string_view fellBack =
    "Halvercine: 深检超 90s 无信箱无进度（扩展未认领），降级内嵌 fsck CLI";
constexpr std::string_view stalled =
    "Halvercine: 深检连续 10 分钟无进展（停滞/扩展异常），写取消标志安全中止";
constexpr std::string_view cancelIgnored =
    "Halvercine: 深检取消旗落盘后连续 60s 无新帧（执行实例已死亡），fail-safe 退出轮询";

std::string executorGone(std::int32_t pid) {
  return "Halvercine: 深检执行实例已死亡（pid=" + std::to_string(pid) + "不存在），交自动恢复";
}

ModuleCheckStep step(ModuleCheckAction action, std::string_view line = {}) {
  return {action, std::string(line)};
}

/// A module that only says that it is alive gets nowhere.
bool sameContent(CheckProgressSnapshot one, const CheckProgressSnapshot& other) {
  one.ts = other.ts;
  return one == other;
}

}  // namespace

bool ModuleCheckSequence::isNew(const CheckProgressSnapshot& frame) const {
  if (!frame_) return true;
  if (frame.ts && frame_->ts) return *frame.ts > *frame_->ts;
  return frame != *frame_;
}

ModuleCheckStep ModuleCheckSequence::next(const ModuleCheckRound& round) {
  passTime(round);
  takeFrame(round);
  if (round.reportAccepted) return step(ModuleCheckAction::finish);
  if (auto ended = waitForClaim(round)) return std::move(*ended);
  if (isStalled(round)) {
    stalled_ = round.now;
    return step(ModuleCheckAction::stall, stalled);
  }
  if (isCancelIgnored(round)) return step(ModuleCheckAction::leave, cancelIgnored);
  // One that goes on telling that it lives is waited for no longer either.
  if (stalled_ && round.now - *stalled_ > cancelLimit) return step(ModuleCheckAction::leave);
  if (isExecutorGone(round)) {
    return step(ModuleCheckAction::handOver, executorGone(*frame_->pid));
  }
  return step(ModuleCheckAction::poll);
}

void ModuleCheckSequence::passTime(const ModuleCheckRound& round) {
  const auto passed = round.now - std::exchange(lastRound_, round.now);
  const auto slept = passed - std::min(passed, countedLimit);
  const auto skipped = round.isPaused ? passed : slept;
  start_ += skipped;
  lastProgress_ += skipped;
  if (lastNewFrame_) *lastNewFrame_ += slept;
  if (stalled_) *stalled_ += slept;
  if (round.cancelWritten) sleptSinceCancel_ += slept;
}

void ModuleCheckSequence::takeFrame(const ModuleCheckRound& round) {
  if (!round.frame || !isNew(*round.frame)) return;
  if (!frame_ || !sameContent(*frame_, *round.frame)) lastProgress_ = round.now;
  lastNewFrame_ = round.now;
  frame_ = round.frame;
}

std::optional<ModuleCheckStep> ModuleCheckSequence::waitForClaim(
    const ModuleCheckRound& round) const {
  if (frame_ || !round.requestWaits) return std::nullopt;
  if (round.cancelWritten) return step(ModuleCheckAction::takeBack);
  const auto waited = round.now - start_;
  const bool isMountedElsewhere =
      round.holder == MountHolder::system || round.holder == MountHolder::another;
  if (waited >= fallbackLimit) {
    return isMountedElsewhere ? step(ModuleCheckAction::bypass, bypassedAtFallback)
                              : step(ModuleCheckAction::fallBack, fellBack);
  }
  if (waited >= claimLimit && round.holder == MountHolder::system) {
    return step(ModuleCheckAction::bypass, bypassedAtClaim);
  }
  return std::nullopt;
}

bool ModuleCheckSequence::isStalled(const ModuleCheckRound& round) const {
  return !stalled_ && !round.isPaused && round.now - lastProgress_ > stallLimit;
}

bool ModuleCheckSequence::isCancelIgnored(const ModuleCheckRound& round) const {
  if (!round.cancelWritten) return false;
  // The flag may have been written after the sleep.
  const auto cancelled = std::min(*round.cancelWritten + sleptSinceCancel_, round.now);
  const auto since = std::max(cancelled, lastNewFrame_.value_or(cancelled));
  return round.now - since > cancelLimit;
}

bool ModuleCheckSequence::isExecutorGone(const ModuleCheckRound& round) const {
  return frame_ && frame_->pid && *frame_->pid > 0 && round.goneExecutor == frame_->pid;
}

}  // namespace halvercine::check
