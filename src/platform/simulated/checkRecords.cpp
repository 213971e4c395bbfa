#include "platform/simulated/checkRecords.h"

#include <algorithm>
#include <utility>

#include "base/Json.h"
#include "base/PrivateFiles.h"
#include "platform/simulated/runCheckTool.h"

namespace halvercine::platform::simulated {
namespace {

constexpr std::size_t requestLimit = 4096;
constexpr std::uint64_t stageUnits = 24000;
constexpr std::uint32_t lastStage = 4;

/// The module's own record, spelled out a second time for the reason that moduleReport.cpp gives.
struct WrittenFrame {
  std::uint32_t stage = 0;
  std::uint64_t scanned = 0;
  std::uint64_t total = 0;
  std::optional<std::uint64_t> warnings;
  std::optional<std::uint64_t> errors;
  std::optional<double> ts;
  std::optional<std::int32_t> pid;
};
BOOST_DESCRIBE_STRUCT(WrittenFrame, (), (stage, scanned, total, warnings, errors, ts, pid))

}  // namespace

std::optional<CheckRequestRead> readCheckRequest(const std::filesystem::path& path) {
  const auto text = base::readRegularFile(path, requestLimit);
  if (!text) return std::nullopt;
  const auto request = base::decodeJson<CheckRequestRead>(*text);
  if (!request) return std::nullopt;
  return *request;
}

std::string checkFrameText(const ScenarioMedia& media, double part, double timestamp,
                           std::optional<std::int32_t> pid) {
  const auto done = static_cast<std::uint64_t>(part * (lastStage + 1) * stageUnits);
  const auto stage = std::min<std::uint64_t>(done / stageUnits, lastStage);
  const auto findings = media.fsck ? media.fsck->issues.size() : 0;
  WrittenFrame frame;
  frame.stage = static_cast<std::uint32_t>(stage);
  frame.scanned = done - stage * stageUnits;
  frame.total = stageUnits;
  frame.warnings = 0;
  frame.errors = static_cast<std::uint64_t>(part * static_cast<double>(findings));
  frame.ts = timestamp;
  frame.pid = pid;
  return base::encodeJson(frame);
}

std::string moduleCheckText(const ScenarioMedia& media, const std::string& diskId, bool isRepair,
                            bool isCancelled) {
  auto report = base::parseJson(checkReportText(media, isRepair)).value_or(boost::json::object());
  if (isCancelled) report.as_object()["cancelled"] = true;
  if (media.fsck && media.fsck->error) report.as_object()["error"] = *media.fsck->error;
  const boost::json::object message{{"report", std::move(report)}, {"diskID", diskId}};
  return base::serializeJson(message);
}

}  // namespace halvercine::platform::simulated
