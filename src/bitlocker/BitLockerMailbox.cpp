#include "bitlocker/BitLockerMailbox.h"

#include <chrono>
#include <system_error>
#include <utility>

#include "base/Directory.h"
#include "base/Json.h"
#include "base/PrivateFiles.h"
#include "base/Secret.h"
#include "base/SecretJson.h"
#include "base/SharedGroup.h"

namespace halvercine::bitlocker {
namespace {

constexpr std::string_view statusPrefix = "bitlocker-status-";
constexpr std::string_view requestPrefix = "bitlocker-unlock-";
constexpr std::string_view temporaryPrefix = ".bitlocker-unlock-";
constexpr std::string_view temporaryMark = ".tmp-";
constexpr std::string_view suffix = ".json";

// A request that the module has not taken by then is nobody's: its sender gave up after 25 seconds,
// or is no more.
constexpr auto requestLifetime = std::chrono::seconds(300);

// Records are some hundred bytes; whatever is larger is none.
constexpr std::size_t recordLimit = std::size_t{64} * 1024;

bool isRecordName(std::string_view name, std::string_view prefix) {
  return name.starts_with(prefix) && name.ends_with(suffix);
}

bool isSweepable(std::string_view name) {
  return isRecordName(name, requestPrefix) ||
         (name.starts_with(temporaryPrefix) && name.find(temporaryMark) != std::string_view::npos);
}

std::optional<Status> decodeStatus(const std::expected<std::string, std::error_code>& text) {
  if (!text) return std::nullopt;
  auto status = base::decodeJson<Status>(*text);
  if (!status) return std::nullopt;
  return std::move(*status);
}

std::optional<UnlockRequest> decodeRequest(std::string_view text) {
  auto request = base::decodeSecretJson<UnlockRequest>(text);
  if (!request) return std::nullopt;
  return std::move(*request);
}

std::optional<UnlockRequest> readRequest(const std::filesystem::path& path) {
  const auto text = base::readSecretFile(path, recordLimit);
  return text ? decodeRequest(text->reveal()) : std::nullopt;
}

}  // namespace

std::optional<std::filesystem::path> BitLockerMailbox::containerURL() const {
  return containers_.groupContainer(std::string(base::sharedGroup));
}

std::optional<std::filesystem::path> BitLockerMailbox::statusURL(std::string_view key) const {
  return fileURL(statusPrefix, key);
}

std::optional<std::filesystem::path> BitLockerMailbox::requestURL(std::string_view key) const {
  return fileURL(requestPrefix, key);
}

std::optional<std::filesystem::path> BitLockerMailbox::fileURL(std::string_view prefix,
                                                               std::string_view key) const {
  if (!base::isPlainFileName(key)) return std::nullopt;
  const auto container = containerURL();
  if (!container) return std::nullopt;
  return *container / (std::string(prefix) + std::string(key) + std::string(suffix));
}

bool BitLockerMailbox::writeRequest(std::string_view key, const UnlockRequest& request) const {
  const auto url = requestURL(key);
  if (!url) return false;
  const auto text = base::encodeSecretJson(request);
  if (text.reveal().size() > recordLimit || !decodeRequest(text.reveal())) return false;
  return !base::replacePrivateFile(*url, text.reveal());
}

std::optional<UnlockRequest> BitLockerMailbox::pendingRequest(std::string_view key) const {
  const auto url = requestURL(key);
  if (!url) return std::nullopt;
  const auto isExpired = [now = clock_.now()](const std::filesystem::path& path) {
    const auto modified = base::modificationTime(path);
    return modified && now - *modified >= requestLifetime;
  };
  if (!isExpired(*url)) return readRequest(*url);
  base::removeFileIf(*url, isExpired);
  return std::nullopt;
}

void BitLockerMailbox::removeRequest(std::string_view key,
                                     const std::optional<std::string>& requestId) const {
  const auto url = requestURL(key);
  if (!url) return;
  if (!requestId) {
    std::error_code ignored;
    std::filesystem::remove(*url, ignored);
    return;
  }
  const auto waiting = pendingRequest(key);
  if (!waiting || waiting->requestID != requestId) return;
  // Another one may have taken its place since.
  base::removeFileIf(*url, [&](const std::filesystem::path& path) {
    const auto request = readRequest(path);
    return request && request->requestID == requestId;
  });
}

std::vector<Status> BitLockerMailbox::allStatuses() const {
  std::vector<Status> statuses;
  const auto container = containerURL();
  const auto directory = container ? base::Directory::open(*container) : std::nullopt;
  if (!directory) return statuses;
  for (const auto& name : directory->names()) {
    if (!isRecordName(name, statusPrefix)) continue;
    if (auto status = decodeStatus(directory->read(name, recordLimit))) {
      statuses.push_back(std::move(*status));
    }
  }
  return statuses;
}

std::optional<Status> BitLockerMailbox::readStatus(std::string_view key) const {
  const auto url = statusURL(key);
  if (!url) return std::nullopt;
  return decodeStatus(base::readRegularFile(*url, recordLimit));
}

void BitLockerMailbox::writeStatus(const Status& status) const {
  const auto url = statusURL(status.guid);
  if (!url) return;
  const auto text = base::encodeJson(status);
  // What nobody could read would cost the volume its record.
  if (text.size() > recordLimit || !base::decodeJson<Status>(text)) return;
  base::replaceFileKeepingMode(*url, text);
}

void BitLockerMailbox::sweepStale() const {
  const auto container = containerURL();
  const auto directory = container ? base::Directory::open(*container) : std::nullopt;
  if (!directory) return;
  const auto now = clock_.now();
  const auto isOld = [now](const std::filesystem::path& path) {
    const auto modified = base::modificationTime(path);
    return modified && now - *modified > requestLifetime;
  };
  for (const auto& name : directory->names()) {
    if (!isSweepable(name)) continue;
    const auto modified = directory->modified(name);
    if (!modified || now - *modified <= requestLifetime) continue;
    if (isRecordName(name, requestPrefix)) {
      base::removeFileIf(*container / name, isOld);
    } else {
      directory->remove(name);
    }
  }
}

}  // namespace halvercine::bitlocker
