#include <algorithm>
#include <map>
#include <numeric>

#include "platform/simulated/checkScenario.h"

namespace halvercine::platform::simulated {
namespace {

struct GivenKey {
  std::string_view key;
  bool isGiven;
};

std::vector<std::string_view> keysOf(EventKind kind) {
  switch (kind) {
    case EventKind::plug:
    case EventKind::unplug:
    case EventKind::unmount:
      return {};
    case EventKind::mount:
      return {"mount", "report"};
    case EventKind::protect:
      return {"protected"};
    case EventKind::describe:
      return {"description", "registry"};
    case EventKind::report:
      return {"report", "remove"};
    case EventKind::replace:
      return {"device"};
    case EventKind::startProcess:
      return {"process"};
    case EventKind::endProcess:
      return {"pid"};
    case EventKind::open:
    case EventKind::close:
      return {"pid", "files", "devices"};
  }
  return {};
}

bool isOfProcess(EventKind kind) {
  return kind == EventKind::startProcess || kind == EventKind::endProcess ||
         kind == EventKind::open || kind == EventKind::close;
}

/// The disk or the process that an event is about.
Fault checkSubject(const ScenarioEvent& event, const std::string& place) {
  if (!isOfProcess(event.event)) {
    return event.disk.empty() ? fault(below(place, "disk"), "missing") : std::nullopt;
  }
  if (!event.disk.empty()) return fault(below(place, "disk"), "has no meaning for this event");
  if (event.event == EventKind::startProcess) {
    return event.process ? std::nullopt : fault(below(place, "process"), "missing");
  }
  return event.pid ? std::nullopt : fault(below(place, "pid"), "missing");
}

Fault checkKeys(const ScenarioEvent& event, const std::string& place) {
  const GivenKey given[] = {{"mount", event.mount.has_value()},
                            {"report", event.report.has_value()},
                            {"protected", event.isProtected.has_value()},
                            {"description", event.description.has_value()},
                            {"registry", event.registry.has_value()},
                            {"device", event.device.has_value()},
                            {"remove", event.remove.has_value()},
                            {"process", event.process.has_value()},
                            {"pid", event.pid.has_value()},
                            {"files", event.files.has_value()},
                            {"devices", event.devices.has_value()}};
  const auto known = keysOf(event.event);
  for (const auto& [key, isGiven] : given) {
    if (isGiven && std::ranges::find(known, key) == known.end()) {
      return fault(below(place, key), "has no meaning for this event");
    }
  }
  if (event.event == EventKind::describe && !event.description && !event.registry) {
    return fault(place, "needs a description or a registry");
  }
  if (event.event == EventKind::report &&
      event.report.has_value() == event.remove.value_or(false)) {
    return fault(place, "needs either a report or \"remove\": true");
  }
  if (event.event == EventKind::replace && !event.device) return fault(place, "needs a device");
  return std::nullopt;
}

/// The values inside an event that are checked as they are in a device.
Fault checkValues(const ScenarioEvent& event, const std::string& place) {
  if (auto found = checkSeconds(event.at, below(place, "at"))) return found;
  if (event.mount) {
    if (auto found = checkMount(*event.mount, below(place, "mount"))) return found;
  }
  if (event.report) {
    if (auto found = checkReport(*event.report, below(place, "report"))) return found;
  }
  if (event.process) {
    if (auto found = checkProcess(*event.process, below(place, "process"))) return found;
  }
  using Names = std::vector<std::string>;
  if (auto found =
          checkOpen(event.files.value_or(Names()), event.devices.value_or(Names()), place)) {
    return found;
  }
  if (!event.device) return std::nullopt;
  TakenNames taken;
  if (auto found = checkDevice(*event.device, below(place, "device"), taken)) return found;
  if (!event.device->plugged) return fault(below(place, "device.plugged"), "must be true");
  if (event.device->disk == event.disk) return std::nullopt;
  return fault(below(place, "device.disk"), "must be the disk that is replaced, " + event.disk);
}

/// Which disks are there and mounted while the timeline is played.
class Play {
 public:
  explicit Play(const Scenario& scenario) {
    for (const auto& device : scenario.devices) {
      define(device);
      if (device.plugged) add(device);
    }
    for (const auto& process : scenario.processes) pids_.insert(process.pid);
  }

