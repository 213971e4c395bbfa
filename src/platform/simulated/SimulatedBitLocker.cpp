#include "platform/simulated/SimulatedBitLocker.h"

#include <optional>

#include "base/Json.h"

namespace halvercine::platform::simulated {
namespace {

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
  std::uint64_t deviceID = 0;
  std::optional<bool> usedSpaceOnly;
  std::optional<bool> ejected;
};
BOOST_DESCRIBE_STRUCT(WrittenStatus, (),
                      (guid, bsdName, label, timestamp, state, hasPasswordProtector,
                       hasRecoveryProtector, hasClearKey, hasStartupKeyProtector, tpmOnly,
                       encryptionMethod, errorMessage, deviceID, usedSpaceOnly, ejected))

}  // namespace

void SimulatedBitLocker::appeared(const ScenarioMedia& media, std::uint64_t deviceId) {
  if (!media.bitLocker || !media.bitLocker->guid) return;
  const auto& volume = volumes_[media.disk] = {*media.bitLocker, deviceId};
  write(media.disk, volume, false);
}

void SimulatedBitLocker::lost(const std::string& disk) {
  const auto found = volumes_.find(disk);
  if (found == volumes_.end()) return;
  found->second.state.state = "locked";
  write(disk, found->second, true);
  volumes_.erase(found);
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
                             .deviceID = volume.deviceId,
                             .usedSpaceOnly = state.usedSpaceOnly,
                             .ejected = isEjected ? std::optional(true) : std::nullopt};
  container_.write("bitlocker-status-" + *state.guid + ".json", base::encodeJson(status));
}

}  // namespace halvercine::platform::simulated
