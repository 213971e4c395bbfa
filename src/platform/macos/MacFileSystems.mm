#include "platform/macos/MacFileSystems.h"

#include <string>
#include <vector>

#import <Foundation/Foundation.h>

#include "platform/macos/systemText.h"

namespace halvercine::platform::macos {
namespace {

std::optional<struct statfs> statfsOf(const std::string& path) {
  struct statfs status {};
  if (::statfs(path.c_str(), &status) != 0) return std::nullopt;
  return status;
}

/// The mount at exactly this path, by what the kernel knows without asking the file system.
std::optional<struct statfs> mountAt(const std::string& path) {
  constexpr int room = 16;  // for mounts that come between the two calls
  const int count = ::getfsstat(nullptr, 0, MNT_NOWAIT);
  if (count < 0) return std::nullopt;
  std::vector<struct statfs> mounts(static_cast<std::size_t>(count + room));
  const int found = ::getfsstat(
      mounts.data(), static_cast<int>(mounts.size() * sizeof(struct statfs)), MNT_NOWAIT);
  mounts.resize(static_cast<std::size_t>(found < 0 ? 0 : found));
  for (const auto& mount : mounts) {
    if (path == mount.f_mntonname) return mount;
  }
  return std::nullopt;
}

/// Names the mount at a path. A disk that takes another one's name and place is told by its size.
std::string keyOf(const std::string& path) {
  const auto mount = mountAt(path);
  if (!mount) return path;
  const auto [first, second] = mount->f_fsid.val;
  return std::to_string(first) + ' ' + std::to_string(second) + ' ' +
         std::to_string(mount->f_blocks) + ' ' + path;
}

template <class Value>
Value* resourceValue(NSURL* url, NSURLResourceKey key) {
  id value = nil;
  if (![url getResourceValue:&value forKey:key error:nil]) return nil;
  return [value isKindOfClass:[Value class]] ? value : nil;
}

NSURL* urlOf(const std::string& path) {
  return [NSURL fileURLWithFileSystemRepresentation:path.c_str() isDirectory:YES relativeToURL:nil];
}

std::optional<std::int64_t> integerValue(const std::string& path, NSURLResourceKey key) {
  @autoreleasepool {
    NSNumber* const number = resourceValue<NSNumber>(urlOf(path), key);
    if (number == nil) return std::nullopt;
    return number.longLongValue;
  }
}

std::optional<std::int64_t> importantUsageCapacityOf(const std::string& path) {
  return integerValue(path, NSURLVolumeAvailableCapacityForImportantUsageKey);
}

std::optional<std::int64_t> capacityOf(const std::string& path) {
  return integerValue(path, NSURLVolumeAvailableCapacityKey);
}

std::optional<std::string> nameOf(const std::string& path) {
  @autoreleasepool {
    NSString* const name = resourceValue<NSString>(urlOf(path), NSURLVolumeNameKey);
    return utf8Text((__bridge CFStringRef)name);
  }
}

}  // namespace

std::optional<FileSystemStatistics> MacFileSystems::statistics(const std::string& path) {
  const auto answer = statistics_(keyOf(path), [path] { return statfsOf(path); });
  auto status = answer ? *answer : mountAt(path);
  if (!status) return std::nullopt;
  // What the kernel last heard of the sizes may be long ago.
  if (!answer) {
    status->f_bsize = 0;
    status->f_blocks = status->f_bavail = 0;
  }
  FileSystemStatistics statistics;
  statistics.mountedFrom = status->f_mntfromname;
  statistics.typeName = status->f_fstypename;
  statistics.readOnly = (status->f_flags & MNT_RDONLY) != 0;
  statistics.blockSize = status->f_bsize;
  statistics.blocks = status->f_blocks;
  statistics.availableBlocks = status->f_bavail;
  return statistics;
}

VolumeResourceValues MacFileSystems::resourceValues(const std::string& path) {
  const auto key = keyOf(path);
  const auto importantUsage =
      importantUsageCapacity_(key, [path] { return importantUsageCapacityOf(path); });
  const auto capacity = capacity_(key, [path] { return capacityOf(path); });
  const auto name = name_(key, [path] { return nameOf(path); });
  return {importantUsage.value_or(std::nullopt), capacity.value_or(std::nullopt),
          name.value_or(std::nullopt)};
}

}  // namespace halvercine::platform::macos
