// Installing the helper by an administrator's script, where the system does not register it.
#pragma once

#include <string>
#include <variant>

#include "base/LocalizedText.h"
#include "base/Task.h"
#include "platform/Platform.h"

namespace halvercine::helper {

struct HelperInstalled {};
/// The user has refused to authenticate: nothing has been changed.
struct InstallCancelled {};
struct InstallFailed {
  base::LocalizedText reason;
};
using InstallOutcome = std::variant<HelperInstalled, InstallCancelled, InstallFailed>;

/// Looks whether the bundle is safe for a daemon of root, and then has the administrator's shell
/// install it. `prompt` says to the user what the password is for. Cancelling takes the temporary
/// script away and the command back, as far as the system allows. Main actor.
base::Task<InstallOutcome> installWithOneClick(const platform::Platform& platform,
                                               std::string prompt);

}  // namespace halvercine::helper
