#include "app/SpeedTestTarget.h"

#include <cctype>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "app/DiskSelector.h"
#include "app/selectionFailure.h"
#include "base/Text.h"

namespace halvercine::app {
namespace {

namespace fs = std::filesystem;

/// The folder, on this machine or on the simulated one, else why there is none.
std::expected<std::string, std::errc> folderAt(const CommandContext& context,
                                               const std::string& argument) {
  if (context.options.scenario) {
    const bool isOnVolume =
        argument.starts_with('/') && context.platform.fileSystems->statistics(argument);
    if (!isOnVolume) return std::unexpected(std::errc::no_such_file_or_directory);
    return argument;
  }
  std::error_code error;
  const auto folder = fs::canonical(argument, error);
  if (!error && fs::is_directory(folder, error)) return folder.string();
  const auto reason = error.default_error_condition();
  if (error && reason.category() == std::generic_category()) {
    return std::unexpected(static_cast<std::errc>(reason.value()));
  }
  return std::unexpected(std::errc::not_a_directory);
}

/// A name without a path can only have been meant for a disk.
bool isPath(const std::string& argument) {
  return argument.empty() || argument.find('/') != std::string::npos;
}

std::string_view reasonKey(std::errc error) {
  if (error == std::errc::no_such_file_or_directory) return "ui.speedtest.target.missing";
  if (error == std::errc::not_a_directory) return "ui.speedtest.target.file";
  if (error == std::errc::permission_denied) return "ui.speedtest.target.permission";
  return "ui.speedtest.target.other";
}

Answer noTarget(const CommandContext& context, std::errc error) {
  return failure(
      context.options,
      error == std::errc::permission_denied ? ExitStatus::notPermitted : ExitStatus::noSuchDisk,
      "disk-not-found", context.text(reasonKey(error), {base::displayText(context.options.disk)}));
}

/// Whether what a file system is mounted from names this device: "/dev/disk4s1", or what drivers
/// that are no part of the kernel write, such as "ntfs://disk4s1/DATA".
bool namesDevice(std::string_view mountedFrom, std::string_view bsdName) {
  const auto isPartOfName = [&](std::size_t index) {
    return index < mountedFrom.size() &&
           std::isalnum(static_cast<unsigned char>(mountedFrom[index]));
  };
  for (auto at = mountedFrom.find(bsdName); at != std::string_view::npos;
       at = mountedFrom.find(bsdName, at + 1)) {
    if (!isPartOfName(at - 1) && !isPartOfName(at + bsdName.size())) return true;
  }
  return false;
}

std::optional<DiskView> viewOf(const std::vector<DiskView>& views, const std::string& mountedFrom) {
  for (const auto& view : views) {
    if (namesDevice(mountedFrom, view.disk.id)) return view;
  }
  return std::nullopt;
}

Answer notMounted(const CommandContext& context, const disks::Disk& disk, std::string_view key) {
  return failure(context.options, ExitStatus::failed, "not-mounted",
                 context.text(key, {base::displayText(disk.name), disk.id}));
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
      return std::unexpected(notMounted(context, disk, "ui.takeover.notmounted"));
    }
    target.folder = *disk.mountPath;
    target.view = **selected;
  } else {
    auto folder = folderAt(context, argument);
    if (!folder) {
      const bool isAboutPath =
          isPath(argument) || folder.error() != std::errc::no_such_file_or_directory;
      return std::unexpected(isAboutPath ? noTarget(context, folder.error())
                                         : selectionFailure(context, selected.error()));
    }
    target.folder = std::move(*folder);
  }
  if (const auto statistics = context.platform.fileSystems->statistics(target.folder)) {
    target.fileSystem = statistics->typeName;
    target.mountedFrom = statistics->mountedFrom;
    if (!target.view) target.view = viewOf(*views, statistics->mountedFrom);
    // Another file system over the mount point would be measured in its place.
    if (selected && !namesDevice(statistics->mountedFrom, target.view->disk.id)) {
      return std::unexpected(notMounted(context, target.view->disk, "ui.speedtest.target.covered"));
    }
  }
  return target;
}

}  // namespace halvercine::app
