#include "app/speedComparison.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <boost/describe.hpp>

#include "app/Answer.h"
#include "app/readUserFile.h"
#include "base/Json.h"

namespace halvercine::app {
namespace {

// Far above what the program prints.
constexpr std::size_t sizeLimit = 4 * 1024 * 1024;

struct EarlierResult {
  std::string tier;
  std::vector<speedtest::SpeedCellResult> results;
};
BOOST_DESCRIBE_STRUCT(EarlierResult, (), (tier, results))

struct EarlierDocument {
  int format = 0;
  std::string command;
  EarlierResult result;
};
BOOST_DESCRIBE_STRUCT(EarlierDocument, (), (format, command, result))

/// Nothing measured, or a figure that some medium could have.
bool isPossible(double figure) { return figure == 0 || (figure >= 1e-6 && figure <= 1e9); }

bool isPlausible(const speedtest::SpeedCellResult& result) {
  return isPossible(result.mbps) && isPossible(result.iops) && isPossible(result.avgLatencyUs) &&
         isPossible(result.p99LatencyUs.value_or(0));
}

/// What a test that did not come to its end has printed.
bool isUnfinished(const std::string& text) {
  const auto document = base::parseJson(text);
  const auto* object = document ? document->if_object() : nullptr;
  return object != nullptr && object->contains("error");
}

}  // namespace

const speedtest::SpeedCellResult* EarlierSpeed::of(const speedtest::SpeedCellResult& result) const {
  const auto found = std::ranges::find_if(results, [&](const auto& earlier) {
    return earlier.profile == result.profile && earlier.direction == result.direction;
  });
  return found == results.end() ? nullptr : &*found;
}

std::expected<EarlierSpeed, std::string> readEarlierSpeed(const std::string& path) {
  const auto text = readUserFile(path, sizeLimit);
  if (!text) return std::unexpected(text.error());
  if (isUnfinished(*text)) return std::unexpected("that test was stopped or failed");
  auto document = base::decodeJson<EarlierDocument>(*text);
  if (!document) return std::unexpected(std::move(document.error().message));
  if (document->format != jsonFormat || document->command != "speedtest" ||
      !std::ranges::all_of(document->result.results, isPlausible)) {
    return std::unexpected("not a result of speedtest --json");
  }
  if (document->result.results.empty()) return std::unexpected("no cell was measured in that test");
  return EarlierSpeed{std::move(document->result.tier), std::move(document->result.results)};
}

std::optional<double> percentMore(double now, double earlier) {
  const auto percent = (now / earlier - 1) * 100;
  return std::isfinite(percent) ? std::optional(percent) : std::nullopt;
}

}  // namespace halvercine::app
