// NTFS drivers of other vendors, which may take volumes away from this product's file-system
// module.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <boost/describe.hpp>

#include "platform/Containers.h"

namespace halvercine::mount {

struct ThirdPartyDriver {
  enum class Kind {
    file,          ///< driver bundle or kernel extension on disk
    fskitModule,   ///< file-system module that the user has enabled
    launchDaemon,  ///< property list of a vendor's launch daemon
  };
  BOOST_DESCRIBE_NESTED_ENUM(Kind, file, fskitModule, launchDaemon)

  std::string id;    ///< same as `path`, which is found once only
  std::string name;  ///< for people
  std::string path;  ///< where it is on a Mac, or the identifier of the module
  Kind kind = Kind::file;

  bool operator==(const ThirdPartyDriver&) const = default;
};
BOOST_DESCRIBE_STRUCT(ThirdPartyDriver, (), (id, name, path, kind))

/// The drivers on this machine: those in well-known places, then other file-system bundles, enabled
/// modules and launch daemons, each group in the order of its names (modules in the order of their
/// list). Paths that differ in letter case only are the same file on a Mac, and count once. A
/// folder or file that cannot be read contributes nothing. Reads files only; any thread.
std::vector<ThirdPartyDriver> detectThirdPartyDrivers(platform::Containers& containers);

/// What people call the driver whose file or daemon has this name: known vendors by a token in the
/// name, others by the name without its extension.
std::string driverDisplayName(std::string_view fileName);

/// What people call the module with this identifier; unknown ones by the identifier.
std::string moduleLabel(std::string_view identifier);

}  // namespace halvercine::mount
