#include "mount/explanation/advice.h"

#include <utility>

namespace halvercine::mount {
namespace {

using base::LocalizedText;

LocalizedText attemptText(std::string_view key, const TakeoverFacts& takeover) {
  return {key,
          {std::to_string(takeover.attempt.value_or(1)),
           std::to_string(MountRecoveryPolicy::attemptLimit)}};
}

/// What becomes of a volume that is to be mounted again; nothing when that is not its trouble.
std::optional<LocalizedText> recoveryText(const VolumeFacts& facts, VolumeState state,
                                          Recovery recovery) {
  switch (recovery) {
    case Recovery::none:
      return std::nullopt;
    case Recovery::cannotHelp:
      return LocalizedText{"explain.program.cannothelp"};
    case Recovery::noController:
      return LocalizedText{"explain.program.nocontroller"};
    case Recovery::suppressed:
      return LocalizedText{"explain.program.suppressed"};
    case Recovery::running:
      return attemptText("explain.program.running", facts.takeover);
    case Recovery::moduleOff:
      return LocalizedText{"explain.program.moduleoff"};
    case Recovery::waiting:
      return attemptText("explain.program.waiting", facts.takeover);
    case Recovery::stopped:
      return LocalizedText{"explain.program.stopped",
                           {std::to_string(MountRecoveryPolicy::attemptLimit)}};
    case Recovery::watching:
      return LocalizedText{isReadOnlyState(state) ? "explain.program.watching"
                                                  : "explain.program.remounts"};
  }
  return std::nullopt;
}

/// What the program does where nothing is to be mounted again; empty where the answer has said it.
std::string_view plainActionKey(VolumeState state) {
  if (state <= VolumeState::otherFileSystem) return "";
  if (state == VolumeState::writable) return "explain.program.fine";
  if (isWritableState(state)) {
    return state == VolumeState::writableOtherDriver ? "explain.program.leaves"
                                                     : "explain.program.confirms";
  }
  if (state == VolumeState::destructiveJob) return "explain.program.suppressed";
  if (state == VolumeState::bitLockerUnlocking || state == VolumeState::bitLockerUndecided) {
    return "explain.program.unlocking";
  }
  if (state == VolumeState::bitLockerLocked || state == VolumeState::bitLockerUnlockFailed) {
    return "explain.program.needsyou";
  }
  if (state == VolumeState::unmountedChecking) return "explain.program.afterthecheck";
  if (state == VolumeState::unmountedByUser) return "explain.program.leftalone";
  return "explain.program.leaves";
}

/// Collects the steps of one volume.
class Steps {
 public:
  explicit Steps(const VolumeFacts& facts) : facts_(facts), id_(facts.disk.id) {}

  Steps& say(std::string_view key, std::vector<std::string> arguments = {}) {
    steps_.push_back({{key, std::move(arguments)}});
    return *this;
  }
  Steps& type(std::string_view key, std::string command) {
    steps_.push_back({{key}, std::move(command)});
    return *this;
  }
  Steps& mount() { return type("explain.step.mount", "halvercine mount " + id_); }
  Steps& unlock(std::string_view key) { return type(key, "halvercine unlock " + id_); }
  Steps& remount(std::string_view key) {
    return type(key, "halvercine unmount " + id_ + " && halvercine mount " + id_);
  }
  Steps& askAgain(std::string_view key) { return type(key, "halvercine explain " + id_); }
  Steps& otherDriver() { return say("explain.step.otherdriver", {facts_.personality->driver}); }
  Steps& closePrograms() {
    return facts_.holders && !facts_.holders->empty() ? say("explain.step.close") : *this;
  }
  /// Whatever else is done, it does not help as long as the medium is protected.
  Steps& protection() { return facts_.mediaWritable == false ? say("explain.step.switch") : *this; }
  Steps& replug() { return say("explain.step.replug"); }
  Steps& check() { return type("explain.step.check", "halvercine check " + id_); }

  /// For a read-only volume that another attempt can make writable.
  Steps& takeover(Recovery recovery) {
    if (recovery == Recovery::suppressed) return say("explain.step.waitforjob");
    if (recovery == Recovery::running) return say("explain.step.keepconnected");
    if (facts_.takeover.isModuleOff) say("explain.step.moduleon");
    closePrograms();
    if (recovery == Recovery::noController) type("explain.step.run", "halvercine run");
    return type("explain.step.takeover", "halvercine takeover " + id_).replug();
  }

