#include "platform/simulated/SimulatedBitLocker.h"

#include <system_error>
#include <utility>

#include "base/Json.h"
#include "base/PrivateFiles.h"
#include "base/Secret.h"
#include "base/SecretJson.h"
#include "platform/simulated/SimulatedMachine.h"
#include "platform/simulated/mountOnRequest.h"

namespace halvercine::platform::simulated {

/// What the program asks for.
struct UnlockRequestRecord {
  std::string method;
  base::Secret credential;
  std::optional<bool> readOnly;
  std::optional<std::string> requestID;
};
BOOST_DESCRIBE_STRUCT(UnlockRequestRecord, (), (method, credential, readOnly, requestID))

namespace {

constexpr double lookDelay = 0.05;
constexpr std::size_t requestLimit = std::size_t{64} * 1024;

std::string requestName(const std::string& guid) { return "bitlocker-unlock-" + guid + ".json"; }

/// The module's own record, spelled out a second time for the reason that moduleReport.cpp gives.
struct WrittenStatus {
  std::string guid;
  std::string bsdName;
  std::optional<std::string> label;
  double timestamp = 0;
  std::string state;
  bool hasPasswordProtector = false;
  bool hasRecoveryProtector = false;
  bool hasClearKey = false;
  bool hasStartupKeyProtector = false;
  bool tpmOnly = false;
  std::optional<std::uint32_t> encryptionMethod;
  std::optional<std::string> errorMessage;
  std::optional<std::string> requestID;
  std::uint64_t deviceID = 0;
  std::optional<bool> usedSpaceOnly;
  std::optional<bool> ejected;
};
BOOST_DESCRIBE_STRUCT(WrittenStatus, (),
                      (guid, bsdName, label, timestamp, state, hasPasswordProtector,
                       hasRecoveryProtector, hasClearKey, hasStartupKeyProtector, tpmOnly,
                       encryptionMethod, errorMessage, requestID, deviceID, usedSpaceOnly, ejected))

std::string digitsOf(std::string_view text) {
  std::string digits;
  digits.reserve(text.size());
  for (const char character : text) {
    if (character >= '0' && character <= '9') digits += character;
  }
  return digits;
}

bool isRight(const ScenarioBitLocker& volume, const UnlockRequestRecord& request) {
  if (request.method == "password") return volume.password == request.credential.reveal();
  auto given = digitsOf(request.credential.reveal());
  const bool isRight = volume.recovery && digitsOf(*volume.recovery) == given;
  base::wipe(given);
  return isRight;
}

struct Answer {
  std::string state;
  std::optional<std::string> code{};
};

/// As the module finds it, unless the scenario knows better.
Answer answerOf(const ScenarioBitLocker& volume, const UnlockRequestRecord& request) {
  const auto& script = volume.unlock;
  if (script.state) return {*script.state, script.code};
  if (volume.tpmOnly) return {"unsupported", "tpmOnly"};
  const bool hasProtector =
      request.method == "password" ? volume.hasPasswordProtector : volume.hasRecoveryProtector;
  if (!hasProtector) return {"unsupported", "noUsableProtector"};
  if (!isRight(volume, request)) return {"unlockFailed", script.code.value_or("wrongCredential")};
  return {"unlocked"};
}

std::optional<UnlockRequestRecord> readRequest(const std::filesystem::path& path) {
  const auto text = base::readSecretFile(path, requestLimit);
  if (!text) return std::nullopt;
  auto request = base::decodeSecretJson<UnlockRequestRecord>(text->reveal());
  if (!request) return std::nullopt;
  return std::move(*request);
}

}  // namespace

SimulatedBitLocker::~SimulatedBitLocker() {
  clock_->cancel(looking_);
  for (const auto& [disk, volume] : volumes_) clock_->cancel(volume.timer);
}

void SimulatedBitLocker::lookSoon() {
  if (!hasVolumes_ || isLooking_.exchange(true)) return;
  machine_.actor().post([weak = machine_.weak_from_this()] {
    const auto machine = weak.lock();
    if (!machine) return;
    auto& module = machine->bitLocker();
    module.looking_ = module.clock_->callAt(module.clock_->uptime() + uptimeOf(lookDelay),
                                            [&module] { module.look(); });
  });
}

bool SimulatedBitLocker::hasRequest(const Volume& volume) const {
  const auto folder = container_.path();
  std::error_code ignored;
  return folder && std::filesystem::exists(*folder / requestName(*volume.state.guid), ignored);
}

void SimulatedBitLocker::look() {
  isLooking_ = false;
  for (const auto& [disk, volume] : volumes_) {
    if (!volume.state.unlock.takes || volume.timer != 0 || !hasRequest(volume)) continue;
    later(disk, volume.state.unlock.takeAfter, [this, name = disk] { take(name); });
  }
}

void SimulatedBitLocker::later(const std::string& disk, double seconds,
                               std::function<void()> action) {
  auto& volume = volumes_.at(disk);
  clock_->cancel(volume.timer);
  volume.timer = clock_->callAt(clock_->uptime() + uptimeOf(seconds),
                                [this, disk, action = std::move(action)] {
                                  volumes_.at(disk).timer = 0;
                                  action();
                                });
}

void SimulatedBitLocker::take(const std::string& disk) {
  auto& volume = volumes_.at(disk);
  const auto folder = container_.path();
  const auto name = requestName(*volume.state.guid);
  if (!folder || !hasRequest(volume)) return;
  auto request = readRequest(*folder / name);
  container_.remove(name);
  if (!request) return;
  if (volume.state.unlock.strangersAnswer) {
    auto stranger = volume;
    stranger.state.state = "unlockFailed";
    stranger.state.errorMessage = "wrongCredential";
    stranger.requestID = "5B0D2C0E-7F6B-4E53-9B7B-0F4E6C1D2A3B";
    write(disk, stranger, false);
  }
  // Shared: what waits for a clock is copied.
  const auto shared = std::make_shared<const UnlockRequestRecord>(std::move(*request));
  later(disk, volume.state.unlock.answerAfter, [this, disk, shared] { answer(disk, *shared); });
}

void SimulatedBitLocker::answer(const std::string& disk, const UnlockRequestRecord& request) {
  auto& volume = volumes_.at(disk);
  const auto found = answerOf(volume.state, request);
  volume.state.state = found.state;
  volume.state.errorMessage = found.code;
  volume.requestID = volume.state.unlock.echoes ? request.requestID : std::nullopt;
  write(disk, volume, false);
  if (found.state != "unlocked") return;
  const bool readOnly = request.readOnly.value_or(false);
  later(disk, volume.state.unlock.mountAfter, [this, disk, readOnly] { open(disk, readOnly); });
}

void SimulatedBitLocker::open(const std::string& disk, bool readOnly) {
  const auto& script = volumes_.at(disk).state.unlock;
  if (script.kind.empty()) return;
  machine_.reveal(disk, script.kind);
  if (script.mounts) mountOnRequest(machine_, disk, readOnly);
}

void SimulatedBitLocker::appeared(const ScenarioMedia& media, std::uint64_t deviceId) {
  if (!media.bitLocker || !media.bitLocker->guid) return;
  lost(media.disk);
  const auto& volume =
      volumes_.emplace(media.disk, Volume{*media.bitLocker, deviceId}).first->second;
  hasVolumes_ = true;
  write(media.disk, volume, false);
}

void SimulatedBitLocker::lost(const std::string& disk) {
  const auto found = volumes_.find(disk);
  if (found == volumes_.end()) return;
  clock_->cancel(found->second.timer);
  found->second.state.state = "locked";
  write(disk, found->second, true);
  volumes_.erase(found);
  hasVolumes_ = !volumes_.empty();
}

void SimulatedBitLocker::write(const std::string& disk, const Volume& volume, bool isEjected) {
  const auto& state = volume.state;
  const WrittenStatus status{.guid = *state.guid,
                             .bsdName = disk,
                             .label = state.label,
                             .timestamp = secondsSince1970(clock_->now()),
                             .state = state.state,
                             .hasPasswordProtector = state.hasPasswordProtector,
                             .hasRecoveryProtector = state.hasRecoveryProtector,
                             .hasClearKey = state.hasClearKey,
                             .hasStartupKeyProtector = state.hasStartupKeyProtector,
                             .tpmOnly = state.tpmOnly,
                             .encryptionMethod = state.encryptionMethod,
                             .errorMessage = state.errorMessage,
                             .requestID = volume.requestID,
                             .deviceID = volume.deviceId,
                             .usedSpaceOnly = state.usedSpaceOnly,
                             .ejected = isEjected ? std::optional(true) : std::nullopt};
  container_.write("bitlocker-status-" + *state.guid + ".json", base::encodeJson(status));
}

}  // namespace halvercine::platform::simulated
