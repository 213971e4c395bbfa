// The program's bundle and its privileged helper, as a scenario describes them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <boost/describe.hpp>

namespace halvercine::platform::simulated {

/// Who owns a file and may write it.
struct ScenarioPermissions {
  static constexpr std::string_view requiredKeys[] = {"path"};

  std::string path;
  std::uint32_t owner = 0;
  std::uint32_t group = 0;
  std::string mode = "755";  ///< octal
};
BOOST_DESCRIBE_STRUCT(ScenarioPermissions, (), (path, owner, group, mode))

struct ScenarioApplication {
  std::string path = "/Applications/Halvercine.app";
  std::string identifier = "com.halvercine.app";
  std::string version = "2.1.0";
  std::string build = "2100";
  bool helper = true;  ///< whether the helper's executable is in the bundle
  std::vector<ScenarioPermissions> permissions;
};
BOOST_DESCRIBE_STRUCT(ScenarioApplication, (),
                      (path, identifier, version, build, helper, permissions))

BOOST_DEFINE_ENUM_CLASS(RegistrationStatus, notRegistered, enabled, requiresApproval, notFound,
                        unknown)

struct ScenarioSystemError {
  std::string text = "Operation not permitted";
  std::string domain = "SMAppServiceErrorDomain";
  std::int64_t code = 1;
};
BOOST_DESCRIBE_STRUCT(ScenarioSystemError, (), (text, domain, code))

/// One registration, or the end of one.
struct ScenarioRegistrationStep {
  std::optional<RegistrationStatus> status;  ///< afterwards; as it was when absent
  std::optional<ScenarioSystemError> error;
  double seconds = 0.1;
  bool hang = false;  ///< never ends
};
BOOST_DESCRIBE_STRUCT(ScenarioRegistrationStep, (), (status, error, seconds, hang))

/// How the helper treats a message.
struct ScenarioHelperCall {
  std::optional<std::string> selector;  ///< as it begins; any when absent
  std::optional<std::int64_t> times;
  double seconds = 0.05;
  bool ok = true;
  std::optional<std::string> message;
  std::int32_t result = 0;
  bool hang = false;                         ///< never replies
  bool dies = false;                         ///< the process ends instead of replying
  bool repeats = false;                      ///< replies again and again, and then dies
  bool misspeaks = false;                    ///< replies with values of another call
  std::optional<ScenarioSystemError> error;  ///< the connection's
};
BOOST_DESCRIBE_STRUCT(ScenarioHelperCall, (),
                      (selector, times, seconds, ok, message, result, hang, dies, repeats,
                       misspeaks, error))

struct ScenarioHelper {
  RegistrationStatus status = RegistrationStatus::enabled;
  std::vector<ScenarioRegistrationStep> registers;    ///< one for each time; the last stays
  std::vector<ScenarioRegistrationStep> unregisters;  ///< likewise
  bool reachable = true;                              ///< whether somebody listens while it may run
  bool reachableAnew = true;  ///< whether somebody does once it has been registered anew
  bool conforms = true;       ///< whether what listens speaks the protocol
  std::vector<ScenarioHelperCall> calls;
};
BOOST_DESCRIBE_STRUCT(ScenarioHelper, (),
                      (status, registers, unregisters, reachable, reachableAnew, conforms, calls))

}  // namespace halvercine::platform::simulated