  Fault step(const ScenarioEvent& event, const std::string& place) {
    const auto disk = below(place, "disk");
    switch (event.event) {
      case EventKind::plug:
        if (auto found = needDevice(event, disk)) return found;
        if (isThere(event.disk)) return fault(disk, event.disk + " is plugged in already");
        add(*devices_.at(event.disk));
        return std::nullopt;
      case EventKind::unplug:
        if (auto found = needDevice(event, disk)) return found;
        if (auto found = needMedia(event, disk)) return found;
        remove(event.disk);
        return std::nullopt;
      case EventKind::replace:
        if (auto found = needDevice(event, disk)) return found;
        if (auto found = needMedia(event, disk)) return found;
        remove(event.disk);
        define(*event.device);
        add(*event.device);
        return std::nullopt;
      case EventKind::mount:
      case EventKind::unmount:
        return stepMount(event, disk);
      case EventKind::protect:
      case EventKind::describe:
        return needMedia(event, disk);
      case EventKind::report:
        return isKnown(event.disk) ? std::nullopt : unknown(event.disk, disk);
      case EventKind::startProcess:
        if (pids_.insert(event.process->pid).second) return std::nullopt;
        return fault(below(place, "process.pid"), "runs already");
      case EventKind::endProcess:
        if (pids_.erase(*event.pid) > 0) return std::nullopt;
        return fault(below(place, "pid"), "no such process runs at that time");
      case EventKind::open:
      case EventKind::close:
        if (pids_.contains(*event.pid)) return std::nullopt;
        return fault(below(place, "pid"), "no such process runs at that time");
    }
    return std::nullopt;
  }

 private:
  static Fault unknown(const std::string& name, const std::string& place) {
    return fault(place, "no disk is called '" + name + "'");
  }

  void define(const ScenarioDevice& device) {
    devices_.insert_or_assign(device.disk, &device);
    known_.insert(device.disk);
    for (const auto& volume : device.volumes) known_.insert(volume.disk);
  }

  void add(const ScenarioDevice& device) {
    mounted_[device.disk] = device.mount.has_value();
    for (const auto& volume : device.volumes) mounted_[volume.disk] = volume.mount.has_value();
  }

  void remove(const std::string& whole) {
    std::erase_if(mounted_, [&](const auto& entry) {
      return entry.first == whole || entry.first.starts_with(whole + "s");
    });
  }

  bool isKnown(const std::string& name) const { return known_.contains(name); }
  bool isThere(const std::string& name) const { return mounted_.contains(name); }

  Fault needDevice(const ScenarioEvent& event, const std::string& place) const {
    if (devices_.contains(event.disk)) return std::nullopt;
    if (!isKnown(event.disk)) return unknown(event.disk, place);
    return fault(place, "expected a whole disk");
  }

  Fault needMedia(const ScenarioEvent& event, const std::string& place) const {
    if (isThere(event.disk)) return std::nullopt;
    if (!isKnown(event.disk)) return unknown(event.disk, place);
    return fault(place, event.disk + " is not plugged in at that time");
  }

  Fault stepMount(const ScenarioEvent& event, const std::string& place) {
    if (auto found = needMedia(event, place)) return found;
    const bool mounts = event.event == EventKind::mount;
    auto& mounted = mounted_.at(event.disk);
    if (mounted == mounts) {
      return fault(place, event.disk + (mounts ? " is mounted already" : " is not mounted"));
    }
    mounted = mounts;
    return std::nullopt;
  }

  std::map<std::string, const ScenarioDevice*> devices_;
  std::set<std::string> known_;
  std::map<std::string, bool> mounted_;
  std::set<std::int32_t> pids_;
};

}  // namespace

Fault checkTimeline(const Scenario& scenario) {
  const auto& timeline = scenario.timeline;
  for (std::size_t i = 0; i < timeline.size(); ++i) {
    const auto place = below("timeline", i);
    if (auto found = checkValues(timeline[i], place)) return found;
    if (auto found = checkSubject(timeline[i], place)) return found;
    if (auto found = checkKeys(timeline[i], place)) return found;
  }
  std::vector<std::size_t> order(timeline.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::ranges::stable_sort(order, {}, [&](std::size_t i) { return timeline[i].at; });
  Play play(scenario);
  for (const auto i : order) {
    if (auto found = play.step(timeline[i], below("timeline", i))) return found;
  }
  return std::nullopt;
}

}  // namespace halvercine::platform::simulated
