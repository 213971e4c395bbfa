#include "app/speedReport.h"

#include <utility>

#include <boost/json/array.hpp>

#include "app/speedText.h"
#include "base/Json.h"

namespace halvercine::app {
namespace {

std::string_view thermalWord(platform::ThermalState state) {
  switch (state) {
    case platform::ThermalState::nominal:
      return "nominal";
    case platform::ThermalState::fair:
      return "fair";
    case platform::ThermalState::serious:
      return "serious";
    case platform::ThermalState::critical:
      return "critical";
  }
  return "";
}

boost::json::object environmentJson(const speedtest::SpeedTestEnvironment& environment) {
  boost::json::object json{{"onBattery", environment.onBattery}};
  if (environment.thermal) json["thermal"] = thermalWord(*environment.thermal);
  return json;
}

boost::json::array cardsJson(const CommandContext& context, const SpeedReport& report) {
  boost::json::array cards;
  for (const auto& card : report.cards()) {
    cards.push_back({{"key", card.title.key},
                     {"title", card.title.in(context.localization)},
                     {"detailKey", card.detail.key},
                     {"detail", card.detail.in(context.localization)},
                     {"headline", card.isHeadline}});
  }
  return cards;
}

boost::json::array comparisonJson(const SpeedReport& report) {
  boost::json::array cells;
  for (const auto& result : report.runner.results()) {
    const auto* earlier = report.earlier->of(result);
    if (!earlier) continue;
    auto cell = base::toJson(*earlier).as_object();
    if (const auto percent = percentMore(result.mbps, earlier->mbps))
      cell["mbpsPercent"] = *percent;
    cells.push_back(std::move(cell));
  }
  return cells;
}

}  // namespace

std::vector<speedtest::VerdictCard> SpeedReport::cards() const {
  std::optional<bool> isSolidState;
  if (target.view) {
    const auto& disk = target.view->disk;
    // What is behind the disk of a virtual machine only its host knows.
    if (disk.isSSD || disk.connection != "Virtio") isSolidState = disk.isSSD;
  }
  return speedtest::speedVerdict(
      {runner.results(), runner.writeCurve(), runner.environment(), isSolidState});
}

const char* cacheRemark(const speedtest::SpeedTestRunner& runner) {
  if (!runner.pageCache() || runner.results().empty()) return nullptr;
  switch (*runner.pageCache()) {
    case platform::PageCache::off:
      return nullptr;
    case platform::PageCache::smallBlocks:
      return "ui.speedtest.cachedsmall";
    case platform::PageCache::on:
      return "ui.speedtest.cached";
  }
  return nullptr;
}

boost::json::object speedReportJson(const CommandContext& context, const SpeedReport& report) {
  const auto& runner = report.runner;
  boost::json::object json;
  json["folder"] = report.target.folder;
  if (report.target.view) json["disk"] = report.target.view->disk.id;
  json["fileSystem"] = report.target.fileSystem;
  json["tier"] = boost::describe::enum_to_string(context.options.tier, "");
  json["fileSize"] = report.plan.fileSize;
  json["bytesWritten"] = runner.bytesWritten();
  json["fileLeft"] = runner.isFileLeft();
  if (const auto cache = runner.pageCache()) {
    json["uncached"] = cache == platform::PageCache::off;
    json["pageCache"] = boost::describe::enum_to_string(*cache, "");
  }
  if (runner.environment()) json["environment"] = environmentJson(*runner.environment());
  json["results"] = base::toJson(runner.results());
  json["writeCurve"] = base::toJson(runner.writeCurve());
  json["cards"] = cardsJson(context, report);
  if (report.earlier) {
    json["comparison"] = {{"tier", report.earlier->tier}, {"results", comparisonJson(report)}};
  }
  return json;
}

}  // namespace halvercine::app
