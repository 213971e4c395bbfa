#include "app/SpeedTestTarget.h"

#include <filesystem>
#include <utility>
#include <vector>

#include "app/DiskSelector.h"
#include "app/selectionFailure.h"
#include "base/Text.h"

namespace halvercine::app {
namespace {

namespace fs = std::filesystem;

/// Nothing when there is no such folder, on this machine or on the simulated one.
std::optional<std::string> folderAt(const CommandContext& context, const std::string& argument) {
  if (context.options.scenario) {
    const bool isOnVolume =
        argument.starts_with('/') && context.platform.fileSystems->statistics(argument);
    return isOnVolume ? std::optional(argument) : std::nullopt;
  }
  std::error_code error;
  const auto folder = fs::canonical(argument, error);
  if (error || !fs::is_directory(folder, error)) return std::nullopt;
  return folder.string();
}

std::optional<DiskView> viewOf(const std::vector<DiskView>& views, const std::string& mountedFrom) {
  for (const auto& view : views) {
    if (mountedFrom == "/dev/" + view.disk.id) return view;
  }
  return std::nullopt;
}

}  // namespace

std::expected<SpeedTestTarget, Answer> findSpeedTestTarget(const CommandContext& context) {
  const auto views = viewDisks(context);
  if (!views) return std::unexpected(views.error());
  const auto& argument = context.options.disk;
  const auto selected = selectDisk(*views, argument);
  if (!selected && selected.error().isAmbiguous()) {
    return std::unexpected(selectionFailure(context, selected.error()));
  }
  SpeedTestTarget target;
  if (selected) {
    const auto& disk = (*selected)->disk;
    if (!disk.mountPath) {
      return std::unexpected(
          failure(context.options, ExitStatus::failed, "not-mounted",
                  context.text("ui.takeover.notmounted", {base::displayText(disk.name), disk.id})));
    }
    target.folder = *disk.mountPath;
    target.view = **selected;
  } else if (auto folder = folderAt(context, argument)) {
    target.folder = std::move(*folder);
  } else {
    return std::unexpected(selectionFailure(context, selected.error()));
  }
  if (const auto statistics = context.platform.fileSystems->statistics(target.folder)) {
    target.fileSystem = statistics->typeName;
    if (!target.view) target.view = viewOf(*views, statistics->mountedFrom);
  }
  return target;
}

}  // namespace halvercine::app
