// Who serves a volume, as far as a check through the file-system module has to know.
#pragma once

#include <boost/describe.hpp>

#include "disks/Disk.h"

namespace halvercine::check {

enum class MountHolder {
  nobody,   ///< it is not mounted
  module,   ///< mounted, and there is a fresh report of the module on it
  system,   ///< mounted as "ntfs", which is what the system's own driver calls it, and no report
  another,  ///< mounted otherwise, and no report: another vendor's driver, or nobody can tell
};
BOOST_DESCRIBE_ENUM(MountHolder, nobody, module, system, another)

/// `disk` is null when the volume is not there.
MountHolder mountHolder(const disks::Disk* disk, bool hasFreshReport);

}  // namespace halvercine::check
