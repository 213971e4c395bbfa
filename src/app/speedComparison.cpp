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

bool isPlausible(const speedtest::SpeedCellResult& result) {
  return std::isfinite(result.mbps) && result.mbps >= 0 && std::isfinite(result.iops) &&
         result.iops >= 0;
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
  auto document = base::decodeJson<EarlierDocument>(*text);
  if (!document) return std::unexpected(std::move(document.error().message));
  if (document->format != jsonFormat || document->command != "speedtest" ||
      !std::ranges::all_of(document->result.results, isPlausible)) {
    return std::unexpected("not a result of speedtest --json");
  }
  return EarlierSpeed{std::move(document->result.tier), std::move(document->result.results)};
}

std::optional<double> percentMore(double now, double earlier) {
  if (!(earlier > 0)) return std::nullopt;
  return (now / earlier - 1) * 100;
}

}  // namespace halvercine::app
