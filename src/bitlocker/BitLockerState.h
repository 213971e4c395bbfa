// What is known of a BitLocker volume.
#pragma once

#include <optional>
#include <string>

#include <boost/describe.hpp>

namespace halvercine::bitlocker {

/// State of a BitLocker volume, as the file-system module describes it.
struct BitLockerState {
  std::string guid;   ///< names the volume's files in the mailbox
  std::string state;  ///< the module's word: "locked", "unlocked", "unlockFailed", …
  bool hasPasswordProtector = false;
  bool hasRecoveryProtector = false;
  bool hasClearKey = false;  ///< protection is suspended
  bool hasStartupKeyProtector = false;
  bool tpmOnly = false;                     ///< cannot be unlocked on this machine
  std::optional<std::string> errorMessage;  ///< the module's result code of a failed unlock

  /// The credential was accepted: the volume shows as the file system inside.
  bool isUnlocked() const { return state == "unlocked"; }

  bool operator==(const BitLockerState&) const = default;
};
BOOST_DESCRIBE_STRUCT(BitLockerState, (),
                      (guid, state, hasPasswordProtector, hasRecoveryProtector, hasClearKey,
                       hasStartupKeyProtector, tpmOnly, errorMessage))

}  // namespace halvercine::bitlocker
