// How a check or repair ended.
#pragma once

#include <string>
#include <variant>

#include "check/CheckReportModel.h"

namespace halvercine::check {

/// The run went through; what it found is in the report.
struct CheckSucceeded {
  CheckReportModel report;
  bool operator==(const CheckSucceeded&) const = default;
};

/// The run could not be completed.
struct CheckFailed {
  std::string message;  ///< a localized sentence, the tool's own error, or a diagnostic text
  bool operator==(const CheckFailed&) const = default;
};

/// The user cancelled it, or refused to authenticate.
struct CheckCancelled {
  bool operator==(const CheckCancelled&) const = default;
};

/// The tool was not let at the raw device: the user has to grant full disk access first.
struct CheckNeedsFullDiskAccess {
  bool operator==(const CheckNeedsFullDiskAccess&) const = default;
};

/// The system's own driver serves the volume, so the file-system module never saw the request.
/// Comes from a check through the module only.
struct CheckModuleBypassed {
  bool operator==(const CheckModuleBypassed&) const = default;
};

using CheckOutcome = std::variant<CheckSucceeded, CheckFailed, CheckCancelled,
                                  CheckNeedsFullDiskAccess, CheckModuleBypassed>;

}  // namespace halvercine::check
