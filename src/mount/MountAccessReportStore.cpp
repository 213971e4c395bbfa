#include "mount/MountAccessReportStore.h"

#include <functional>
#include <system_error>

#include "base/BsdName.h"
#include "base/Directory.h"
#include "base/FileLock.h"
#include "base/Json.h"
#include "base/PrivateFiles.h"
#include "base/Properties.h"
#include "base/Text.h"

namespace halvercine::mount {
namespace {

// A report is some two hundred bytes; whatever is larger is none.
constexpr std::size_t reportLimit = 64 * 1024;

constexpr std::string_view namePrefix = "mount-access-";
constexpr std::string_view nameSuffix = ".json";

void removeQuietly(const std::filesystem::path& path) {
  std::error_code ignored;
  std::filesystem::remove(path, ignored);
}

}  // namespace

std::optional<MountAccessReportStore> MountAccessReportStore::locate(
    platform::Containers& containers, const std::string& bsdName) {
  if (!base::isPartitionName(bsdName)) return std::nullopt;
  const auto container = containers.groupContainer(std::string(sharedGroup));
  if (!container) return std::nullopt;
  return MountAccessReportStore(*container /
                                (std::string(namePrefix) + bsdName + std::string(nameSuffix)));
}

std::optional<MountAccessReport> MountAccessReportStore::read() const {
  const auto text = base::readRegularFile(url_, reportLimit);
  if (!text) return std::nullopt;
  auto report = base::decodeJson<MountAccessReport>(*text);
  if (!report) return std::nullopt;
  return std::move(*report);
}

void MountAccessReportStore::sweepStale(std::optional<std::uint64_t> deviceId,
                                        std::string_view bootSession, double now) const {
  const auto isStale = [&] {
    const auto report = read();
    return report && !((!deviceId || report->deviceID == *deviceId) &&
                       report->bootSession == bootSession && isFresh(report->timestamp, now));
  };
  if (!isStale()) return;
  const auto lock = base::FileLock::tryTake(lockPath());
  if (lock && isStale()) removeQuietly(url_);
}

void MountAccessReportStore::removeOwned(std::string_view ownerId) const {
  const auto lock = base::FileLock::tryTake(lockPath());
  if (!lock) return;
  const auto report = read();
  if (report && report->ownerID == ownerId) removeQuietly(url_);
}

void MountAccessReportStore::refreshOwned(std::string_view ownerId, double now) const {
  const auto lock = base::FileLock::tryTake(lockPath());
  if (!lock) return;
  const auto text = base::readRegularFile(url_, reportLimit);
  auto value = text ? base::parseJson(*text) : std::unexpected(base::JsonError{});
  const auto report =
      value ? base::fromJson<MountAccessReport>(*value) : std::unexpected(base::JsonError{});
  if (!report || report->ownerID != ownerId) return;
  value->as_object()["timestamp"] = now;
  base::replaceFileKeepingMode(url_, base::serializeJson(*value));
}

std::filesystem::path MountAccessReportStore::lockPath() const { return url_.string() + ".lock"; }

std::vector<std::string> reportedPartitions(platform::Containers& containers) {
  std::vector<std::string> partitions;
  const auto container = containers.groupContainer(std::string(sharedGroup));
  const auto folder = container ? base::Directory::open(*container) : std::nullopt;
  if (!folder) return partitions;
  for (const auto& name : folder->names()) {
    if (!name.starts_with(namePrefix) || !name.ends_with(nameSuffix)) continue;
    auto partition =
        name.substr(namePrefix.size(), name.size() - namePrefix.size() - nameSuffix.size());
    if (base::isPartitionName(partition)) partitions.push_back(std::move(partition));
  }
  return partitions;
}

std::size_t reportsDigest(platform::Containers& containers) {
  std::size_t sum = 0;
  for (const auto& partition : reportedPartitions(containers)) {
    const auto store = MountAccessReportStore::locate(containers, partition);
    const auto modified = store ? base::modificationTime(store->url()) : std::nullopt;
    const auto time = modified ? modified->time_since_epoch().count() : 0;
    sum += std::hash<std::string>()(partition + "/" + std::to_string(time));
  }
  return sum;
}

bool isFresh(double timestamp, double now) {
  return timestamp <= now && now - timestamp <= freshnessWindow;
}

std::optional<std::string> bootSession(platform::SystemInfo& system) {
  const auto raw = system.kernelVariable("kern.bootsessionuuid");
  if (!raw || raw->empty()) return std::nullopt;
  return base::repairedUtf8(std::string_view(*raw).substr(0, raw->find('\0')));
}

std::optional<std::uint64_t> deviceId(platform::MediaRegistry& registry,
                                      const std::string& bsdName) {
  const auto media = registry.media(bsdName);
  if (!media) return std::nullopt;
  return media->entryId();
}

std::optional<MountAccessReport> loadMountAccessReport(const ReportSources& sources,
                                                       const std::string& bsdName,
                                                       Freshness freshness) {
  const auto store = MountAccessReportStore::locate(sources.containers, bsdName);
  if (!store) return std::nullopt;
  const auto device = deviceId(sources.registry, bsdName);
  const auto session = bootSession(sources.system);
  if (!device || !session) return std::nullopt;
  auto report = store->read();
  if (!report || report->deviceID != *device || report->bootSession != *session) {
    return std::nullopt;
  }
  const double now = platform::secondsSince1970(sources.clock.now());
  if (freshness == Freshness::freshOnly && !isFresh(report->timestamp, now)) return std::nullopt;
  return report;
}

std::optional<bool> mediaWritable(platform::MediaRegistry& registry, const std::string& bsdName,
                                  std::uint64_t expectedDeviceId, bool isKnownAbsent) {
  if (isKnownAbsent) return std::nullopt;
  const auto media = registry.media(bsdName);
  if (!media || media->entryId() != expectedDeviceId) return std::nullopt;
  const auto flag = media->property(platform::registry_key::writable);
  return flag ? base::booleanValue(*flag) : std::nullopt;
}

}  // namespace halvercine::mount
