#include "mount/takeover/TakeoverJournal.h"

#include <chrono>

#include "base/Json.h"
#include "base/PrivateFiles.h"
#include "mount/MountAccessReportStore.h"

namespace halvercine::mount {
namespace {

constexpr const char* fileName = "takeover.json";
constexpr const char* updateLock = "takeover.json.lock";
constexpr const char* workingLock = "takeover.working.lock";
constexpr const char* controllerLock = "controller.lock";

// A record per volume: far more is not ours.
constexpr std::size_t sizeLimit = std::size_t{4} * 1024 * 1024;
// An update takes a millisecond.
constexpr auto patience = std::chrono::milliseconds(200);
constexpr auto askPatience = std::chrono::milliseconds(20);

JournalRecord load(const std::filesystem::path& path, const std::string& bootSession) {
  JournalRecord empty;
  empty.bootSession = bootSession;
  const auto text = base::readRegularFile(path, sizeLimit);
  if (!text) return empty;
  auto record = base::decodeJson<JournalRecord>(*text);
  return record && record->bootSession == bootSession ? std::move(*record) : empty;
}

}  // namespace

std::optional<std::filesystem::path> TakeoverJournal::folder() const {
  auto folder = platform_.containers->applicationSupport();
  if (!folder) return std::nullopt;
  *folder /= "Halvercine";
  if (base::makePrivateDirectory(*folder)) return std::nullopt;
  return folder;
}

JournalRecord TakeoverJournal::read() const {
  const auto folder = platform_.containers->applicationSupport();
  const auto session = bootSession(*platform_.systemInfo);
  if (!folder || !session) return {};
  return load(*folder / "Halvercine" / fileName, *session);
}

bool TakeoverJournal::update(const std::function<void(JournalRecord&)>& change) const {
  const auto directory = folder();
  const auto session = bootSession(*platform_.systemInfo);
  if (!directory || !session) return false;
  const auto lock = base::FileLock::take(*directory / updateLock, patience);
  if (!lock) return false;
  const auto stored = load(*directory / fileName, *session);
  auto changed = stored;
  change(changed);
  if (changed == stored) return true;
  return !base::replacePrivateFile(*directory / fileName, base::encodeJson(changed));
}

bool TakeoverJournal::note(const JournalRecord::Recovery& recovery) const {
  return update([&](JournalRecord& record) {
    std::erase_if(record.recoveries,
                  [&](const auto& old) { return old.bsdName == recovery.bsdName; });
    record.recoveries.push_back(recovery);
  });
}

void TakeoverJournal::settle(const std::string& bsdName, std::uint64_t deviceId) const {
  update([&](JournalRecord& record) {
    std::erase_if(record.recoveries, [&](const auto& old) {
      return old.bsdName == bsdName && old.identity.deviceID == deviceId;
    });
  });
}

std::expected<base::FileLock, TakeoverJournal::LockFailure> TakeoverJournal::take(
    const char* name) const {
  const auto directory = folder();
  if (!directory) return std::unexpected(LockFailure::unavailable);
  // Somebody may be asking whether it is held.
  auto lock = base::FileLock::take(*directory / name, askPatience);
  if (lock) return std::move(*lock);
  return std::unexpected(isHeld(name) ? LockFailure::held : LockFailure::unavailable);
}

bool TakeoverJournal::isHeld(const char* name) const {
  const auto directory = platform_.containers->applicationSupport();
  return directory && base::FileLock::isHeld(*directory / "Halvercine" / name);
}

std::expected<base::FileLock, TakeoverJournal::LockFailure> TakeoverJournal::takeWorkingLock()
    const {
  return take(workingLock);
}

std::expected<base::FileLock, TakeoverJournal::LockFailure> TakeoverJournal::takeControllerLock()
    const {
  return take(controllerLock);
}

bool TakeoverJournal::isSomebodyWorking() const { return isHeld(workingLock); }
bool TakeoverJournal::isControllerRunning() const { return isHeld(controllerLock); }

}  // namespace halvercine::mount
