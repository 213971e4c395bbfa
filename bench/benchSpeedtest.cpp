// What the speed test's own loop costs, on a file that does nothing, beside reading the clock; and
// its workers together, beside a lock that each takes once for an operation.
#include <mutex>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>

#include "base/MainActor.h"
#include "platform/posix/AsioClock.h"
#include "speedtest/SpeedWork.h"

namespace {

using namespace halvercine;

class IdleFile : public platform::UncachedFile {
 public:
  std::int64_t read(std::span<std::byte> buffer, std::uint64_t) override {
    return static_cast<std::int64_t>(buffer.size());
  }
  std::int64_t write(std::span<const std::byte> data, std::uint64_t) override {
    return static_cast<std::int64_t>(data.size());
  }
  int flush() override { return 0; }
  platform::PageCache pageCache() const override { return platform::PageCache::off; }
  std::size_t bufferAlignment() const override { return 1; }
  int remove() override { return 0; }
};

/// What counting under a lock would add, without the counting.
class LockedFile : public IdleFile {
 public:
  std::int64_t read(std::span<std::byte> buffer, std::uint64_t offset) override {
    const std::lock_guard lock(mutex_);
    return IdleFile::read(buffer, offset);
  }
  std::int64_t write(std::span<const std::byte> data, std::uint64_t offset) override {
    const std::lock_guard lock(mutex_);
    return IdleFile::write(data, offset);
  }

 private:
  std::mutex mutex_;
};

/// One worker of a cell. The window is short enough for every operation to leave a sample.
void speedTestLoop(benchmark::State& state) {
  using speedtest::SpeedCell;
  constexpr SpeedCell cells[] = {
      {speedtest::SpeedProfile::seq1mQ1, speedtest::SpeedDirection::write},
      {speedtest::SpeedProfile::rnd4kQ1, speedtest::SpeedDirection::read}};
  const auto& cell = cells[state.range(0)];
  base::MainActor actor;
  platform::posix::AsioClock clock(actor);
  speedtest::SpeedWork work(clock, std::make_unique<IdleFile>(), 512ULL << 20U);
  std::uint64_t operations = 0;
  for (auto _ : state) {
    const speedtest::SpeedWindow window{clock.uptime(), {}, std::chrono::milliseconds(5)};
    work.counters.reset(true);
    speedtest::measureSlice(work, cell, window, 0);
    operations += work.counters.ops();
    if (work.counters.latenciesCapped()) state.SkipWithError("more operations than samples");
  }
  state.counters["operation"] = benchmark::Counter(
      static_cast<double>(operations), benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

/// All workers of a cell, far beyond the samples that are kept.
template <class File>
void speedTestWorkers(benchmark::State& state) {
  const speedtest::SpeedCell cell{
      state.range(0) == 8 ? speedtest::SpeedProfile::seq1mQ8 : speedtest::SpeedProfile::rnd4kQ32,
      speedtest::SpeedDirection::read};
  const auto workers = speedtest::accessPattern(cell.profile).queueDepth;
  base::MainActor actor;
  platform::posix::AsioClock clock(actor);
  speedtest::SpeedWork work(clock, std::make_unique<File>(), 512ULL << 20U);
  std::uint64_t operations = 0;
  for (auto _ : state) {
    const speedtest::SpeedWindow window{clock.uptime(), {}, std::chrono::milliseconds(200)};
    work.counters.reset(true);
    std::vector<std::thread> threads;
    threads.reserve(workers);
    for (std::size_t worker = 0; worker < workers; ++worker) {
      threads.emplace_back([&, worker] { speedtest::measureSlice(work, cell, window, worker); });
    }
    for (auto& thread : threads) thread.join();
    operations += work.counters.ops();
  }
  state.counters["operation"] = benchmark::Counter(
      static_cast<double>(operations), benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void readingTheClockTwice(benchmark::State& state) {
  base::MainActor actor;
  const platform::posix::AsioClock clock(actor);
  for (auto _ : state) {
    benchmark::DoNotOptimize(clock.uptime());
    benchmark::DoNotOptimize(clock.uptime());
  }
}

BENCHMARK(readingTheClockTwice);
BENCHMARK(speedTestLoop)->ArgName("random")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(speedTestWorkers<IdleFile>)
    ->ArgName("workers")
    ->Arg(8)
    ->Arg(32)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(speedTestWorkers<LockedFile>)
    ->ArgName("workers")
    ->Arg(8)
    ->Arg(32)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace
