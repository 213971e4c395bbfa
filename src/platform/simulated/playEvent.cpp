#include "platform/simulated/SimulatedMac.h"

namespace halvercine::platform::simulated {
namespace {

bool playMount(const ScenarioEvent& event, SimulatedMachine& machine) {
  if (!machine.mount(event.disk, event.mount.value_or(ScenarioMount{}))) return false;
  return !event.report || machine.writeReport(event.disk, *event.report);
}

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
