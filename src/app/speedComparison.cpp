#include "app/speedComparison.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <boost/describe.hpp>

#include "app/Answer.h"
#include "app/readUserFile.h"
#include "base/Json.h"
#include "base/Text.h"

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
struct UnfinishedDocument {
  struct Error {
    std::string id;
  };
  int format = 0;
  std::string command;
  Error error;
};
BOOST_DESCRIBE_STRUCT(UnfinishedDocument::Error, (), (id))
BOOST_DESCRIBE_STRUCT(UnfinishedDocument, (), (format, command, error))

template <class Document>
bool isOfSpeedtest(const Document& document) {
  return document && document->format == jsonFormat && document->command == "speedtest";
}

}  // namespace

const speedtest::SpeedCellResult* EarlierSpeed::of(const speedtest::SpeedCellResult& result) const {
  const auto found = std::ranges::find_if(results, [&](const auto& earlier) {
    return earlier.profile == result.profile && earlier.direction == result.direction;
  });
  return found == results.end() ? nullptr : &*found;
}

std::expected<EarlierSpeed, base::LocalizedText> readEarlierSpeed(const std::string& path) {
  const auto refused = [name = base::displayText(path)](std::string_view key) {
    return std::unexpected(base::LocalizedText{key, {name}});
  };
  const auto text = readUserFile(path, sizeLimit);
  if (!text) {
    return std::unexpected(
        base::LocalizedText{"ui.speedtest.compare.unreadable",
                            {base::displayText(path), base::displayText(text.error())}});
  }
  if (isOfSpeedtest(base::decodeJson<UnfinishedDocument>(*text))) {
    return refused("ui.speedtest.compare.unfinished");
  }
  auto document = base::decodeJson<EarlierDocument>(*text);
  if (!isOfSpeedtest(document) || !std::ranges::all_of(document->result.results, isPlausible)) {
    return refused("ui.speedtest.compare.other");
  }
  if (document->result.results.empty()) return refused("ui.speedtest.compare.empty");
  return EarlierSpeed{std::move(document->result.tier), std::move(document->result.results)};
}

std::optional<double> percentMore(double now, double earlier) {
  const auto percent = (now / earlier - 1) * 100;
  return std::isfinite(percent) ? std::optional(percent) : std::nullopt;
}

}  // namespace halvercine::app
