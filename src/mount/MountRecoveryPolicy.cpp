#include "mount/MountRecoveryPolicy.h"

namespace halvercine::mount {
namespace {

ReadOnlyCause causeOf(ReadOnlyReason reason) {
  switch (reason) {
    case ReadOnlyReason::readWrite:
      return ReadOnlyCause::unknown;
    case ReadOnlyReason::requested:
      return ReadOnlyCause::requested;
    case ReadOnlyReason::deviceProtected:
    case ReadOnlyReason::resourceReadOnly:
      return ReadOnlyCause::resource;
    case ReadOnlyReason::unsafeVolume:
      return ReadOnlyCause::protectedVolume;
    case ReadOnlyReason::openFailed:
      return ReadOnlyCause::openFailed;
    case ReadOnlyReason::eowSafety:
      return ReadOnlyCause::endOfWriteSafety;
  }
  return ReadOnlyCause::unknown;
}

}  // namespace

ReadOnlyCause MountRecoveryPolicy::cause(std::optional<bool> mediaWritable,
                                         std::optional<ReadOnlyReason> reason) {
  if (reason == ReadOnlyReason::requested) return ReadOnlyCause::requested;
  if (mediaWritable == false) return ReadOnlyCause::hardware;
  return reason ? causeOf(*reason) : ReadOnlyCause::unknown;
}

std::string_view MountRecoveryPolicy::explanationKey(ReadOnlyCause cause) {
  switch (cause) {
    case ReadOnlyCause::hardware:
      return "disk.ux.readonly.hardware";
    case ReadOnlyCause::resource:
      return "disk.ux.readonly.resource";
    case ReadOnlyCause::requested:
      return "disk.ux.readonly.requested";
    case ReadOnlyCause::protectedVolume:
      return "disk.ux.readonly.protected";
    case ReadOnlyCause::openFailed:
      return "disk.ux.readonly.openfailed";
    case ReadOnlyCause::endOfWriteSafety:
      return "disk.ux.readonly.eow";
    case ReadOnlyCause::unknown:
      return "disk.ux.readonly.unknown";
  }
  return "disk.ux.readonly.unknown";
}

bool MountRecoveryPolicy::isRecoverable(ReadOnlyCause cause) {
  switch (cause) {
    case ReadOnlyCause::resource:
    case ReadOnlyCause::unknown:
      return true;
    case ReadOnlyCause::hardware:
    case ReadOnlyCause::requested:
    case ReadOnlyCause::protectedVolume:
    case ReadOnlyCause::openFailed:
    case ReadOnlyCause::endOfWriteSafety:
      return false;
  }
  return false;
}

std::vector<std::string_view> MountRecoveryPolicy::noteKeys(ReadOnlyCause cause) {
  if (cause == ReadOnlyCause::protectedVolume) {
    return {"disk.ux.readonly.windows", "disk.ux.readonly.check"};
  }
  if (cause == ReadOnlyCause::endOfWriteSafety) return {"disk.ux.readonly.check"};
  return {};
}

std::optional<MountRecoveryPolicy::StatusLine> MountRecoveryPolicy::recoveryStatus(
    std::optional<std::uint64_t> deviceId, const std::optional<QueuePlace>& place,
    bool coordinatorIsWorking) {
  if (!deviceId || !place || place->deviceId != *deviceId) return std::nullopt;
  if (coordinatorIsWorking) {
    return StatusLine{"disk.ux.recovery.running", {place->attempt, attemptLimit}};
  }
  if (!place->hasPendingRetry) return StatusLine{"disk.ux.recovery.stopped", {}};
  return StatusLine{"disk.ux.recovery.waiting", {place->attempt, attemptLimit}};
}

}  // namespace halvercine::mount
