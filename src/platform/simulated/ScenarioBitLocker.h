// A BitLocker volume of a scenario.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include <boost/describe.hpp>

namespace halvercine::platform::simulated {

/// How the file-system module behaves when it is asked to unlock a volume.
struct ScenarioUnlock {
  bool takes = true;                 ///< takes requests at all
  double takeAfter = 0.1;            ///< seconds from seeing a request to taking it
  double answerAfter = 0.4;          ///< from taking it to the answer
  std::optional<std::string> state;  ///< of every answer, whatever the credential
  std::optional<std::string> code;   ///< the result code of every failure
  bool echoes = true;                ///< the answer has the request's identifier
  bool strangersAnswer = false;      ///< the failure of another request comes first
  std::string kind = "ntfs";         ///< the file system inside
  bool mounts = true;                ///< the volume is mounted when it is unlocked
  double mountAfter = 0.5;           ///< seconds from the answer to that
};
BOOST_DESCRIBE_STRUCT(ScenarioUnlock, (),
                      (takes, takeAfter, answerAfter, state, code, echoes, strangersAnswer, kind,
                       mounts, mountAfter))

/// The module's record of a BitLocker volume.
struct ScenarioBitLocker {
  std::optional<std::string> guid;
  std::optional<std::string> label;
  std::string state = "locked";
  bool hasPasswordProtector = true;
  bool hasRecoveryProtector = true;
  bool hasClearKey = false;
  bool hasStartupKeyProtector = false;
  bool tpmOnly = false;
  std::optional<std::uint32_t> encryptionMethod;
  std::optional<std::string> errorMessage;
  std::optional<bool> usedSpaceOnly;
  std::optional<std::string> password;  ///< that opens it
  std::optional<std::string> recovery;  ///< the recovery password, its digits count
  ScenarioUnlock unlock;
};
BOOST_DESCRIBE_STRUCT(ScenarioBitLocker, (),
                      (guid, label, state, hasPasswordProtector, hasRecoveryProtector, hasClearKey,
                       hasStartupKeyProtector, tpmOnly, encryptionMethod, errorMessage,
                       usedSpaceOnly, password, recovery, unlock))

}  // namespace halvercine::platform::simulated
