// Reading the whole mailbox, beside the least that it can take: opening and reading the same files.
#include <filesystem>
#include <fstream>
#include <optional>
#include <stdlib.h>
#include <string>
#include <unistd.h>

#include <benchmark/benchmark.h>

#include "OneContainer.h"
#include "base/Directory.h"
#include "base/Json.h"
#include "base/VirtualClock.h"
#include "bitlocker/BitLockerMailbox.h"

namespace {

using namespace halvercine;
using bench::OneContainer;

constexpr std::size_t recordLimit = 64 * 1024;

/// A mailbox with `count` status files, deleted at the end.
class FilledMailbox {
 public:
  explicit FilledMailbox(std::int64_t count) {
    auto name = (std::filesystem::temp_directory_path() / "halvercine-bench-XXXXXX").string();
    if (::mkdtemp(name.data())) containers_.path = name;
    bitlocker::Status status;
    status.bsdName = "disk4s1";
    status.label = "Backup";
    status.timestamp = 1'760'000'000.125;
    status.state = "locked";
    for (std::int64_t number = 0; number < count; ++number) {
      status.guid = "4967D63B-2E29-4AD8-8399-" + std::to_string(100'000'000'000 + number);
      std::ofstream(*mailbox.statusURL(status.guid)) << base::encodeJson(status);
    }
  }
  ~FilledMailbox() {
    std::error_code ignored;
    std::filesystem::remove_all(containers_.path, ignored);
  }
  FilledMailbox(const FilledMailbox&) = delete;
  FilledMailbox& operator=(const FilledMailbox&) = delete;

  const std::filesystem::path& path() const { return containers_.path; }

 private:
  OneContainer containers_;
  base::VirtualClock clock_{platform::WallTime{}};

 public:
  bitlocker::BitLockerMailbox mailbox{containers_, clock_};
};

void allStatuses(benchmark::State& state) {
  const FilledMailbox filled(state.range(0));
  for (auto _ : state) {
    const auto statuses = filled.mailbox.allStatuses();
    if (statuses.size() != static_cast<std::size_t>(state.range(0))) {
      state.SkipWithError("records are missing");
    }
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void readingTheFilesAlone(benchmark::State& state) {
  const FilledMailbox filled(state.range(0));
  for (auto _ : state) {
    const auto directory = base::Directory::open(filled.path());
    for (const auto& name : directory->names()) {
      benchmark::DoNotOptimize(directory->read(name, recordLimit));
    }
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

BENCHMARK(readingTheFilesAlone)->Arg(10)->Arg(1'000)->Arg(10'000)->Unit(benchmark::kMicrosecond);
BENCHMARK(allStatuses)->Arg(10)->Arg(1'000)->Arg(10'000)->Unit(benchmark::kMicrosecond);

}  // namespace
