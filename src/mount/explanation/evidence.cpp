#include "mount/explanation/evidence.h"

#include <algorithm>
#include <utility>

namespace halvercine::mount {
namespace {

using base::LocalizedText;

std::string_view reasonKey(ReadOnlyReason reason) {
  switch (reason) {
    case ReadOnlyReason::readWrite:
      return "explain.report.readwrite";
    case ReadOnlyReason::requested:
      return "explain.report.requested";
    case ReadOnlyReason::deviceProtected:
      return "explain.report.deviceprotected";
    case ReadOnlyReason::resourceReadOnly:
      return "explain.report.resourcereadonly";
    case ReadOnlyReason::unsafeVolume:
      return "explain.report.unsafevolume";
    case ReadOnlyReason::openFailed:
      return "explain.report.openfailed";
    case ReadOnlyReason::eowSafety:
      return "explain.report.eowsafety";
  }
  return "";
}

/// The module's words that have a text of their own.
std::string_view bitLockerKey(std::string_view state) {
  if (state == "locked") return "bitlocker.state.locked";
  if (state == "unlocked") return "bitlocker.state.unlocked";
  if (state == "unlockFailed") return "bitlocker.state.unlockFailed";
  if (state == "unsupported") return "bitlocker.state.unsupported";
  if (state == "error") return "bitlocker.state.error";
  return "";
}

std::string listed(const std::vector<std::string>& names) {
  std::string list;
  for (const auto& name : names) {
    if (!list.empty()) list += ", ";
    list += name;
  }
  return list;
}

/// Writes the lines in order.
class Lines {
 public:
  explicit Lines(const VolumeFacts& facts) : facts_(facts) {}

  void mount() {
    const auto& disk = facts_.disk;
    if (facts_.fileSystemKnown) add("explain.fact.filesystem", {disk.fileSystem});
    if (!disk.isMounted) {
      add("explain.fact.notmounted");
    } else {
      add(disk.isWritable ? "explain.fact.mounted.readwrite" : "explain.fact.mounted.readonly",
          {disk.mountPath.value_or("")});
    }
  }

  void bitLocker() {
    if (!facts_.disk.bitLocker) return;
    const auto& volume = *facts_.disk.bitLocker;
    const auto key = bitLockerKey(volume.state);
    if (key.empty()) {
      add("explain.fact.bitlocker", {volume.state});
    } else {
      lines_.push_back({"explain.fact.bitlocker", {}, {{key}}});
    }
    if (volume.errorMessage) add("explain.fact.bitlocker.code", {*volume.errorMessage});
    if (facts_.unlockRequested) add("explain.fact.bitlocker.requested");
  }

  void report() {
    const auto& report = facts_.report;
    if (!report) return add("explain.fact.report.none");
    lines_.push_back({report->isFresh ? "explain.fact.report.fresh" : "explain.fact.report.stale",
                      {},
                      {durationText(report->age)}});
    add(reasonKey(report->reason));
    if (report->ownerId) add("explain.fact.report.owner", {*report->ownerId});
  }

  void medium() {
    if (!facts_.mediaWritable) return add("explain.fact.media.unknown");
    add(*facts_.mediaWritable ? "explain.fact.media.writable" : "explain.fact.media.protected");
  }

  void drivers() {
    if (!facts_.personality) {
      add("explain.fact.driver.unknown");
    } else {
      switch (facts_.personality->owner) {
        case PersonalityProbe::Owner::none:
          add("explain.fact.driver.none");
          break;
        case PersonalityProbe::Owner::system:
          add("explain.fact.driver.system");
          break;
        case PersonalityProbe::Owner::ownEngine:
          add("explain.fact.driver.own");
          break;
        case PersonalityProbe::Owner::thirdParty:
          add("explain.fact.driver.other", {facts_.personality->driver});
          break;
      }
    }
    if (facts_.foreignDrivers.empty()) {
      add("explain.fact.drivers.none");
    } else {
      add("explain.fact.drivers.installed", {listed(facts_.foreignDrivers)});
    }
  }

