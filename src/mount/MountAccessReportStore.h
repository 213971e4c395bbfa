// Mount access reports: where they are, which of them count, and when they go.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/SharedGroup.h"
#include "mount/MountAccessReport.h"
#include "platform/Clock.h"
#include "platform/Containers.h"
#include "platform/MediaRegistry.h"
#include "platform/Platform.h"
#include "platform/SystemInfo.h"

namespace halvercine::mount {

using base::sharedGroup;

/// How long a report counts as fresh, in seconds; the bound itself does. The module refreshes the
/// reports of its live mounts well within it.
inline constexpr double freshnessWindow = 300.0;

/// The report file of one partition. Reading takes no lock: writers replace the file in one step.
/// Every failure is silent. Main actor, or any thread for one file at a time.
class MountAccessReportStore {
 public:
  explicit MountAccessReportStore(std::filesystem::path url) : url_(std::move(url)) {}

  /// The store of a partition, or nothing: the name is no partition's ("disk4"), or there is no
  /// container.
  static std::optional<MountAccessReportStore> locate(platform::Containers& containers,
                                                      const std::string& bsdName);

  const std::filesystem::path& url() const { return url_; }

  /// The report as it stands in the file, or nothing when it cannot be read or decoded.
  std::optional<MountAccessReport> read() const;

  /// Deletes a report that is not about this device in this boot session or not fresh at `now`
  /// (seconds since 1970). A file that cannot be decoded is left alone: it may be somebody's next
  /// version.
  ///
  /// Without a device (there is no disk of that name) any device will do. What is to go is looked
  /// at again under the writer's lock, and stays when the lock is held.
  void sweepStale(std::optional<std::uint64_t> deviceId, std::string_view bootSession,
                  double now) const;

  /// Deletes the report if it carries this owner, under the writer's lock. Does nothing when the
  /// lock is held: the writer is at work, and the report is its business.
  void removeOwned(std::string_view ownerId) const;

  /// Sets the report's time stamp to `now` if it carries this owner, under the writer's lock.
  /// Whatever else the file says stays, keys of a later version and permissions included.
  void refreshOwned(std::string_view ownerId, double now) const;

 private:
  std::filesystem::path lockPath() const;

  std::filesystem::path url_;
};

/// The partitions that have a report file, in no particular order.
std::vector<std::string> reportedPartitions(platform::Containers& containers);

/// A number that changes when a report is written, refreshed or deleted.
std::size_t reportsDigest(platform::Containers& containers);

/// Whether `timestamp` lies within the freshness window that ends at `now`; the future does not.
bool isFresh(double timestamp, double now);

/// The identifier of this boot session, or nothing.
std::optional<std::string> bootSession(platform::SystemInfo& system);

/// The registry entry ID of a BSD name's media object, or nothing.
std::optional<std::uint64_t> deviceId(platform::MediaRegistry& registry,
                                      const std::string& bsdName);

/// What loading a report needs of the machine.
struct ReportSources {
  platform::Containers& containers;
  platform::MediaRegistry& registry;
  platform::SystemInfo& system;
  platform::Clock& clock;

  static ReportSources of(const platform::Platform& platform) {
    return {*platform.containers, *platform.mediaRegistry, *platform.systemInfo, *platform.clock};
  }
};

enum class Freshness { any, freshOnly };

/// The report of the device that has this BSD name now, in this boot session; with `freshOnly` it
/// must be fresh too. Reports of another device, of another boot or out of the future never count.
std::optional<MountAccessReport> loadMountAccessReport(const ReportSources& sources,
                                                       const std::string& bsdName,
                                                       Freshness freshness);

/// The "Writable" flag of the media object, while the name still belongs to this device; nothing
/// when that is not known, nor when the caller knows that the disk is gone.
std::optional<bool> mediaWritable(platform::MediaRegistry& registry, const std::string& bsdName,
                                  std::uint64_t expectedDeviceId, bool isKnownAbsent = false);

}  // namespace halvercine::mount
