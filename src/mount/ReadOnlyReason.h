// Why the file-system module mounted a volume with the access that it has.
#pragma once

#include <boost/describe.hpp>

namespace halvercine::mount {

/// The module's reason. Its reports carry the enumerator's name as a text.
enum class ReadOnlyReason {
  readWrite,         ///< mounted writable
  requested,         ///< a read-only mount was asked for
  deviceProtected,   ///< the device refused writing
  resourceReadOnly,  ///< the system handed the module a read-only resource
  unsafeVolume,      ///< the volume's state forbids writing
  openFailed,        ///< the device could not be opened for writing
  eowSafety,         ///< the module's own rule withheld writing
};
BOOST_DESCRIBE_ENUM(ReadOnlyReason, readWrite, requested, deviceProtected, resourceReadOnly,
                    unsafeVolume, openFailed, eowSafety)

}  // namespace halvercine::mount
