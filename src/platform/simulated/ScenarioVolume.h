// How a scenario has a volume mounted, and served by the file-system module.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <boost/describe.hpp>

namespace halvercine::platform::simulated {

/// How a volume is mounted: what `statfs` and the volume's resource values say.
struct ScenarioMount {
  std::optional<std::string> path;
  std::optional<std::string> type;
  std::optional<std::string> from;
  bool readOnly = false;
  std::uint64_t blockSize = 4096;
  std::optional<std::uint64_t> blocks;
  std::optional<std::uint64_t> availableBlocks;
  std::optional<std::optional<std::int64_t>> importantUsage;
  std::optional<std::optional<std::int64_t>> available;
  std::optional<std::optional<std::string>> volumeName;
  bool statfsFails = false;
};
BOOST_DESCRIBE_STRUCT(ScenarioMount, (),
                      (path, type, from, readOnly, blockSize, blocks, availableBlocks,
                       importantUsage, available, volumeName, statfsFails))

/// The file-system module's report on a mount.
struct ScenarioReport {
  std::string reason = "readWrite";
  double age = 0;  ///< seconds before the moment of writing
  std::optional<std::uint64_t> deviceID;
  std::optional<std::string> bootSession;
  std::optional<std::string> ownerID;
  std::optional<std::string> raw;  ///< written instead of a report
};
BOOST_DESCRIBE_STRUCT(ScenarioReport, (), (reason, age, deviceID, bootSession, ownerID, raw))

/// One text, or a list of them.
struct TextOrList {
  std::vector<std::string> texts;
};

/// Which driver mounts a volume when the system is asked to, and how the file-system module serves
/// it.
struct ScenarioModule {
  std::string driver = "module";     ///< "module", "system", or another vendor's name
  TextOrList mounts{{"readWrite"}};  ///< what the module reports, mount by mount; the last stays
  double refreshSeconds = 60;        ///< between two writings of the report; 0: written once
  double reportDelay = 0;            ///< seconds from the mount to its report
  std::optional<double> diesAfter;   ///< seconds from the mount to the module's end
};
BOOST_DESCRIBE_STRUCT(ScenarioModule, (), (driver, mounts, refreshSeconds, reportDelay, diesAfter))

}  // namespace halvercine::platform::simulated
