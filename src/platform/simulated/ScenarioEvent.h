// What happens in the course of a scenario.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <boost/describe.hpp>

#include "platform/simulated/PropertyOverrides.h"
#include "platform/simulated/ScenarioDevice.h"
#include "platform/simulated/ScenarioProcess.h"

namespace halvercine::platform::simulated {

BOOST_DEFINE_ENUM_CLASS(EventKind, plug, unplug, mount, unmount, protect, describe, report, replace,
                        startProcess, endProcess, open, close)

struct ScenarioEvent {
  static constexpr std::string_view requiredKeys[] = {"at", "event"};

  double at = 0;  ///< seconds after the start
  EventKind event = EventKind::plug;
  std::string disk;     ///< empty for what happens to a process
  bool silent = false;  ///< the service's callbacks for it are lost
  std::optional<ScenarioMount> mount;
  std::optional<ScenarioReport> report;
  std::optional<bool> isProtected;
  std::optional<PropertyOverrides> description;
  std::optional<PropertyOverrides> registry;
  std::optional<ScenarioDevice> device;
  std::optional<bool> remove;
  std::optional<ScenarioProcess> process;
  std::optional<std::int32_t> pid;
  std::optional<std::vector<std::string>> files;
  std::optional<std::vector<std::string>> devices;
};
BOOST_DESCRIBE_STRUCT(ScenarioEvent, (),
                      (at, event, disk, silent, mount, report, isProtected, description, registry,
                       device, remove, process, pid, files, devices))

}  // namespace halvercine::platform::simulated
