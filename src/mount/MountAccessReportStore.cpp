#include "mount/MountAccessReportStore.h"

#include <system_error>

#include "base/BsdName.h"
#include "base/FileLock.h"
#include "base/Json.h"
#include "base/PrivateFiles.h"
#include "base/Properties.h"
#include "base/Text.h"

namespace halvercine::mount {
namespace {

// A report is some two hundred bytes; whatever is larger is none.
constexpr std::size_t reportLimit = 64 * 1024;

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
  return MountAccessReportStore(*container / ("mount-access-" + bsdName + ".json"));
}

std::optional<MountAccessReport> MountAccessReportStore::read() const {
  const auto text = base::readRegularFile(url_, reportLimit);
  if (!text) return std::nullopt;
  auto report = base::decodeJson<MountAccessReport>(*text);
  if (!report) return std::nullopt;
  return std::move(*report);
}

void MountAccessReportStore::sweepStale(std::uint64_t deviceId, std::string_view bootSession,
                                        double now) const {
  const auto report = read();
  if (!report) return;
  const bool current = report->deviceID == deviceId && report->bootSession == bootSession &&
                       isFresh(report->timestamp, now);
  if (!current) removeQuietly(url_);
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
