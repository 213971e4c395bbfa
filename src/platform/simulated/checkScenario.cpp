#include "platform/simulated/checkScenario.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "base/PrivateFiles.h"
#include "platform/simulated/errorNames.h"
#include "platform/simulated/scenarioTexts.h"

namespace halvercine::platform::simulated {
namespace {

constexpr std::string_view knownReasons[] = {"readWrite",        "requested",    "deviceProtected",
                                             "resourceReadOnly", "unsafeVolume", "openFailed",
                                             "eowSafety"};

Fault checkSystem(const ScenarioSystem& system) {
  if (!versionFromText(system.macOS)) {
    return fault("system.macOS", "expected a version such as 26.4.0");
  }
  if (!wallTimeFromText(system.now)) {
    return fault("system.now", "expected a time such as 2026-03-14T08:15:02Z");
  }
  if (!thermalStateFromText(system.thermal)) {
    return fault("system.thermal", "expected one of: nominal, fair, serious, critical");
  }
  return std::nullopt;
}

Fault checkUuid(const std::optional<std::optional<std::string>>& uuid, const std::string& place) {
  if (!uuid || !*uuid || uuidFromText(**uuid)) return std::nullopt;
  return fault(place, "expected a UUID such as 5B1C0D7E-2F64-4C0B-9A53-7E1D8C2A4F90");
}

Fault checkNotNegative(const std::optional<std::int64_t>& number, const std::string& place) {
  if (number.value_or(0) >= 0) return std::nullopt;
  return fault(place, "must not be negative");
}

Fault checkReason(const std::string& reason, const std::string& place) {
  if (std::ranges::find(knownReasons, reason) != std::end(knownReasons)) return std::nullopt;
  std::string known;
  for (const auto one : knownReasons) known += (known.empty() ? "" : ", ") + std::string(one);
  return fault(place, "expected one of: " + known);
}

Fault checkModule(const ScenarioModule& module, const std::string& place) {
  if (module.driver.empty()) return fault(below(place, "driver"), "must not be empty");
  for (const auto& reason : module.mounts.texts) {
    if (auto found = checkReason(reason, below(place, "mounts"))) return found;
  }
  if (auto found = checkSeconds(module.refreshSeconds, below(place, "refreshSeconds"))) {
    return found;
  }
  if (auto found = checkSeconds(module.reportDelay, below(place, "reportDelay"))) return found;
  return checkSeconds(module.diesAfter.value_or(0), below(place, "diesAfter"));
}

Fault checkCheck(const ScenarioCheck& check, const std::string& place) {
  const std::pair<std::string_view, double> times[] = {
      {"claimAfter", check.claimAfter},
      {"seconds", check.seconds},
      {"reportDelay", check.reportDelay},
      {"cancelSeconds", check.cancelSeconds},
      {"stallsAfter", check.stallsAfter.value_or(0)},
      {"diesAfter", check.diesAfter.value_or(0)}};
  for (const auto& [key, seconds] : times) {
    if (auto found = checkSeconds(seconds, below(place, key))) return found;
  }
  // Each frame is a file that is written.
  if (!(check.frameSeconds >= 0.01))
    return fault(below(place, "frameSeconds"), "must be at least 0.01");
  return checkSeconds(check.frameSeconds, below(place, "frameSeconds"));
}

/// The key becomes a file name.
Fault checkBitLocker(const ScenarioBitLocker& bitLocker, const std::string& place) {
  if (!bitLocker.guid || base::isPlainFileName(*bitLocker.guid)) return std::nullopt;
  return fault(below(place, "guid"), "cannot be part of a file name");
}

/// More findings than this are no report that anybody could keep.
constexpr std::int64_t mostFindings = 1'000'000;

Fault checkFsck(const ScenarioFsck& fsck, const std::string& place) {
  if (fsck.findings >= 0 && fsck.findings <= mostFindings) return std::nullopt;
  return fault(below(place, "findings"), "expected a number from 0 to 1000000");
}

Fault checkError(const std::optional<std::string>& name, const std::string& place) {
  if (!name || errorNumber(*name)) return std::nullopt;
  std::string known;
  for (const auto& [word, number] : knownErrors)
    known += (known.empty() ? "" : ", ") + std::string(word);
  return fault(place, "expected one of: " + known);
}

Fault checkSteps(const std::vector<ScenarioStorageStep>& steps, const std::string& place) {
  constexpr double most = 1e9;
  for (std::size_t i = 0; i < steps.size(); ++i) {
    for (const auto value : {steps[i].fromGiB, steps[i].us, steps[i].usPerMiB}) {
      if (!(value >= 0 && value <= most)) return fault(below(place, i), "must be from 0 to 1e9");
    }
    // Otherwise time would not pass.
    if (steps[i].us < 1) return fault(below(below(place, i), "us"), "must be at least 1");
  }
  return std::nullopt;
}

Fault checkStorage(const ScenarioStorage& storage, const std::string& place) {
  if (auto found = checkSteps(storage.read, below(place, "read"))) return found;
  if (auto found = checkSteps(storage.write, below(place, "write"))) return found;
  if (storage.channels < 1) return fault(below(place, "channels"), "must be positive");
  if (storage.slowEvery < 0) return fault(below(place, "slowEvery"), "must not be negative");
  if (!(storage.slowUs >= 0)) return fault(below(place, "slowUs"), "must not be negative");
  if (auto found = checkError(storage.openError, below(place, "openError"))) return found;
  if (auto found = checkError(storage.readError, below(place, "readError"))) return found;
  return checkError(storage.writeError, below(place, "writeError"));
}

Fault checkMedia(const ScenarioMedia& media, const std::string& place, TakenNames& taken) {
  if (!taken.disks.insert(media.disk).second) {
    return fault(below(place, "disk"), "'" + media.disk + "' occurs twice");
  }
  if (media.entryID == 0) return fault(below(place, "entryID"), "must not be 0");
  if (media.entryID && !taken.entryIds.insert(*media.entryID).second) {
    return fault(below(place, "entryID"), "occurs twice");
  }
  if (auto found = checkUuid(media.uuid, below(place, "uuid"))) return found;
  if (auto found = checkUuid(media.mediaUUID, below(place, "mediaUUID"))) return found;
  if (auto found = checkNotNegative(media.size, below(place, "size"))) return found;
  if (media.mount) {
    if (auto found = checkMount(*media.mount, below(place, "mount"))) return found;
  }
  if (media.report) {
    if (auto found = checkReport(*media.report, below(place, "report"))) return found;
  }
  if (media.module) {
    if (auto found = checkModule(*media.module, below(place, "module"))) return found;
  }
  if (media.check) {
    if (auto found = checkCheck(*media.check, below(place, "check"))) return found;
  }
  if (media.bitLocker) {
    if (auto found = checkBitLocker(*media.bitLocker, below(place, "bitLocker"))) return found;
  }
  if (media.storage) {
    if (auto found = checkStorage(*media.storage, below(place, "storage"))) return found;
  }
  if (media.fsck) return checkFsck(*media.fsck, below(place, "fsck"));
  return std::nullopt;
}

/// Two volumes cannot be mounted in one place at the start.
Fault checkMountPaths(const std::vector<ScenarioDevice>& devices) {
  std::set<std::string> paths;
  const auto isFree = [&](const ScenarioMedia& media) {
    return !media.mount || !media.mount->path || paths.insert(*media.mount->path).second;
  };
  for (std::size_t i = 0; i < devices.size(); ++i) {
    if (!devices[i].plugged) continue;
    const auto place = below("devices", i);
    if (!isFree(devices[i])) return fault(below(place, "mount.path"), "in use already");
    for (std::size_t j = 0; j < devices[i].volumes.size(); ++j) {
      if (isFree(devices[i].volumes[j])) continue;
      return fault(below(below(place, "volumes"), j) + ".mount.path", "in use already");
    }
  }
  return std::nullopt;
}

}  // namespace

Fault checkMount(const ScenarioMount& mount, const std::string& place) {
  if (mount.path && !mount.path->starts_with('/')) {
    return fault(below(place, "path"), "expected an absolute path");
  }
  if (mount.path && mount.path->size() > 1 && mount.path->ends_with('/')) {
    return fault(below(place, "path"), "must not end with a slash");
  }
  return std::nullopt;
}

Fault checkReport(const ScenarioReport& report, const std::string& place) {
  return checkReason(report.reason, below(place, "reason"));
}

Fault checkDevice(const ScenarioDevice& device, const std::string& place, TakenNames& taken) {
  if (!isWholeDiskName(device.disk)) {
    return fault(below(place, "disk"), "expected a whole disk's BSD name such as disk4");
  }
  if (auto found = checkMedia(device, place, taken)) return found;
  if (device.blockSize.value_or(1) < 1) return fault(below(place, "blockSize"), "must be positive");
  for (std::size_t i = 0; i < device.volumes.size(); ++i) {
    const auto& volume = device.volumes[i];
    const auto at = below(below(place, "volumes"), i);
    if (!isSliceName(volume.disk, device.disk)) {
      return fault(below(at, "disk"),
                   "expected a slice of " + device.disk + " such as " + device.disk + "s1");
    }
    if (auto found = checkMedia(volume, at, taken)) return found;
  }
  return std::nullopt;
}

Fault findScenarioFault(const Scenario& scenario) {
  if (scenario.format != 1) return fault("format", "only format 1 is known");
  if (auto found = checkSystem(scenario.system)) return found;
  TakenNames taken;
  for (std::size_t i = 0; i < scenario.devices.size(); ++i) {
    if (auto found = checkDevice(scenario.devices[i], below("devices", i), taken)) return found;
  }
  if (auto found = checkMountPaths(scenario.devices)) return found;
  std::set<std::int32_t> pids;
  for (std::size_t i = 0; i < scenario.processes.size(); ++i) {
    const auto place = below("processes", i);
    if (auto found = checkProcess(scenario.processes[i], place)) return found;
    if (!pids.insert(scenario.processes[i].pid).second) {
      return fault(below(place, "pid"), "occurs twice");
    }
  }
  if (auto found = checkTools(scenario)) return found;
  return checkTimeline(scenario);
}

}  // namespace halvercine::platform::simulated
