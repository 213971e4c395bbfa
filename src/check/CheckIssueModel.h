// One finding of the check tool.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include <boost/describe.hpp>

namespace halvercine::check {

/// As the check tool and the file-system module write it, with these keys in this order.
struct CheckIssueModel {
  std::int64_t level = 0;               ///< the severity as a number
  std::string severity;                 ///< the severity as a word
  std::string code;                     ///< for machines
  std::string message;                  ///< for people, shown as it stands
  std::optional<std::uint64_t> record;  ///< number of the MFT record that it is about
  bool repairable = false;              ///< the tool itself can repair it

  bool operator==(const CheckIssueModel&) const = default;
};
BOOST_DESCRIBE_STRUCT(CheckIssueModel, (), (level, severity, code, message, record, repairable))

}  // namespace halvercine::check
