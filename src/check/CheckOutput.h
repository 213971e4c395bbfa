// Reading what a run of the check tool has left.
#pragma once

#include <string_view>

#include "check/CheckOutcome.h"
#include "platform/AdministratorShell.h"

namespace halvercine::check {

/// Printed behind the tool's output, with its exit status: the command as a whole succeeds, so that
/// the output arrives whatever the tool's status was. Only that it is there counts, not the number.
inline constexpr std::string_view exitMarker = "__HVL_FSCK_EXIT__";

/// What the tool's error begins with when it may not open the raw device.
inline constexpr std::string_view openFailedPrefix = "open failed:";

/// What a report comes to, whoever made it: one of a run that was cancelled or could not be
/// completed is no success.
CheckOutcome outcomeOf(CheckReportModel report);

/// The outcome of a run of the tool. `failedText` is what the user is told of a failure without a
/// reason; texts with details are English, for the operation log and the copied report. Takes time
/// in proportion to the output: not for the main actor. Any thread.
CheckOutcome readCheckOutput(const platform::AdministratorResult& result,
                             std::string_view failedText);

}  // namespace halvercine::check
