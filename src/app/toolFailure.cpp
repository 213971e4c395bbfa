#include "app/toolFailure.h"

#include <algorithm>
#include <sstream>

#include <boost/json/array.hpp>

#include "base/BsdName.h"
#include "base/Json.h"
#include "base/Text.h"
#include "disks/DiskUtilityText.h"
#include "mount/ThirdPartyDriver.h"

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
Answer describeFailure(const CommandContext& context, const std::string& toolText,
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

}  // namespace

base::Task<Answer> toolFailure(const CommandContext& context, const disks::DiskUtility& utility,
                               disks::Disk disk, std::string toolText) {
  std::vector<Occupant> holders;
  if (mayBeOccupied(disks::errorKey(toolText))) {
    holders = co_await findHolders(utility, std::move(disk));
  }
  co_return describeFailure(context, toolText, holders);
}

}  // namespace halvercine::app
