#include "platform/simulated/mountOnRequest.h"

#include <algorithm>
#include <map>

namespace halvercine::platform::simulated {
namespace {

/// The type that statfs gives for a mount of another vendor's driver: real ones are the format and
/// the vendor in one word (ufsd_NTFS, tuxera_ntfs).
std::string foreignType(std::string driver) {
  std::ranges::replace(driver, ' ', '_');
  return driver;
}

bool mountByModule(SimulatedMachine& machine, const MediaView& view, bool readOnlyRequested) {
  ScenarioReport report;
  report.reason = machine.module().nextReason(view.media, view.writable, readOnlyRequested);
  ScenarioMount mount;
  mount.readOnly = report.reason != "readWrite";
  if (!machine.mount(view.media.disk, mount)) return false;
  machine.module().serve(view.media, std::move(report));
  return true;
}

std::string systemPersonality(const std::string& kind) {
  static const std::map<std::string, std::string> names{{"ntfs", "NTFS"},
                                                        {"exfat", "ExFAT"},
                                                        {"msdos", "MS-DOS FAT32"},
                                                        {"apfs", "APFS"},
                                                        {"hfs", "HFS+"}};
  const auto found = names.find(kind);
  return found == names.end() ? kind : found->second;
}

}  // namespace

bool mountOnRequest(SimulatedMachine& machine, const std::string& disk, bool readOnlyRequested) {
  const auto view = machine.look(disk);
  if (!view || !view->media.kind || view->mountPath) return false;
  const auto driver = moduleOf(view->media).driver;
  if (driver == "module") return mountByModule(machine, *view, readOnlyRequested);
  ScenarioMount mount;
  mount.readOnly = readOnlyRequested || !view->writable;
  if (driver == "system") {
    mount.readOnly |= view->media.kind == "ntfs";
  } else {
    mount.type = foreignType(driver);
  }
  return machine.mount(disk, mount);
}

std::string personality(const ScenarioMedia& media) {
  const auto driver = moduleOf(media).driver;
  if (driver == "module") return "Halvercine NTFS";
  return driver == "system" ? systemPersonality(media.kind.value_or("")) : driver;
}

}  // namespace halvercine::platform::simulated
