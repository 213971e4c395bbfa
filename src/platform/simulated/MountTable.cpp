#include "platform/simulated/MountTable.h"

#include <utility>

#include "platform/simulated/completeDevice.h"

namespace halvercine::platform::simulated {

bool MountTable::mount(const ScenarioMedia& media, ScenarioMount mount) {
  if (paths_.contains(media.disk)) return false;
  if (!mount.path) mount.path = freePath(media);
  const auto path = *mount.path;
  if (!mounts_.emplace(path, completeMount(std::move(mount), media)).second) return false;
  paths_.emplace(media.disk, path);
  return true;
}

bool MountTable::unmount(const std::string& disk) {
  const auto found = paths_.find(disk);
  if (found == paths_.end()) return false;
  mounts_.erase(found->second);
  paths_.erase(found);
  return true;
}

std::optional<std::string> MountTable::pathOf(const std::string& disk) const {
  const auto found = paths_.find(disk);
  if (found == paths_.end()) return std::nullopt;
  return found->second;
}

std::optional<std::string> MountTable::diskAt(const std::string& path) const {
  const auto* mount = holderOf(path);
  for (const auto& [disk, mountPath] : paths_) {
    if (mount && mountPath == mount->path) return disk;
  }
  return std::nullopt;
}

std::optional<FileSystemStatistics> MountTable::statistics(const std::string& path) const {
  const auto* mount = holderOf(path);
  if (!mount || mount->statfsFails) return std::nullopt;
  return FileSystemStatistics{*mount->from,     *mount->type,   mount->readOnly,
                              mount->blockSize, *mount->blocks, *mount->availableBlocks};
}

VolumeResourceValues MountTable::resourceValues(const std::string& path) const {
  const auto* mount = holderOf(path);
  if (!mount) return {};
  return {*mount->importantUsage, *mount->available, *mount->volumeName};
}

std::string MountTable::freePath(const ScenarioMedia& media) const {
  const auto standard = standardMountPath(media);
  auto path = standard;
  for (int number = 1; mounts_.contains(path); ++number) {
    path = standard + " " + std::to_string(number);
  }
  return path;
}

const ScenarioMount* MountTable::holderOf(std::string path) const {
  while (path.starts_with('/')) {
    const auto found = mounts_.find(path);
    if (found != mounts_.end()) return &found->second;
    if (path == "/") return nullptr;
    const auto slash = path.rfind('/');
    path.resize(slash == 0 ? 1 : slash);
  }
  return nullptr;
}

}  // namespace halvercine::platform::simulated
