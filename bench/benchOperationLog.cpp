// The operation log, beside the least that it can take: writing or reading the same bytes.
#include <filesystem>
#include <fstream>
#include <optional>
#include <stdlib.h>
#include <string>

#include <benchmark/benchmark.h>

#include "OneContainer.h"
#include "base/PrivateFiles.h"
#include "base/VirtualClock.h"
#include "operations/OperationLog.h"
#include "operations/logLines.h"

namespace {

using namespace halvercine;
using bench::OneContainer;
using operations::OperationLog;

constexpr std::string_view message = "Remounted to make the volume writable（Holiday pictures）";

/// A log with `count` entries in a folder of its own, deleted at the end.
class FilledLog {
 public:
  explicit FilledLog(std::int64_t count) {
    auto name = (std::filesystem::temp_directory_path() / "halvercine-bench-XXXXXX").string();
    if (::mkdtemp(name.data())) containers_.path = name;
    for (std::int64_t number = 0; number < count; ++number) {
      text_ += *operations::encodeLine(operations::makeEntry(clock_.now(), "takeover", message));
    }
    open();
    restore();
  }
  ~FilledLog() {
    std::error_code ignored;
    std::filesystem::remove_all(containers_.path, ignored);
  }
  FilledLog(const FilledLog&) = delete;
  FilledLog& operator=(const FilledLog&) = delete;

  void restore() {
    if (text_.empty()) {
      std::filesystem::remove(file());
    } else {
      base::replacePrivateFile(file(), text_);
    }
    open();
  }

  void open() { log_.emplace(containers_, clock_); }
  OperationLog& log() { return *log_; }
  std::filesystem::path file() const { return *log_->fileURL(); }
  const std::string& text() const { return text_; }

 private:
  OneContainer containers_;
  base::VirtualClock clock_{platform::WallTime(std::chrono::hours(500'000))};
  std::string text_;
  std::optional<OperationLog> log_;
};

/// The log has so many entries before each addition.
void addToLog(benchmark::State& state) {
  FilledLog filled(state.range(0));
  const bool staysAsItIs = state.range(0) == std::int64_t{OperationLog::limit};
  for (auto _ : state) {
    if (!staysAsItIs) {
      state.PauseTiming();
      filled.restore();
      state.ResumeTiming();
    }
    filled.log().add("takeover", message);
  }
}

void appendALineAlone(benchmark::State& state) {
  const FilledLog filled(state.range(0));
  const auto line = filled.text().substr(0, filled.text().find('\n') + 1);
  for (auto _ : state) {
    std::ofstream(filled.file(), std::ios::app) << line;
  }
}

void replaceTheFileAlone(benchmark::State& state) {
  const FilledLog filled(state.range(0));
  for (auto _ : state)
    benchmark::DoNotOptimize(base::replacePrivateFile(filled.file(), filled.text()));
}

void loadLog(benchmark::State& state) {
  FilledLog filled(state.range(0));
  for (auto _ : state) {
    filled.open();
    if (filled.log().entries().size() != static_cast<std::size_t>(state.range(0))) {
      state.SkipWithError("entries are missing");
    }
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(filled.text().size()));
}

void readTheFileAlone(benchmark::State& state) {
  const FilledLog filled(state.range(0));
  for (auto _ : state) {
    benchmark::DoNotOptimize(base::readRegularFile(filled.file(), filled.text().size()));
  }
}

void exportLog(benchmark::State& state) {
  FilledLog filled(state.range(0));
  for (auto _ : state) benchmark::DoNotOptimize(filled.log().exportText());
}

BENCHMARK(appendALineAlone)->Arg(2'000)->Unit(benchmark::kMicrosecond);
BENCHMARK(replaceTheFileAlone)->Arg(2'000)->Unit(benchmark::kMicrosecond);
BENCHMARK(addToLog)->Arg(0)->Arg(1'999)->Arg(2'000)->Iterations(300)->Unit(benchmark::kMicrosecond);
BENCHMARK(readTheFileAlone)->Arg(2'000)->Unit(benchmark::kMicrosecond);
BENCHMARK(loadLog)->Arg(2'000)->Unit(benchmark::kMicrosecond);
BENCHMARK(exportLog)->Arg(2'000)->Unit(benchmark::kMicrosecond);

}  // namespace
