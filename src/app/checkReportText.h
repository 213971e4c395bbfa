// The report of a check, for people and for programs.
#pragma once

#include <string>

#include <boost/json/object.hpp>

#include "app/commands.h"
#include "check/CheckReportModel.h"

namespace halvercine::app {

/// The judgement, the numbers and the findings in their buckets.
std::string checkReportText(const CommandContext& context, const check::CheckReportModel& report,
                            bool isRepair);

/// "judgement" (key and text) and "report" as the tool made it.
boost::json::object checkReportJson(const CommandContext& context,
                                    const check::CheckReportModel& report, bool isRepair);

}  // namespace halvercine::app
