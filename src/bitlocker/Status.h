// What the file-system module tells of a BitLocker volume.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include <boost/describe.hpp>

#include "bitlocker/BitLockerState.h"

namespace halvercine::bitlocker {

/// The module's record of one volume, coded as JSON in the mailbox. It stays when the volume has
/// gone: whether it is current is for the reader to find out.
struct Status {
  std::string guid;     ///< the mailbox key
  std::string bsdName;  ///< at the time of writing, such as "disk4s1"
  std::optional<std::string> label;
  double timestamp = 0;  ///< of writing, seconds since 1970
  /// "locked", "unlocked", "unlockFailed", "unsupported", "error"; any other is no answer yet.
  std::string state;
  bool hasPasswordProtector = false;
  bool hasRecoveryProtector = false;
  bool hasClearKey = false;  ///< protection is suspended
  bool hasStartupKeyProtector = false;
  bool tpmOnly = false;                           ///< cannot be unlocked on this machine
  std::optional<std::uint32_t> encryptionMethod;  ///< code in the volume's metadata
  std::optional<std::string> errorMessage;  ///< code of a failed unlock, such as "badMetadata"
  std::optional<std::string> requestID;     ///< of the request that this record answers
  std::optional<std::uint64_t> deviceID;    ///< the module's identifier of the device
  std::optional<bool> usedSpaceOnly;
  std::optional<bool> ejected;  ///< since the record was written

  bool operator==(const Status&) const = default;
};
BOOST_DESCRIBE_STRUCT(Status, (),
                      (guid, bsdName, label, timestamp, state, hasPasswordProtector,
                       hasRecoveryProtector, hasClearKey, hasStartupKeyProtector, tpmOnly,
                       encryptionMethod, errorMessage, requestID, deviceID, usedSpaceOnly, ejected))

/// The part of a record that a disk shows.
BitLockerState stateOf(const Status& status);

}  // namespace halvercine::bitlocker