  void holders() {
    if (!facts_.holders) return add("explain.fact.holders.unknown");
    if (facts_.holders->empty()) return add("explain.fact.holders.none");
    for (const auto& holder : *facts_.holders) {
      const auto pid = std::to_string(holder.pid);
      if (!facts_.disk.isMounted) {
        const auto name = holder.command.empty() ? pid : holder.command;
        add("explain.fact.holder.device", {pid, name});
      } else if (holder.command.empty()) {
        add("explain.fact.holder.unnamed", {pid, holder.path});
      } else {
        add("explain.fact.holder", {pid, holder.command, holder.path});
      }
    }
  }

  void unmounting() {
    if (facts_.unmountedByUserAt) {
      const auto age = platform::secondsSince1970(facts_.now) - *facts_.unmountedByUserAt;
      lines_.push_back({"explain.fact.byhand", {}, {durationText(age)}});
    } else {
      add("explain.fact.byhand.no");
    }
    if (facts_.unmount.isChecking) add("explain.fact.checking");
    if (facts_.unmount.mismatch) add("explain.fact.mismatch", {*facts_.unmount.mismatch});
  }

  void interrupted() {
    if (facts_.unmount.isCreationInterrupted) add("explain.fact.interrupted");
  }

  void takeover() {
    const auto& takeover = facts_.takeover;
    add(takeover.controllerRuns ? "explain.fact.controller.runs" : "explain.fact.controller.none");
    if (takeover.isWorking) add("explain.fact.takeover.working");
    if (takeover.awaitsRemount) add("explain.fact.takeover.remount");
    if (takeover.attempt) {
      add("explain.fact.takeover.attempts",
          {std::to_string(*takeover.attempt), std::to_string(MountRecoveryPolicy::attemptLimit)});
    }
    if (takeover.nextAttempt) {
      const auto left = std::chrono::duration<double>(*takeover.nextAttempt - facts_.now).count();
      lines_.push_back({"explain.fact.takeover.next", {}, {durationText(left)}});
    }
    if (takeover.lastError) add("explain.fact.takeover.error", {*takeover.lastError});
    if (takeover.isModuleOff) add("explain.fact.takeover.moduleoff");
  }

  void destructiveJob() {
    if (facts_.destructiveJobHere) {
      add("explain.fact.job.here");
    } else if (facts_.destructiveJobRuns) {
      add("explain.fact.job.elsewhere");
    }
  }

  std::vector<LocalizedText> take() { return std::move(lines_); }

 private:
  void add(std::string_view key, std::vector<std::string> arguments = {}) {
    lines_.push_back({key, std::move(arguments)});
  }

  const VolumeFacts& facts_;
  std::vector<LocalizedText> lines_;
};

}  // namespace

LocalizedText durationText(double seconds) {
  const auto whole = static_cast<std::int64_t>(std::clamp(seconds, 0.0, 1e9));
  constexpr std::int64_t minute = 60;
  constexpr std::int64_t hour = 60 * minute;
  if (whole < 2 * minute) return {"explain.duration.seconds", {std::to_string(whole)}};
  if (whole < 2 * hour) return {"explain.duration.minutes", {std::to_string(whole / minute)}};
  return {"explain.duration.hours", {std::to_string(whole / hour)}};
}

std::vector<LocalizedText> evidence(const VolumeFacts& facts, VolumeState state) {
  if (facts.presence != VolumeFacts::Presence::present) return {};
  Lines lines(facts);
  lines.mount();
  lines.bitLocker();
  lines.interrupted();
  if (isWritableState(state) || isReadOnlyState(state) || isUnmountedState(state)) {
    lines.report();
    lines.medium();
    lines.drivers();
    lines.holders();
    if (isUnmountedState(state)) lines.unmounting();
    if (!isWritableState(state)) lines.takeover();
  }
  lines.destructiveJob();
  return lines.take();
}

}  // namespace halvercine::mount
