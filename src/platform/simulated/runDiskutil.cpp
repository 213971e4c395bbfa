#include "platform/simulated/runDiskutil.h"

#include <optional>

#include "platform/simulated/mountOnRequest.h"

namespace halvercine::platform::simulated {
namespace {

constexpr std::string_view devicePrefix = "/dev/";

ToolAnswer failure(std::string text) { return {1, "", std::move(text) + '\n'}; }

/// "DATA on", or "on" for a volume without a name.
std::string named(const MediaView& view) {
  const auto name = view.media.name.value_or("");
  return name.empty() ? "on" : name + " on";
}

ToolAnswer mountFailure(const MediaView& view) {
  std::string text = "Volume on " + view.media.disk +
                     " failed to mount\n"
                     "Perhaps the operation is not supported (kDAReturnUnsupported)\n";
  if (!view.device->volumes.empty() && view.media.disk == view.device->disk) {
    text += "If it has a partitioning scheme, use \"diskutil mountDisk\"\n";
  }
  return failure(text +
                 "If you think the volume is supported but damaged, try the \"readOnly\" option");
}

ToolAnswer mountVolume(SimulatedMachine& machine, const MediaView& view, const std::string& given,
                       bool readOnly) {
  const auto& disk = view.media.disk;
  if (view.mountPath) return failure("Volume " + named(view) + " " + disk + " already mounted");
  // A device that somebody works on (a check, say) is waited for in vain.
  if (machine.processes().firstOnDevice(disk)) {
    return failure("Volume on " + disk + " timed out waiting to mount");
  }
  if (!mountOnRequest(machine, disk, readOnly)) return mountFailure(view);
  return {0, "Volume " + named(view) + " " + given + " mounted\n", ""};
}

ToolAnswer unmountVolume(SimulatedMachine& machine, const MediaView& view, bool force) {
  const auto& disk = view.media.disk;
  if (!view.mountPath) return {0, disk + " was already unmounted\n", ""};
  const auto* holder = force ? nullptr : machine.processes().firstBelow(*view.mountPath);
  if (holder) {
    return failure("Volume " + named(view) + " " + disk + " failed to unmount: dissented by PID " +
                   std::to_string(holder->pid) + " (" + holder->command +
                   ")\nDissenter parent PPID 1 (/sbin/launchd)");
  }
  machine.unmount(disk);
  return {0, "Volume " + named(view) + " " + disk + " unmounted\n", ""};
}

std::string_view withoutPrefix(std::string_view given) {
  if (given.starts_with(devicePrefix)) given.remove_prefix(devicePrefix.size());
  return given;
}

}  // namespace

ToolAnswer runDiskutil(SimulatedMachine& machine, const std::vector<std::string>& arguments) {
  const std::string verb = arguments.empty() ? "" : arguments.front();
  const bool known = verb == "info" || verb == "mount" || verb == "unmount" || verb == "umount";
  if (!known) {
    return failure("diskutil: did not recognize verb \"" + verb +
                   "\"; type \"diskutil\" for a list");
  }
  const bool hasOption = arguments.size() == 3 &&
                         arguments[1] == (verb == "mount" ? "readOnly" : "force") && verb != "info";
  if (arguments.size() != (hasOption ? 3u : 2u)) return failure("Usage:  diskutil " + verb);
  const auto& given = arguments.back();
  const auto view = machine.look(std::string(withoutPrefix(given)));
  if (verb == "info") {
    if (!view) return failure("Could not find disk: " + given);
    return {0, diskutilInfo(machine, *view), ""};
  }
  if (!view) return failure("Unable to find disk for " + given);
  return verb == "mount" ? mountVolume(machine, *view, given, hasOption)
                         : unmountVolume(machine, *view, hasOption);
}

}  // namespace halvercine::platform::simulated
