// Having the system start the privileged helper.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <boost/describe.hpp>

#include "base/LocalizedText.h"
#include "base/MainActor.h"
#include "base/Task.h"
#include "helper/HelperClient.h"
#include "helper/HelperDaemonBox.h"
#include "platform/Platform.h"

namespace halvercine::helper {

/// The property list of a daemon that the administrator's script has installed. While it is there,
/// the system's service management is left alone.
inline constexpr std::string_view oneClickPropertyList =
    "/Library/LaunchDaemons/com.halvercine.app.authhelper.plist";

/// How it stands with the helper.
BOOST_DEFINE_ENUM_CLASS(HelperState,
                        ready,              // it answers
                        installedByScript,  // by the administrator: the system is not asked
                        awaitingApproval,   // the user has to allow it in System Settings
                        notRegistered,
                        unreachable,    // allowed to run, yet there is nobody to be asked
                        notAnswering,   // there is somebody, who does not answer as he should
                        unknownStatus,  // the system says something that the program does not know
                        noService)      // the system has no such service

/// What came of a step.
struct HelperOutcome {
  HelperState state = HelperState::noService;
  std::optional<bool> formattingAvailable;   ///< the helper's own answer; nothing without one
  std::vector<base::LocalizedText> notices;  ///< what is to be shown, in this order
  /// Why the last thing that was tried has failed, in English; of a failed step only.
  std::string reason;
};

/// Registers the helper with the system, and keeps that registration in order. One at a time. Main
/// actor.
class HelperRegistration {
 public:
  HelperRegistration(base::MainActor& actor, const platform::Platform& platform,
                     HelperClient& client);

  /// What is to be done at the start and before the helper is needed: takes the new binary in after
  /// an upgrade, registers what is not registered (without asking the user twice for one version),
  /// and repairs an endpoint that cannot be reached.
  base::Task<HelperOutcome> ensure();

  /// Registers anew what is enabled and cannot be reached; anything else is left as it is.
  base::Task<HelperOutcome> repair();

  /// After a one-click installation that has failed: registers with the system, where that has to
  /// be done.
  base::Task<HelperOutcome> fallBack();

  /// Has the helper remove what older versions have left, if it can be reached, and takes the
  /// registration back. What is not registered, or was not registered here, is left as it is.
  base::Task<HelperOutcome> unregister();

  /// How it stands, without changing anything.
  base::Task<HelperOutcome> look();

  /// The registered service's status; nothing without a service.
  std::optional<platform::DaemonStatus> status() const;
  bool isInstalledByScript() const;
  /// The application build that the daemon was registered for last; empty when it never was.
  std::string registeredBuild() const;

 private:
  base::Task<void> reregister(std::optional<ReregistrationError>& failure);
  base::Task<bool> upgrade();
  base::Task<bool> request(HelperOutcome& outcome);
  base::Task<void> repairEndpoint(HelperOutcome& outcome);
  base::Task<std::optional<platform::SystemError>> limited(DaemonStep step);
  base::Task<void> settle(HelperOutcome& outcome);

  std::string setting(std::string_view key) const;
  void keep(std::string_view key, const std::optional<std::string>& value);
  void rememberBuild();
  void log(platform::LogLevel level, const std::string& line);

  const platform::Platform& platform_;
  HelperClient& client_;
  ScheduleOnMain scheduleOnMain_;
  HelperDaemonBox daemon_;
};

}  // namespace halvercine::helper
