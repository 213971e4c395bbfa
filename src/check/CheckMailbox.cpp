#include "check/CheckMailbox.h"

#include <array>
#include <chrono>
#include <sys/stat.h>
#include <system_error>
#include <utility>

#include "base/Directory.h"
#include "base/Json.h"
#include "base/PrivateFiles.h"
#include "base/SharedGroup.h"

namespace halvercine::check {
namespace {

constexpr std::string_view suffix = ".json";
constexpr std::string_view temporaryMark = ".json.tmp-";
// What this program writes.
constexpr std::array<std::string_view, 3> ownPrefixes{"deep-check-", "check-pause-",
                                                      "check-cancel-"};
constexpr std::string_view unknownDisk = "unknown";

// A frame is some hundred bytes.
constexpr std::size_t progressLimit = std::size_t{64} * 1024;
// A hundred thousand findings take some 20 MB.
constexpr std::size_t reportLimit = std::size_t{256} * 1024 * 1024;

bool removeQuietly(const std::filesystem::path& path) {
  std::error_code ignored;
  return std::filesystem::remove(path, ignored);
}

std::int64_t wholeSeconds(platform::WallTime time) {
  return std::chrono::floor<std::chrono::seconds>(time).time_since_epoch().count();
}

template <class Record>
bool replaceRecord(const std::filesystem::path& path, const Record& record) {
  return !base::replacePrivateFile(path, base::encodeJson(record));
}

std::optional<FileStamp> stampOf(const std::filesystem::path& path) {
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0) return std::nullopt;
  const auto changed = base::modificationTime(path);
  return FileStamp{static_cast<std::uint64_t>(status.st_ino), status.st_size,
                   changed ? changed->time_since_epoch().count() : 0};
}

/// The volume whose file, or unfinished file, of ours has this name.
std::optional<std::string> ownerOf(std::string_view name) {
  const bool isHidden = name.starts_with('.');
  const auto end = isHidden ? name.find(temporaryMark) : name.size() - suffix.size();
  if (end >= name.size() || (!isHidden && !name.ends_with(suffix))) return std::nullopt;
  name = name.substr(0, end).substr(isHidden ? 1 : 0);
  for (const auto prefix : ownPrefixes) {
    if (name.starts_with(prefix)) return std::string(name.substr(prefix.size()));
  }
  return std::nullopt;
}

}  // namespace

std::optional<CheckMailbox> CheckMailbox::open(platform::Containers& containers,
                                               std::string_view disk) {
  if (!base::isPlainFileName(disk)) return std::nullopt;
  auto folder = containers.groupContainer(std::string(base::sharedGroup));
  if (!folder) return std::nullopt;
  return CheckMailbox(std::move(*folder), std::string(disk));
}

std::filesystem::path CheckMailbox::path(std::string_view prefix) const {
  return folder_ / std::string(prefix).append(disk_).append(suffix);
}

std::optional<base::FileLock> CheckMailbox::claim() const {
  // Somebody may be asking whether it is held.
  return base::FileLock::take(lockPath(), std::chrono::milliseconds(20));
}

bool CheckMailbox::isClaimed() const { return base::FileLock::isHeld(lockPath()); }

void CheckMailbox::clear() const {
  withdraw();
  removeQuietly(progressPath());
  removeQuietly(reportPath());
}

bool CheckMailbox::writeRequest(bool repair, platform::WallTime now) const {
  return replaceRecord(requestPath(), CheckRequest{repair, wholeSeconds(now)});
}

std::optional<platform::WallTime> CheckMailbox::requestTime() const {
  return base::modificationTime(requestPath());
}

bool CheckMailbox::requestWaits() const { return requestTime().has_value(); }

bool CheckMailbox::takeRequestBack() const { return removeQuietly(requestPath()); }

bool CheckMailbox::writePause(platform::WallTime now) const {
  return replaceRecord(pausePath(), CheckFlag{wholeSeconds(now)});
}

void CheckMailbox::removePause() const { removeQuietly(pausePath()); }

bool CheckMailbox::writeCancel(platform::WallTime now) const {
  return replaceRecord(cancelPath(), CheckFlag{wholeSeconds(now)});
}

void CheckMailbox::withdraw() const {
  removeQuietly(requestPath());
  removeQuietly(pausePath());
  removeQuietly(cancelPath());
}

std::optional<CheckProgressSnapshot> CheckMailbox::readProgress() const {
  const auto text = base::readRegularFile(progressPath(), progressLimit);
  if (!text) return std::nullopt;
  auto frame = base::decodeJson<CheckProgressSnapshot>(*text);
  if (!frame) return std::nullopt;
  return *frame;
}

std::optional<CheckReportModel> CheckMailbox::readReport(ReportReading& reading) const {
  const auto written = base::modificationTime(reportPath());
  if (!written || (reading.notBefore && *written < *reading.notBefore)) return std::nullopt;
  // Before the reading: what is written during it is then looked at again.
  const auto stamp = stampOf(reportPath());
  if (!stamp || stamp == reading.refused) return std::nullopt;
  const auto text = base::readRegularFile(reportPath(), reportLimit);
  auto report = text ? acceptedReport(*text, disk_) : std::nullopt;
  if (text && !report) reading.refused = stamp;
  return report;
}

void CheckMailbox::sweepAbandoned(platform::Containers& containers) {
  const auto folder = containers.groupContainer(std::string(base::sharedGroup));
  const auto directory = folder ? base::Directory::open(*folder) : std::nullopt;
  if (!directory) return;
  for (const auto& name : directory->names()) {
    const auto disk = ownerOf(name);
    const auto mailbox = disk ? open(containers, *disk) : std::nullopt;
    const auto lock = mailbox ? mailbox->claim() : std::nullopt;
    if (lock) directory->remove(name);
  }
}

bool isBeingChecked(platform::Containers& containers, std::string_view disk) {
  const auto mailbox = CheckMailbox::open(containers, disk);
  return mailbox && mailbox->isClaimed();
}

std::optional<CheckReportModel> acceptedReport(std::string_view text, std::string_view disk) {
  auto decoded = base::decodeJson<ModuleReport>(text);
  if (!decoded || (decoded->diskID != disk && decoded->diskID != unknownDisk)) return std::nullopt;
  return std::move(decoded->report);
}

}  // namespace halvercine::check
