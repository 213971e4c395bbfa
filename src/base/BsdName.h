// The names of disks and partitions: "disk4", "disk4s1".
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace halvercine::base {

/// Whether `name` is a partition's: "disk", digits, "s", digits, and nothing else. ASCII digits
/// only.
bool isPartitionName(std::string_view name);

/// The whole disk of a BSD name: its leading "disk" with the digits behind it ("disk4" for
/// "disk4s1" and for "disk4s1s1"). Nothing when the text does not begin like that.
std::optional<std::string> wholeDiskName(std::string_view name);

/// The "s" and digits at the end of a BSD name ("s2" for "disk5s2"); empty when there is none.
std::string_view partitionSuffix(std::string_view name);

/// "/dev/" and the name.
std::string devicePath(std::string_view name);

/// Whether `left` comes before `right` in a list: by the numbers in them, disk2 before disk10.
bool comesBefore(std::string_view left, std::string_view right);

}  // namespace halvercine::base
