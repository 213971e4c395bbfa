// Finding the disk that the user means.
#pragma once

#include <expected>
#include <string>
#include <string_view>
#include <vector>

#include "app/DiskView.h"

namespace halvercine::app {

/// Why an argument names no disk: none fits, or `candidates` (BSD names) all do.
struct SelectionError {
  std::vector<std::string> candidates;
  bool isAmbiguous() const { return !candidates.empty(); }
};

/// The disk that `argument` names, by the first of these that fits any: BSD name; device path (also
/// of the raw device, or a link to it); volume UUID in any letter case; mount point; volume name,
/// unless the argument is an absolute path. Several that fit in the same way are refused.
std::expected<const DiskView*, SelectionError> selectDisk(const std::vector<DiskView>& disks,
                                                          std::string_view argument);

}  // namespace halvercine::app
