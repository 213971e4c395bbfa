// The report as text, for the pasteboard.
#pragma once

#include <string>

#include "base/Localization.h"
#include "check/CheckReportModel.h"

namespace halvercine::check {

/// What stands around the findings.
struct ReportHeading {
  bool isRepair = false;
  std::string volume;   ///< the volume's name; its BSD name when it has none
  std::string time;     ///< of copying, as `base::localizedTime` writes it
  std::string program;  ///< name and version of the program, "Halvercine 1.0"
};

/// The whole report, lines with LF between them. Texts of the tool and names are in it as they
/// stand: it is no text for a terminal. Any thread.
std::string copiedReport(const CheckReportModel& report, const ReportHeading& heading,
                         const base::Localization& localization);

}  // namespace halvercine::check