  /// For a volume that the program has unmounted.
  Steps& mountAgain(Recovery recovery) {
    if (recovery == Recovery::suppressed) return say("explain.step.waitforjob");
    if (recovery == Recovery::running) return say("explain.step.keepconnected");
    closePrograms();
    if (recovery == Recovery::noController) type("explain.step.run", "halvercine run");
    return mount().replug();
  }

  std::vector<Step> take() { return std::move(steps_); }

 private:
  const VolumeFacts& facts_;
  std::string id_;
  std::vector<Step> steps_;
};

Steps& addSteps(Steps& steps, VolumeState state, Recovery recovery) {
  switch (state) {
    case VolumeState::unlisted:
    case VolumeState::otherFileSystem:
    case VolumeState::writable:
      return steps;
    case VolumeState::gone:
      return steps.say("explain.step.plugin");
    case VolumeState::replaced:
      return steps.askAgain("explain.step.ask");
    case VolumeState::wholeDisk:
      return steps.type("explain.step.list", "halvercine list");
    case VolumeState::unknownFileSystem:
      return steps.say("explain.step.elsewhere");
    case VolumeState::destructiveJob:
      return steps.say("explain.step.waitforjob");
    case VolumeState::interruptedCreation:
      return steps.say("explain.step.startover");
    case VolumeState::bitLockerLocked:
      return steps.unlock("explain.step.unlock");
    case VolumeState::bitLockerUndecided:
    case VolumeState::bitLockerUnlocking:
    case VolumeState::writableUnconfirmed:
      return steps.askAgain("explain.step.asklater");
    case VolumeState::bitLockerUnlockFailed:
      return steps.unlock("explain.step.unlockagain");
    case VolumeState::bitLockerUnsupported:
      return steps.say("explain.step.windowspc");
    case VolumeState::bitLockerError:
      return steps.say("explain.step.bitlockererror");
    case VolumeState::bitLockerTpmOnly:
    case VolumeState::bitLockerNoProtector:
      return steps.say("explain.step.addpassword");
    case VolumeState::bitLockerUnlocked:
    case VolumeState::unmounted:
      return steps.mount().replug();
    case VolumeState::writableStaleReport:
    case VolumeState::writableContradicted:
      return steps.closePrograms().remount("explain.step.remount").replug();
    case VolumeState::writableOtherDriver:
    case VolumeState::unmountedThirdParty:
      return steps.otherDriver();
    case VolumeState::readOnlyHardware:
      return steps.say("explain.step.switch");
    case VolumeState::readOnlyResource:
    case VolumeState::readOnlyUnknown:
    case VolumeState::readOnlyStaleReport:
    case VolumeState::readOnlySystemDriver:
      return steps.takeover(recovery);
    case VolumeState::readOnlyOtherDriver:
      return steps.otherDriver().takeover(recovery);
    case VolumeState::readOnlyRequested:
      return steps.protection().closePrograms().remount("explain.step.remountwritable");
    case VolumeState::readOnlyProtected:
      return steps.say("explain.step.windows").check().say("explain.step.thenreplug");
    case VolumeState::readOnlyOpenFailed:
      return steps.closePrograms().say("explain.step.ejectreplug");
    case VolumeState::readOnlyEndOfWrite:
      return steps.say("explain.step.ejectreplug").check();
    case VolumeState::unmountedChecking:
      return steps.say("explain.step.waitforcheck");
    case VolumeState::unmountedForRemount:
    case VolumeState::unmountedRemountFailed:
      return steps.mountAgain(recovery);
    case VolumeState::unmountedByUser:
      return steps.mount();
    case VolumeState::unmountedMismatch:
      return steps.say("explain.step.mismatch");
    case VolumeState::unmountedNeedsCheck:
      return steps.check().say("explain.step.windows");
    case VolumeState::unmountedHeld:
      return steps.closePrograms().mount();
  }
  return steps;
}

}  // namespace

std::vector<LocalizedText> programActions(const VolumeFacts& facts, VolumeState state,
                                          Recovery recovery) {
  if (auto text = recoveryText(facts, state, recovery)) return {std::move(*text)};
  const auto key = plainActionKey(state);
  if (key.empty()) return {};
  return {LocalizedText{key}};
}

std::vector<Step> nextSteps(const VolumeFacts& facts, VolumeState state, Recovery recovery) {
  Steps steps(facts);
  return addSteps(steps, state, recovery).take();
}

}  // namespace halvercine::mount
