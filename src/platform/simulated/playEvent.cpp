#include "platform/simulated/SimulatedMac.h"

namespace halvercine::platform::simulated {
namespace {

bool playMount(const ScenarioEvent& event, SimulatedMachine& machine) {
  if (!machine.mount(event.disk, event.mount.value_or(ScenarioMount{}))) return false;
  return !event.report || machine.writeReport(event.disk, *event.report);
}

using Names = std::vector<std::string>;

bool play(const ScenarioEvent& event, SimulatedMachine& machine) {
  switch (event.event) {
    case EventKind::plug:
      return machine.plug(event.disk);
    case EventKind::unplug:
      return machine.unplug(event.disk);
    case EventKind::mount:
      return playMount(event, machine);
    case EventKind::unmount:
      return machine.unmount(event.disk);
    case EventKind::protect:
      return machine.setProtected(event.disk, event.isProtected.value_or(true));
    case EventKind::describe:
      return machine.change(event.disk, event.description.value_or(PropertyOverrides{}),
                            event.registry.value_or(PropertyOverrides{}));
    case EventKind::report:
      return event.report ? machine.writeReport(event.disk, *event.report)
                          : machine.removeReport(event.disk);
    case EventKind::replace:
      return event.device && machine.replace(*event.device);
    case EventKind::startProcess:
      return event.process && machine.processes().start(*event.process);
    case EventKind::endProcess:
      return machine.processes().end(event.pid.value_or(0));
    case EventKind::open:
      return machine.processes().open(event.pid.value_or(0), event.files.value_or(Names()),
                                      event.devices.value_or(Names()));
    case EventKind::close:
      return machine.processes().close(event.pid.value_or(0), event.files.value_or(Names()),
                                       event.devices.value_or(Names()));
  }
  return false;
}

}  // namespace

bool playEvent(const ScenarioEvent& event, SimulatedMachine& machine) {
  if (event.silent) machine.loseCallbacks(true);
  const bool played = play(event, machine);
  if (event.silent) machine.loseCallbacks(false);
  return played;
}

}  // namespace halvercine::platform::simulated
