#include "app/TakeoverParts.h"

#include "check/CheckMailbox.h"
#include "mount/reasons/volumeIdentity.h"

namespace halvercine::app {

TakeoverParts::TakeoverParts(const CommandContext& ofCommand, Machine& ofMachine)
    : command(ofCommand),
      machine(ofMachine),
      monitor(ofMachine.actor(), ofCommand.platform, ofCommand.localization),
      utility(*ofCommand.platform.toolRunner, *ofCommand.platform.clock,
              *ofCommand.platform.mediaRegistry),
      registry(*ofCommand.platform.userDefaults, *ofCommand.platform.clock),
      log(*ofCommand.platform.containers, *ofCommand.platform.clock) {}

mount::TakeoverContext TakeoverParts::context() {
  const auto isUnmountedByUser = [this](const disks::Disk& disk, platform::WallTime since) {
    const auto identity = mount::volumeIdentity(disk);
    const auto unmountedAt = identity ? registry.unmountedAt(*identity) : std::nullopt;
    return unmountedAt && *unmountedAt >= platform::secondsSince1970(since);
  };
  const auto isInUse = [this](const std::string& bsdName) {
    return check::isBeingChecked(*command.platform.containers, bsdName);
  };
  const auto addToLog = [this](std::string_view category, std::string_view message) {
    log.add(category, message);
  };
  return {machine.actor(),      command.platform,  monitor, utility,
          command.localization, isUnmountedByUser, isInUse, addToLog};
}

}  // namespace halvercine::app
