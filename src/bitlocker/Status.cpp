#include "bitlocker/Status.h"

namespace halvercine::bitlocker {

BitLockerState stateOf(const Status& status) {
  return {.guid = status.guid,
          .state = status.state,
          .hasPasswordProtector = status.hasPasswordProtector,
          .hasRecoveryProtector = status.hasRecoveryProtector,
          .hasClearKey = status.hasClearKey,
          .hasStartupKeyProtector = status.hasStartupKeyProtector,
          .tpmOnly = status.tpmOnly,
          .errorMessage = status.errorMessage};
}

}  // namespace halvercine::bitlocker
