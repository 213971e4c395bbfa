// The file-system module's report of one mount.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include <boost/describe.hpp>

#include "mount/ReadOnlyReason.h"

namespace halvercine::mount {

/// What the module leaves in the shared container for each partition that it mounts, as JSON with
/// these keys in this order. A report with an unknown reason is no report.
struct MountAccessReport {
  std::uint64_t deviceID = 0;  ///< registry entry ID of the partition's media object
  std::string bootSession;     ///< text of kern.bootsessionuuid
  double timestamp = 0;        ///< seconds since 1970 (UTC), written or last refreshed
  ReadOnlyReason reason = ReadOnlyReason::readWrite;
  std::optional<std::string> ownerID;  ///< UUID text of the process or session that owns the report

  bool operator==(const MountAccessReport&) const = default;
};
BOOST_DESCRIBE_STRUCT(MountAccessReport, (), (deviceID, bootSession, timestamp, reason, ownerID))

}  // namespace halvercine::mount
