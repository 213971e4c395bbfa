// Whose driver serves an NTFS volume, as the disk tool tells.
#pragma once

#include <string>
#include <string_view>

#include <boost/describe.hpp>

#include "base/Task.h"
#include "disks/DiskUtility.h"

namespace halvercine::mount {

struct PersonalityProbe {
  enum class Owner {
    none,        ///< no NTFS personality, or none that the tool tells of
    system,      ///< the system's own NTFS
    ownEngine,   ///< this product's
    thirdParty,  ///< another vendor's driver
  };
  BOOST_DESCRIBE_NESTED_ENUM(Owner, none, system, ownEngine, thirdParty)

  Owner owner = Owner::none;
  /// Display name of another vendor's driver; of one that nobody knows, the personality itself.
  std::string driver;

  /// What an info text of the tool says.
  static PersonalityProbe of(std::string_view info);

  /// Runs the tool; a failure gives `none`. `utility` outlives the task.
  static base::Task<PersonalityProbe> run(const disks::DiskUtility& utility, std::string bsdName);

  bool operator==(const PersonalityProbe&) const = default;
};

}  // namespace halvercine::mount
