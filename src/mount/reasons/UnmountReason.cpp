#include "mount/reasons/UnmountReason.h"

namespace halvercine::mount {

std::optional<base::LocalizedText> UnmountReason::text() const {
  switch (kind) {
    case Case::thirdParty:
      return base::LocalizedText{"disk.unmounted.reason.thirdparty", {detail}};
    case Case::mismatch:
      return base::LocalizedText{"disk.unmounted.reason.mismatch", {detail}};
    case Case::checking:
      return base::LocalizedText{"disk.unmounted.reason.checking"};
    case Case::interruptedCreation:
      // On purpose the text of an encryption that the user cancelled: it is the same to do.
      return base::LocalizedText{"ui.encrypt.cancelled"};
    case Case::needsCheck:
      return base::LocalizedText{"disk.unmounted.reason.needscheck"};
    case Case::unknown:
      break;
  }
  return std::nullopt;
}

UnmountReason unmountReason(const UnmountFindings& findings) {
  using Case = UnmountReason::Case;
  if (findings.isChecking) return {Case::checking, ""};
  if (findings.isCreationInterrupted) return {Case::interruptedCreation, ""};
  if (findings.foreignDriver) return {Case::thirdParty, *findings.foreignDriver};
  if (findings.mismatch) return {Case::mismatch, *findings.mismatch};
  if (findings.needsCheck) return {Case::needsCheck, ""};
  return {};
}

UnmountFindings UnmountReasonInputs::findings(const disks::Disk& disk) const {
  UnmountFindings found;
  found.isChecking = isChecking && isChecking(disk);
  found.isCreationInterrupted = isCreationInterrupted && isCreationInterrupted(disk);
  if (recordedIdentityMismatch) found.mismatch = recordedIdentityMismatch(disk);
  found.needsCheck = needsCheck && needsCheck(disk);
  return found;
}

}  // namespace halvercine::mount
