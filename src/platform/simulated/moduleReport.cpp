#include "platform/simulated/moduleReport.h"

#include "base/Json.h"

namespace halvercine::platform::simulated {
namespace {

/// The module's own record. It is spelled out here a second time, because the module is another
/// program: reading it with the writer's type would hide a mistake in either.
struct WrittenReport {
  std::uint64_t deviceID;
  std::string bootSession;
  double timestamp;
  std::string reason;
  std::optional<std::string> ownerID;
};
BOOST_DESCRIBE_STRUCT(WrittenReport, (), (deviceID, bootSession, timestamp, reason, ownerID))

}  // namespace

std::string moduleReportName(const std::string& disk) { return "mount-access-" + disk + ".json"; }

std::string moduleReportText(const ScenarioReport& report, std::uint64_t entryId,
                             const std::string& bootSession, WallTime now) {
  if (report.raw) return *report.raw;
  return base::encodeJson(
      WrittenReport{report.deviceID.value_or(entryId), report.bootSession.value_or(bootSession),
                    secondsSince1970(now) - report.age, report.reason, report.ownerID});
}

}  // namespace halvercine::platform::simulated
