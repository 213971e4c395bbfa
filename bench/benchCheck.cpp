// Reading and copying large reports of the check tool, beside Boost.JSON on the same text.
#include <cstdint>
#include <string>
#include <utility>

#include <benchmark/benchmark.h>
#include <boost/json/parse.hpp>

#include "base/Json.h"
#include "base/Localization.h"
#include "check/CheckOutput.h"
#include "check/CheckReport.h"
#include "check/copiedReport.h"

namespace {

using namespace halvercine;

constexpr std::size_t manyFindings = 100'000;

check::CheckReportModel reportWith(std::size_t findings, std::size_t messageSize) {
  check::CheckReportModel report;
  report.issues.reserve(findings);
  for (std::size_t i = 0; i < findings; ++i) {
    auto message = "index entry of 旅行/photo-" + std::to_string(i) + ".jpg differs: ";
    if (message.size() < messageSize) message.append(messageSize - message.size(), 'x');
    report.issues.push_back({2, "error", "index.entry", std::move(message), i, i % 4 != 0});
  }
  return report;
}

/// About 50 MB in so many findings, as a shell hands it over.
platform::AdministratorResult largeOutput(benchmark::State& state) {
  constexpr std::size_t size = 50'000'000;
  const auto findings = static_cast<std::size_t>(state.range(0));
  constexpr std::size_t keysSize = 105;
  auto text = base::encodeJson(reportWith(findings, size / findings - keysSize));
  text += "\n__HVL_FSCK_EXIT__:1\n";
  return {0, std::move(text), ""};
}

void bareParse(benchmark::State& state) {
  auto text = largeOutput(state).output;
  text.resize(text.find('\n'));
  for (auto _ : state) benchmark::DoNotOptimize(boost::json::parse(text));
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}
BENCHMARK(bareParse)->Arg(manyFindings)->Arg(3 * manyFindings)->Unit(benchmark::kMillisecond);

void readOutput(benchmark::State& state) {
  const auto result = largeOutput(state);
  for (auto _ : state) benchmark::DoNotOptimize(check::readCheckOutput(result, "failed"));
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(result.output.size()));
}
BENCHMARK(readOutput)->Arg(manyFindings)->Arg(3 * manyFindings)->Unit(benchmark::kMillisecond);

void copyReport(benchmark::State& state) {
  const auto report = reportWith(static_cast<std::size_t>(state.range(0)), 80);
  const base::Localization localization(base::Language::en);
  const check::ReportHeading heading{false, "DATA", "now", "Halvercine"};
  std::int64_t size = 0;
  for (auto _ : state) {
    const auto text = check::copiedReport(report, heading, localization);
    size += static_cast<std::int64_t>(text.size());
    benchmark::DoNotOptimize(text.data());
  }
  state.SetBytesProcessed(size);
}
BENCHMARK(copyReport)->Arg(1000)->Arg(manyFindings)->Unit(benchmark::kMillisecond);

void judgeAndGroup(benchmark::State& state) {
  const auto report = reportWith(manyFindings, 80);
  for (auto _ : state) {
    benchmark::DoNotOptimize(check::judgementKey(report, true));
    benchmark::DoNotOptimize(check::bucketsOf(report));
  }
}
BENCHMARK(judgeAndGroup)->Unit(benchmark::kMillisecond);

}  // namespace
