#include "app/DiskSelector.h"

#include <array>
#include <filesystem>
#include <functional>
#include <optional>

#include "base/Text.h"

namespace halvercine::app {
namespace {

namespace fs = std::filesystem;

std::string withoutTrailingSlash(std::string_view path) {
  while (path.size() > 1 && path.ends_with('/')) path.remove_suffix(1);
  return std::string(path);
}

std::string resolved(const std::string& path) {
  std::error_code error;
  const auto canonical = fs::canonical(path, error);
  return error ? path : canonical.string();
}

}  // namespace

std::expected<const DiskView*, SelectionError> selectDisk(const std::vector<DiskView>& disks,
                                                          std::string_view argument) {
  const std::string wanted(argument);
  const bool isPath = argument.starts_with('/');
  const auto path = withoutTrailingSlash(argument);
  const auto uuid = base::asciiLowered(argument);
  const auto name = base::composed(argument);
  std::optional<std::string> link;
  using Fits = std::function<bool(const DiskView&)>;
  const std::array<Fits, 6> ways = {
      [&](const DiskView& view) { return view.disk.id == wanted; },
      [&](const DiskView& view) {
        return path == "/dev/" + view.disk.id || path == "/dev/r" + view.disk.id ||
               path == view.deviceNode;
      },
      [&](const DiskView& view) {
        return view.disk.volumeUUID && base::asciiLowered(*view.disk.volumeUUID) == uuid;
      },
      [&](const DiskView& view) { return view.disk.mountPath == path; },
      // A label may hold slashes, and must not pass for a path.
      [&](const DiskView& view) { return !isPath && base::composed(view.disk.name) == name; },
      // Last, since a path on a volume that does not answer cannot be resolved.
      [&](const DiskView& view) {
        if (!isPath) return false;
        if (!link) link = resolved(path);
        return *link == view.deviceNode || view.disk.mountPath == *link;
      },
  };
  for (const auto& fits : ways) {
    SelectionError several;
    const DiskView* found = nullptr;
    for (const auto& view : disks) {
      if (!fits(view)) continue;
      found = &view;
      several.candidates.push_back(view.disk.id);
    }
    if (several.candidates.size() > 1) return std::unexpected(std::move(several));
    if (found) return found;
  }
  return std::unexpected(SelectionError{});
}

}  // namespace halvercine::app
