// What is said about the privileged helper.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <boost/json/object.hpp>

#include "app/ExitStatus.h"
#include "app/commands.h"
#include "helper/HelperRegistration.h"

namespace halvercine::app {

/// How it stands, as one sentence, with the reason if there is one.
std::string helperStateText(const CommandContext& context, const helper::HelperOutcome& outcome);

/// What the steps had to say, one text each.
std::vector<std::string> helperNotices(const CommandContext& context,
                                       const helper::HelperOutcome& outcome);

/// Whether the helper can be used as it stands.
bool isUsable(const helper::HelperOutcome& outcome);

/// The status of a command that leaves it so, and the identifier of its failure.
ExitStatus helperExitStatus(const helper::HelperOutcome& outcome);
std::string_view helperErrorId(helper::HelperState state);

/// "state", "reason", "formattingAvailable" and "notices".
boost::json::object helperJson(const CommandContext& context, const helper::HelperOutcome& outcome);

}  // namespace halvercine::app
