// The mount access report, which the controller expects of whoever mounts an NTFS partition.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include <boost/describe.hpp>

#include "platform/linux/BlockDevice.h"

namespace halvercine::platform::gnulinux {

enum class AccessReason {
  readWrite,
  requested,        ///< a read-only mount was asked for
  deviceProtected,  ///< the device refuses writing
  unsafeVolume,     ///< the volume's state forbids writing: hibernated, not unmounted, marked dirty
  openFailed,       ///< the device could not be opened for writing
};
BOOST_DESCRIBE_ENUM(AccessReason, readWrite, requested, deviceProtected, unsafeVolume, openFailed)

/// Owner of all reports of this tool. It does not stay to keep them fresh: the resident controller
/// does, by this name.
inline constexpr std::string_view diskToolOwner = "7B0F1C52-3D8E-4E0B-9B7A-51D6A0C2F4E9";

/// The file's content.
struct AccessReport {
  std::uint64_t deviceID = 0;
  std::string bootSession;
  double timestamp = 0;
  AccessReason reason = AccessReason::readWrite;
  std::string ownerID;
};
BOOST_DESCRIBE_STRUCT(AccessReport, (), (deviceID, bootSession, timestamp, reason, ownerID))

/// Writes the report of a partition into the shared container of the environment's user. Whoever
/// owns that user's folders owns the file: it is written with their rights. Whether it was written.
bool writeAccessReport(const BlockDevice& device, AccessReason reason);

/// Deletes the partition's report, if there is one.
void removeAccessReport(const BlockDevice& device);

}  // namespace halvercine::platform::gnulinux
