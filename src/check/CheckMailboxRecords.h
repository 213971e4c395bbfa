// What the program and the file-system module write to each other about a check.
#pragma once

#include <cstdint>
#include <string>

#include <boost/describe.hpp>

#include "check/CheckReportModel.h"

namespace halvercine::check {

/// The program asks for a check.
struct CheckRequest {
  bool repair = false;         ///< repair instead of only checking
  std::int64_t timestamp = 0;  ///< whole seconds since 1970 (UTC)

  bool operator==(const CheckRequest&) const = default;
};
BOOST_DESCRIBE_STRUCT(CheckRequest, (), (repair, timestamp))

/// The program holds a check, or wants it ended; its being there is the message.
struct CheckFlag {
  std::int64_t timestamp = 0;  ///< whole seconds since 1970 (UTC)

  bool operator==(const CheckFlag&) const = default;
};
BOOST_DESCRIBE_STRUCT(CheckFlag, (), (timestamp))

/// The module's last word.
struct ModuleReport {
  CheckReportModel report;
  std::string diskID;  ///< of the volume, or "unknown"

  bool operator==(const ModuleReport&) const = default;
};
BOOST_DESCRIBE_STRUCT(ModuleReport, (), (report, diskID))

}  // namespace halvercine::check
