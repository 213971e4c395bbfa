// What a scenario lets be found on a volume, and by whom.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <boost/describe.hpp>

namespace halvercine::platform::simulated {

/// One finding of the check tool.
struct ScenarioIssue {
  static constexpr std::string_view requiredKeys[] = {"message"};

  std::int64_t level = 2;
  std::string severity = "error";
  std::string code = "index.entry";
  std::string message;
  std::optional<std::uint64_t> record;
  bool repairable = true;
};
BOOST_DESCRIBE_STRUCT(ScenarioIssue, (), (level, severity, code, message, record, repairable))

/// What the check tool finds on a volume.
struct ScenarioFsck {
  std::vector<ScenarioIssue> issues;
  std::int64_t findings = 0;  ///< so many more, made up
  bool dirty = false;
  std::optional<std::uint64_t> deepOmitted;
  std::optional<bool> treeStats;
  std::optional<std::string> error;  ///< printed instead of a report
};
BOOST_DESCRIBE_STRUCT(ScenarioFsck, (), (issues, findings, dirty, deepOmitted, treeStats, error))

/// How the file-system module behaves when it is asked to check a volume.
struct ScenarioCheck {
  bool claims = true;                 ///< takes requests at all
  double claimAfter = 0.5;            ///< seconds from seeing a request to taking it
  double seconds = 6;                 ///< from taking it to the last frame
  double frameSeconds = 0.5;          ///< between two frames
  double reportDelay = 0;             ///< seconds from the end of the work to the report
  std::optional<std::int32_t> pid;    ///< in the frames; 0: none
  bool obeys = true;                  ///< heeds the pause and cancel flags
  double cancelSeconds = 0.2;         ///< from seeing the cancel flag to the report
  std::optional<double> stallsAfter;  ///< seconds of work until it gets nowhere any more
  bool heartbeat = false;             ///< then goes on sending frames that say the same
  std::optional<double> diesAfter;    ///< seconds from taking the request to the process's end
  std::int64_t deaths = 1;            ///< how often it dies
  bool reusesPid = false;             ///< another process gets the number of the dead one
  bool torn = false;                  ///< files are half written at first
  bool strangersReport = false;       ///< another disk's report comes first
  std::optional<std::string> diskID;  ///< in the report
};
BOOST_DESCRIBE_STRUCT(ScenarioCheck, (),
                      (claims, claimAfter, seconds, frameSeconds, reportDelay, pid, obeys,
                       cancelSeconds, stallsAfter, heartbeat, diesAfter, deaths, reusesPid, torn,
                       strangersReport, diskID))

}  // namespace halvercine::platform::simulated
