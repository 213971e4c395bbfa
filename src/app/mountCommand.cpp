#include <algorithm>
#include <sstream>

#include <boost/json/array.hpp>

#include "app/DiskSelector.h"
#include "app/commands.h"
#include "app/runToAnswer.h"
#include "app/selectionFailure.h"
#include "base/BsdName.h"
#include "base/Json.h"
#include "base/Text.h"
#include "disks/DiskUtility.h"
#include "disks/DiskUtilityText.h"
#include "mount/ThirdPartyDriver.h"
#include "mount/reasons/ManualUnmountRegistry.h"
#include "mount/reasons/volumeIdentity.h"

namespace halvercine::app {
namespace {

using disks::Occupant;

/// What stands in the way, for the two keys that mean that something does.
bool mayBeOccupied(std::string_view key) {
  return key == "disk.err.busy" || key == "disk.err.dissenter";
}

ExitStatus statusOf(std::string_view key) {
  if (mayBeOccupied(key)) return ExitStatus::busy;
  if (key == "disk.err.perm") return ExitStatus::notPermitted;
  if (key == "disk.err.notfound") return ExitStatus::noSuchDisk;
  return ExitStatus::failed;
}

/// What has files open on the volume; of one that is not mounted, what holds its device. (While it
/// is mounted, that is whoever serves the file system.)
base::Task<std::vector<Occupant>> findHolders(const disks::DiskUtility& utility, disks::Disk disk) {
  if (disk.mountPath) {
    std::vector<std::string> paths;
    paths.push_back(*disk.mountPath);
    co_return co_await utility.volumeOccupants(std::move(paths));
  }
  auto holders = co_await utility.deviceHolders(disk.id);
  for (auto& holder : holders) {
    if (holder.path.empty()) holder.path = base::devicePath(disk.id);
  }
  co_return holders;
}

std::string holderLine(const CommandContext& context, const Occupant& holder) {
  const auto path = base::displayText(holder.path);
  const auto pid = std::to_string(holder.pid);
  if (holder.command.empty()) return context.text("ui.holder.unnamed", {pid, path});
  return context.text("ui.holder", {pid, base::displayText(holder.command), path});
}

boost::json::array toJsonList(const std::vector<Occupant>& holders) {
  boost::json::array list;
  for (const auto& holder : holders) {
    list.push_back({{"pid", holder.pid}, {"command", holder.command}, {"path", holder.path}});
  }
  return list;
}

/// Other vendors' drivers, which can be why a volume does not mount.
std::vector<std::string> competingDrivers(const CommandContext& context, std::string_view key) {
  std::vector<std::string> names;
  if (key != "disk.err.mount" && key != "disk.err.unknown") return names;
  for (const auto& driver : mount::detectThirdPartyDrivers(*context.platform.containers)) {
    if (std::find(names.begin(), names.end(), driver.name) == names.end()) {
      names.push_back(driver.name);
    }
  }
  return names;
}

/// The localized text, under it the tool's own words and then what is in the way.
Answer toolFailure(const CommandContext& context, const std::string& toolText,
                   const std::vector<Occupant>& holders) {
  const auto key = disks::errorKey(toolText);
  const auto drivers = competingDrivers(context, key);
  auto answer = failure(context.options, statusOf(key), key, context.text(key),
                        {{"toolText", toolText},
                         {"holders", toJsonList(holders)},
                         {"drivers", base::toJson(drivers)}});
  if (context.options.json) return answer;
  std::istringstream words(toolText);
  for (std::string line; std::getline(words, line);) {
    answer.diagnostic += "\n  " + base::displayText(line);
  }
  for (const auto& holder : holders) answer.diagnostic += "\n  " + holderLine(context, holder);
  for (const auto& driver : drivers) {
    answer.diagnostic += "\n  " + context.text("ui.driver.competing", {base::displayText(driver)});
  }
  return answer;
}

base::Task<Answer> explainFailure(const CommandContext& context, const disks::DiskUtility& utility,
                                  disks::Disk disk, std::string toolText) {
  std::vector<Occupant> holders;
  if (mayBeOccupied(disks::errorKey(toolText))) {
    holders = co_await findHolders(utility, std::move(disk));
  }
  co_return toolFailure(context, toolText, holders);
}

/// The volume as it is after the command.
Answer success(const CommandContext& context, const std::string& bsdName, bool wasSoBefore) {
  const auto views = viewDisks(context);
  if (!views) return views.error();
  const auto found = selectDisk(*views, bsdName);
  if (!found) return selectionFailure(context, found.error());
  const auto& disk = (*found)->disk;
  if (context.options.json) {
    return jsonAnswer(context.options, {{"disk", (*found)->toJson(context.localization)},
                                        {"nothingToDo", wasSoBefore}});
  }
  const auto name = base::displayText(disk.name);
  if (!disk.isMounted) {
    return {ExitStatus::done,
            context.text(wasSoBefore ? "ui.unmount.already" : "ui.unmount.done", {name}) + '\n',
            ""};
  }
  const auto access = context.text(disk.isWritable ? "ui.access.readwrite" : "ui.access.readonly");
  return {ExitStatus::done,
          context.text(wasSoBefore ? "ui.mount.already" : "ui.mount.done",
                       {name, base::displayText(*disk.mountPath), access}) +
              '\n',
          ""};
}

enum class Wish { mounted, unmounted };

/// The answer of a command that did what the user wants, which is kept in mind: nothing mounts what
/// the user unmounted.
Answer successfully(const CommandContext& context, const disks::Disk& disk, Wish wish,
                    bool wasSoBefore) {
  auto answer = success(context, disk.id, wasSoBefore);
  const auto identity = mount::volumeIdentity(disk);
  if (!identity) return answer;
  mount::ManualUnmountRegistry registry(*context.platform.userDefaults, *context.platform.clock);
  const bool isKept =
      wish == Wish::unmounted ? registry.record(*identity) : registry.forget(*identity);
  if (!isKept && answer.diagnostic.empty()) {
    answer.diagnostic = "halvercine: " + context.text("ui.unmount.notrecorded");
  }
  return answer;
}

base::Task<Answer> mountVolume(const CommandContext& context, const disks::DiskUtility& utility,
                               disks::Disk disk) {
  if (disk.isMounted) co_return successfully(context, disk, Wish::mounted, true);
  const auto access =
      context.options.readOnly ? disks::MountAccess::readOnly : disks::MountAccess::readWrite;
  const auto outcome = co_await utility.mount(disk.id, access);
  if (const auto* failed = std::get_if<disks::MountFailure>(&outcome)) {
    co_return co_await explainFailure(context, utility, disk, failed->text);
  }
  if (const auto* driver = std::get_if<disks::ThirdPartyDriver>(&outcome)) {
    co_return failure(context.options, ExitStatus::failed, "third-party-driver",
                      context.text("disk.unmounted.reason.thirdparty", {driver->name}));
  }
  if (std::holds_alternative<disks::UnsafeVolume>(outcome)) {
    co_return failure(context.options, ExitStatus::failed, "unsafe-volume",
                      context.text("disk.unmounted.reason.needscheck"));
  }
  co_return successfully(context, disk, Wish::mounted, false);
}

base::Task<Answer> unmountVolume(const CommandContext& context, const disks::DiskUtility& utility,
                                 disks::Disk disk) {
  if (!disk.isMounted) co_return successfully(context, disk, Wish::unmounted, true);
  auto operation = context.options.force ? utility.forceUnmount(disk.id) : utility.unmount(disk.id);
  const auto result = co_await std::move(operation);
  if (result.status == 0) co_return successfully(context, disk, Wish::unmounted, false);
  co_return co_await explainFailure(context, utility, disk, result.text);
}

using Operation = base::Task<Answer> (*)(const CommandContext&, const disks::DiskUtility&,
                                         disks::Disk);

Answer runOn(const CommandContext& context, Machine& machine, Operation operation) {
  const auto views = viewDisks(context);
  if (!views) return views.error();
  const auto selected = selectDisk(*views, context.options.disk);
  if (!selected) return selectionFailure(context, selected.error());
  const disks::DiskUtility utility(*context.platform.toolRunner, *context.platform.clock,
                                   *context.platform.mediaRegistry);
  return runToAnswer(context, machine, Interruption::waits,
                     operation(context, utility, (*selected)->disk));
}

}  // namespace

Answer mountCommand(const CommandContext& context, Machine& machine) {
  return runOn(context, machine, mountVolume);
}

Answer unmountCommand(const CommandContext& context, Machine& machine) {
  return runOn(context, machine, unmountVolume);
}

}  // namespace halvercine::app
