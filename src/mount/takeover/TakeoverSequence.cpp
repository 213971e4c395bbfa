#include "mount/takeover/TakeoverSequence.h"

#include <utility>

#include <fmt/format.h>

namespace halvercine::mount {
namespace {

using Kind = TakeoverStep::Kind;

TakeoverStep end(TakeoverEnd how, std::string logText = {}) {
  return {Kind::end, how, std::move(logText)};
}

}  // namespace

bool leavesUnmounted(TakeoverEnd end) {
  return end == TakeoverEnd::ticketRefused || end == TakeoverEnd::unrecognized ||
         end == TakeoverEnd::mountFailed;
}

bool isMountedEnd(TakeoverEnd end) {
  return end == TakeoverEnd::mounted || end == TakeoverEnd::mountedByOthers;
}

TakeoverSequence TakeoverSequence::resumed(SessionNtfsIdentity identity) {
  TakeoverSequence sequence;
  sequence.stage_ = Stage::remount;
  sequence.identity_ = std::move(identity);
  return sequence;
}

TakeoverStep TakeoverSequence::next(const SequenceFacts& facts) {
  switch (stage_) {
    case Stage::gates:
      return passGates(facts);
    case Stage::recheck:
      return recheck(facts);
    case Stage::unmounted:
      return afterUnmount(facts);
    case Stage::remount:
      return beforeRemount(facts);
    case Stage::mounted:
      return afterMount(facts);
  }
  return {};
}

bool TakeoverSequence::isSame(const SequenceFacts& facts) const {
  return facts.isListed && facts.identity && isSameVolume(*facts.identity, *identity_);
}

/// Entry IDs are never given away: as long as it is the same, what else is missing may come back.
TakeoverStep TakeoverSequence::leaveAlone(const SequenceFacts& facts) const {
  const bool isSameDevice = facts.deviceId == identity_->deviceID;
  return end(isSameDevice ? TakeoverEnd::unrecognized : TakeoverEnd::deviceChangedAfterUnmount,
             "卸载后中止（设备身份已变）");
}

TakeoverStep TakeoverSequence::passGates(const SequenceFacts& facts) {
  if (!facts.gate.isOpen()) {
    return end(TakeoverEnd::notEligible,
               fmt::format("跳过（资格门未过 recovery={}）", facts.gate.description()));
  }
  if (!facts.identity) return end(TakeoverEnd::noMediaIdentity, "跳过（mediaID 读取失败）");
  if (facts.isDestructive) return end(TakeoverEnd::destructiveOperation);
  if (facts.isCoordinatorBusy) return end(TakeoverEnd::coordinatorBusy, "跳过（协调器忙）");
  if (facts.isRepairingAuthorization) {
    return end(TakeoverEnd::repairingAuthorization, "跳过（授权修复进行中）");
  }
  identity_ = facts.identity;
  stage_ = Stage::recheck;
  return {Kind::look, {}, {}};
}

TakeoverStep TakeoverSequence::recheck(const SequenceFacts& facts) {
  if (!facts.isListed) return end(TakeoverEnd::vanished, "复核中止（磁盘快照消失）");
  if (!isSame(facts)) return end(TakeoverEnd::deviceChanged, "复核中止（设备身份已变）");
  if (facts.isDestructive) return end(TakeoverEnd::destructiveOperation);
  if (!facts.gate.isOpen()) {
    return end(TakeoverEnd::noLongerEligible,
               fmt::format("复核中止（资格门未过 recovery={}）", facts.gate.description()));
  }
  stage_ = Stage::unmounted;
  return {Kind::unmount, {}, {}};
}

TakeoverStep TakeoverSequence::afterUnmount(const SequenceFacts& facts) {
  if (!isSame(facts)) return leaveAlone(facts);
  // A tool that was stopped half way may have done its work all the same.
  if (!facts.toolSucceeded && facts.gate.isMounted) {
    return end(TakeoverEnd::unmountFailed, "卸载失败，卷保持原状");
  }
  return guardTicket(facts);
}

TakeoverStep TakeoverSequence::beforeRemount(const SequenceFacts& facts) {
  if (!isSame(facts)) return leaveAlone(facts);
  if (facts.gate.isMounted) return end(TakeoverEnd::mountedByOthers);
  if (facts.isCoordinatorBusy) return end(TakeoverEnd::coordinatorBusy, "跳过（协调器忙）");
  return guardTicket(facts);
}

TakeoverStep TakeoverSequence::guardTicket(const SequenceFacts& facts) {
  if (!facts.isTicketValid || facts.isDestructive || facts.isRepairingAuthorization ||
      facts.isUnmountedByUser) {
    return end(TakeoverEnd::ticketRefused,
               fmt::format("重挂前中止（恢复票据守卫未过 ticketValid={} destructiveBusy={} "
                           "authorizationRepair={} unmountedByUser={}）",
                           facts.isTicketValid, facts.isDestructive, facts.isRepairingAuthorization,
                           facts.isUnmountedByUser));
  }
  stage_ = Stage::mounted;
  return {Kind::mount, {}, {}};
}

TakeoverStep TakeoverSequence::afterMount(const SequenceFacts& facts) const {
  if (!isSame(facts)) return leaveAlone(facts);
  if (facts.toolSucceeded) return end(TakeoverEnd::mounted, "挂载完成，尚未确认读写");
  return end(facts.gate.isMounted ? TakeoverEnd::mountedByOthers : TakeoverEnd::mountFailed);
}

}  // namespace halvercine::mount
