#include "speedtest/SpeedTestRunner.h"

#include <atomic>
#include <cerrno>
#include <future>
#include <new>
#include <span>
#include <stdexcept>
#include <string>

#include <gmock/gmock.h>

#include "support/SimulatedFixture.h"

namespace halvercine::speedtest {
namespace {

using namespace std::chrono_literals;
using Phase = SpeedTestRunner::Phase;

/// A small file and short windows: the whole grid is some thousand operations.
constexpr SpeedPlan smallPlan{16 * mebibyte, 100ms, 600ms, 600ms, 600ms};

/// A mounted volume on a medium with this law, and a runner.
struct Bench : tests::SimulatedFixture {
  explicit Bench(const std::string& storage, const std::string& mount = "{}",
                 const std::string& system = "{}")
      : SimulatedFixture(
            R"([{"disk": "disk4", "volumes": [{"disk": "disk4s1", "name": "DATA", "kind": "ntfs",
                "mount": )" +
                mount + R"(, "storage": )" + storage + "}]}]",
            system) {}

  void run(SpeedPlan plan = smallPlan) {
    ASSERT_TRUE(runner.start("/Volumes/DATA", plan));
    actor.runUntil([this] { return !runner.isRunning(); });
  }

  /// Runs until the runner is in this state, then stops it.
  void stopAt(const std::function<bool()>& isThere) {
    ASSERT_TRUE(runner.start("/Volumes/DATA", smallPlan));
    ASSERT_TRUE(actor.runUntil(isThere));
    runner.stop();
    actor.runUntil([this] { return !runner.isRunning(); });
  }

  bool isClean() {
    return mac.machine().storage().files().empty() && mac.machine().sleepAssertions() == 0;
  }

  SpeedTestRunner runner{actor, platform};
};

TEST(SpeedTestRunnerTest, FiguresAreThoseOfTheMedium) {
  struct Row {
    const char* storage;
    // of seq1mQ8 and rnd4kQ32 writing, then of seq1mQ1 and rnd4kQ1 reading
    double writeMs[2];
    double readMs[2];
    double channels;
  };
  // With as many channels as workers everybody works alone; with one they stand in line.
  const Row rows[] = {
      {R"({"channels": 32, "read": [{"us": 5000, "usPerMiB": 0}],
           "write": [{"us": 10000, "usPerMiB": 0}]})",
       {10, 10},
       {5, 5},
       32},
      {R"({"channels": 1, "read": [{"us": 4000, "usPerMiB": 6000}],
           "write": [{"us": 4000, "usPerMiB": 6000}]})",
       {10, 4.0234375},
       {10, 4.0234375},
       1},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.storage);
    Bench bench(row.storage);
    bench.run({16 * mebibyte, 200ms, 700ms, 700ms, 700ms});  // a queue of 32 is full after 0.13 s
    ASSERT_EQ(bench.runner.phase(), Phase::idle);
    ASSERT_EQ(bench.runner.results().size(), speedCells.size());
    for (std::size_t index = 0; index < speedCells.size(); ++index) {
      const auto& result = bench.runner.results()[index];
      const auto pattern = accessPattern(result.profile);
      SCOPED_TRACE(index);
      EXPECT_EQ((SpeedCell{result.profile, result.direction}), speedCells[index]);
      const auto& laws = result.direction == SpeedDirection::write ? row.writeMs : row.readMs;
      const auto serviceMs = laws[pattern.isRandom ? 1 : 0];
      const auto depth = static_cast<double>(pattern.queueDepth);
      const auto parallel = std::min(depth, row.channels);
      // One operation of each channel may begin within the measured 0.5 s and end outside.
      EXPECT_NEAR(result.iops, parallel * 1000 / serviceMs, parallel / 0.5);
      EXPECT_NEAR(result.avgLatencyUs, serviceMs * depth / parallel * 1000, 1);
      EXPECT_NEAR(result.p99LatencyUs.value_or(0), serviceMs * depth / parallel * 1000, 1);
      EXPECT_DOUBLE_EQ(result.mbps * 1e6, result.iops * static_cast<double>(pattern.blockSize));
    }
    EXPECT_TRUE(bench.isClean());
  }
}

TEST(SpeedTestRunnerTest, AFullQueueIsCountedNeitherLowNorHigh) {
  // Two operations in line for each of four channels, each tenth takes ten times as long: 1.9 times
  // the common time in the mean. The last ones of a window end up to 0.2 s behind it.
  Bench queue(R"({"channels": 4, "read": [{"us": 10000, "usPerMiB": 0}], "slowUs": 90000,
                  "slowEvery": 10})");
  queue.run({16 * mebibyte, 0s, 10ms, 4s, 10ms});
  const double law = 4 / 0.019;
  EXPECT_NEAR(queue.runner.results().at(1).iops, law, 0.04 * law);
}

TEST(SpeedTestRunnerTest, TheWarmUpIsInNoFigure) {
  // The first 64 MiB, of which 16 are the file, are written ten times as slowly: 0.48 s of the
  // cell.
  Bench bench(
      R"({"write": [{"us": 10000, "usPerMiB": 0}, {"fromGiB": 0.0625, "us": 1000, "usPerMiB": 0}]})");
  bench.run({16 * mebibyte, 500ms, 1s, 100ms, 100ms});
  const auto& result = bench.runner.results()[0];
  EXPECT_NEAR(result.mbps, 1048.6, 5);
  EXPECT_DOUBLE_EQ(result.p99LatencyUs.value_or(0), 8000);
  const auto& curve = bench.runner.writeCurve();
  ASSERT_GE(curve.size(), 3u);
  EXPECT_NEAR(curve.front().mbps, 104.86, 9);
  EXPECT_NEAR(curve.back().mbps, 1048.6, 9);

  Bench never(R"({"write": [{"us": 10000}]})");
  never.run({16 * mebibyte, 600ms, 500ms, 700ms, 700ms});
  EXPECT_EQ(never.runner.results()[0].mbps, 0);
  EXPECT_EQ(never.runner.results()[0].p99LatencyUs, std::nullopt);
}

TEST(SpeedTestRunnerTest, TheBytesThatWereWrittenAreCounted) {
  // 16 operations fill the file, then each of four cells writes for 0.65 s.
  Bench bench(
      R"({"channels": 1, "write": [{"us": 100000, "usPerMiB": 0}], "read": [{"us": 100000}]})");
  bench.run({16 * mebibyte, 100ms, 650ms, 650ms, 650ms});
  // Six end within the window; what each worker has begun by then is written to its end.
  const auto sequential = (6 + 8) + (6 + 1);
  const auto random = (6 + 32) + (6 + 1);
  EXPECT_EQ(bench.runner.bytesWritten(), (16 + sequential) * mebibyte + random * 4096);
}

TEST(SpeedTestRunnerTest, AVolumeWithExactlyEnoughSpaceIsAccepted) {
  const auto free = [](std::uint64_t bytes) {
    return R"({"blockSize": 1, "availableBlocks": )" + std::to_string(bytes) + "}";
  };
  constexpr auto enough = smallPlan.fileSize + 512 * mebibyte;
  const std::pair<std::string, std::optional<SpeedTestFailure>> rows[] = {
      {free(enough), {}},
      {free(enough - 1), SpeedTestFailure::insufficientFree()},
      // Without statistics the volume's own word counts, and nobody's word is no full volume.
      {R"({"statfsFails": true, "importantUsage": 10})", SpeedTestFailure::insufficientFree()},
      {R"({"statfsFails": true})", SpeedTestFailure::generic()},
      {R"({"blockSize": 0})", SpeedTestFailure::generic()}};
  for (const auto& [mount, failure] : rows) {
    Bench bench("{}", mount);
    bench.run({16 * mebibyte, 0s, 10ms, 10ms, 10ms});
    EXPECT_EQ(bench.runner.failure(), failure) << mount;
    EXPECT_EQ(bench.runner.phase(), failure ? Phase::failed : Phase::idle) << mount;
  }
}

TEST(SpeedTestRunnerTest, ErrorsEndTheRunAndLeaveNothing) {
  struct Row {
    const char* storage;
    std::optional<SpeedTestFailure> expected;
    std::size_t results;
  };
  const Row rows[] = {
      {R"({"openError": "EPERM", "openErrors": 1})", {}, 8},
      {R"({"openError": "EACCES", "openErrors": 2})", SpeedTestFailure::openFailed(EACCES), 0},
      {R"({"openError": "EROFS"})", SpeedTestFailure::openFailed(EROFS), 0},
      {R"({"openError": "ENOENT", "openErrors": 1})", SpeedTestFailure::openFailed(ENOENT), 0},
      {R"({"writeError": "ENOSPC", "writeErrorAfterMiB": 8})", SpeedTestFailure::ioFailed(ENOSPC),
       0},
      {R"({"writeError": "EIO", "writeErrorAfterMiB": 17})", SpeedTestFailure::ioFailed(EIO), 0},
      {R"({"readError": "EIO", "readErrorAfterMiB": 1})", SpeedTestFailure::ioFailed(EIO), 1}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.storage);
    Bench bench(row.storage);
    bench.run({16 * mebibyte, 0s, 50ms, 50ms, 50ms});
    EXPECT_EQ(bench.runner.failure(), row.expected);
    EXPECT_EQ(bench.runner.results().size(), row.results);
    EXPECT_TRUE(bench.isClean());
  }
}

TEST(SpeedTestRunnerTest, AStopLeavesNothingInAnyPhase) {
  const auto* const storage = R"({"read": [{"us": 20000}], "write": [{"us": 20000}]})";
  for (std::size_t cells = 0; cells <= 2; ++cells) {
    Bench bench(storage);
    bench.stopAt([&] { return bench.runner.results().size() == cells && bench.runner.cell(); });
    EXPECT_EQ(bench.runner.phase(), Phase::idle);
    EXPECT_TRUE(bench.runner.wasStopped());
    EXPECT_EQ(bench.runner.results().size(), cells) << "half a cell is none";
    EXPECT_TRUE(bench.isClean());
    bench.run();
    EXPECT_FALSE(bench.runner.wasStopped());
    EXPECT_EQ(bench.runner.results().size(), speedCells.size());
  }
  for (const double filled : {0.0, 0.3}) {
    Bench bench(storage);
    bench.stopAt([&] { return bench.runner.prepareProgress() >= filled; });
    EXPECT_TRUE(bench.runner.wasStopped());
    EXPECT_LT(bench.runner.prepareProgress(), 1);
    EXPECT_TRUE(bench.isClean());
  }
}

/// Test files that do something of their own before they are made, written or deleted.
class HookedFiles : public platform::UncachedFiles {
 public:
  explicit HookedFiles(std::unique_ptr<platform::UncachedFiles> files) : files_(std::move(files)) {}

  std::expected<std::unique_ptr<platform::UncachedFile>, int> create(
      const std::string& folder, const std::string& name) override {
    auto file = files_->create(folder, name);
    if (created) created();
    if (!file) return file;
    return std::make_unique<File>(std::move(*file), *this);
  }
  void removeAbandoned(const std::string&, const std::string&) override {}

  std::function<void()> created;  ///< on the background thread, with the file there
  std::function<std::size_t(std::uint64_t offset, std::size_t size)> written;  ///< bytes taken
  std::function<void()> removing;  ///< on the background thread
  std::function<void()> closing;   ///< when the last owner lets it go
  bool isMemoryShort = false;      ///< once the file is there
  int flushes = 0;

 private:
  class File : public platform::UncachedFile {
   public:
    File(std::unique_ptr<platform::UncachedFile> file, HookedFiles& files)
        : file_(std::move(file)), files_(files) {}
    ~File() override {
      if (files_.closing) files_.closing();
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    std::int64_t read(std::span<std::byte> buffer, std::uint64_t offset) override {
      return file_->read(buffer, offset);
    }
    std::int64_t write(std::span<const std::byte> data, std::uint64_t offset) override {
      const auto size = files_.written ? files_.written(offset, data.size()) : data.size();
      return file_->write(data.first(size), offset);
    }
    int flush() override {
      ++files_.flushes;
      return file_->flush();
    }
    platform::PageCache pageCache() const override { return file_->pageCache(); }
    std::size_t bufferAlignment() const override {
      if (files_.isMemoryShort) throw std::bad_alloc();
      return file_->bufferAlignment();
    }
    int remove() override {
      if (files_.removing) files_.removing();
      return file_->remove();
    }

   private:
    std::unique_ptr<platform::UncachedFile> file_;
    HookedFiles& files_;
  };

  std::unique_ptr<platform::UncachedFiles> files_;
};

/// A bench whose files are hooked.
struct HookedBench : Bench {
  explicit HookedBench(const std::string& storage = R"({"write": [{"us": 10000}]})")
      : Bench(storage) {
    auto made = std::make_unique<HookedFiles>(std::move(platform.uncachedFiles));
    files = made.get();
    platform.uncachedFiles = std::move(made);
  }

  /// A hook that holds its background thread until `left` is set, and lets `isHeld` be known.
  std::function<void()> hold() {
    return [this] {
      actor.post([this] { isHeld = true; });
      left.get_future().wait();
    };
  }

  HookedFiles* files;
  bool isHeld = false;
  std::promise<void> left;
};

TEST(SpeedTestRunnerTest, ARunThatIsAbandonedOrDestroyedDeletesItsFile) {
  for (const bool isBeingMade : {true, false}) {
    for (const bool isAbandoned : {true, false}) {
      HookedBench bench(R"({"read": [{"us": 20000}], "write": [{"us": 20000}]})");
      if (isBeingMade) bench.files->created = bench.hold();
      std::optional<SpeedTestRunner> runner(std::in_place, bench.actor, bench.platform);
      runner->start("/Volumes/DATA", smallPlan);
      bench.actor.runUntil([&] { return bench.isHeld || runner->cell(); });
      if (isAbandoned) {
        runner->abandon();
        EXPECT_TRUE(runner->wasStopped());
        EXPECT_TRUE(runner->isFileLeft()) << "nobody knows";
      } else {
        runner.reset();
      }
      bench.left.set_value();
      bench.actor.runUntil([] { return false; });
      EXPECT_TRUE(bench.isClean());
    }
  }
}

TEST(SpeedTestRunnerTest, WhatWasFoundStaysWhileTheFileIsDeleted) {
  const std::pair<const char*, std::optional<SpeedTestFailure>> rows[] = {
      {R"({"write": [{"us": 10000}]})", {}},
      {R"({"writeError": "EIO", "writeErrorAfterMiB": 8})", SpeedTestFailure::ioFailed(EIO)}};
  for (const auto& [storage, failure] : rows) {
    for (const bool isAbandoned : {true, false}) {
      HookedBench bench(storage);
      bench.files->removing = bench.hold();
      bench.runner.start("/Volumes/DATA", {16 * mebibyte, 0s, 50ms, 50ms, 50ms});
      bench.actor.runUntil([&bench] { return bench.isHeld; });
      bench.runner.stop();
      if (isAbandoned) bench.runner.abandon();
      bench.left.set_value();
      bench.actor.runUntil([] { return false; });
      EXPECT_EQ(bench.runner.failure(), failure);
      EXPECT_EQ(bench.runner.results().size(), failure ? 0u : 8u);
      EXPECT_FALSE(bench.runner.wasStopped());
      EXPECT_EQ(bench.runner.isFileLeft(), isAbandoned);
      EXPECT_TRUE(bench.isClean());
    }
  }
}

TEST(SpeedTestRunnerTest, TheMainActorNeitherDeletesNorClosesTheFile) {
  HookedBench bench;
  std::vector<bool> wasOnMainActor;
  bench.files->removing = [&] { wasOnMainActor.push_back(bench.actor.isCurrent()); };
  bench.files->closing = bench.files->removing;
  bench.run({16 * mebibyte, 0s, 50ms, 50ms, 50ms});
  bench.actor.runUntil([] { return false; });
  EXPECT_THAT(wasOnMainActor, testing::ElementsAre(false, false));
}

TEST(SpeedTestRunnerTest, AFaultOnTheMainActorLeavesNoFile) {
  Bench bench(R"({"write": [{"us": 10000}]})");
  std::optional<SpeedTestRunner> runner(std::in_place, bench.actor, bench.platform);
  runner->changed.connect([&] {
    if (!runner->liveCurve().empty()) throw std::runtime_error("a fault");
  });
  runner->start("/Volumes/DATA", smallPlan);
  EXPECT_THROW(bench.actor.runUntil([&] { return !runner->isRunning(); }), std::runtime_error);
  EXPECT_FALSE(bench.isClean());
  runner.reset();
  EXPECT_TRUE(bench.actor.settleBackground(10s));
  EXPECT_TRUE(bench.isClean());
}

/// File systems of which another one gets mounted over all.
class CoveredFileSystems : public platform::FileSystems {
 public:
  explicit CoveredFileSystems(std::unique_ptr<platform::FileSystems> covered)
      : covered_(std::move(covered)) {}

  std::optional<platform::FileSystemStatistics> statistics(const std::string& path) override {
    auto statistics = covered_->statistics(path);
    if (isCovered && statistics) statistics->mountedFrom = "tmpfs";
    return statistics;
  }
  platform::VolumeResourceValues resourceValues(const std::string& path) override {
    return covered_->resourceValues(path);
  }

  std::atomic<bool> isCovered{false};

 private:
  std::unique_ptr<platform::FileSystems> covered_;
};

TEST(SpeedTestRunnerTest, NothingIsWrittenToAnotherVolume) {
  for (const bool isLate : {true, false}) {
    HookedBench bench;
    auto made = std::make_unique<CoveredFileSystems>(std::move(bench.platform.fileSystems));
    auto& fileSystems = *made;
    bench.platform.fileSystems = std::move(made);
    if (isLate) bench.files->created = [&] { fileSystems.isCovered = true; };
    fileSystems.isCovered = !isLate;
    int writes = 0;
    bench.files->written = [&writes](std::uint64_t, std::size_t size) { return ++writes, size; };
    ASSERT_TRUE(bench.runner.start("/Volumes/DATA", smallPlan, "/dev/disk4s1"));
    bench.actor.runUntil([&] { return !bench.runner.isRunning(); });
    EXPECT_EQ(bench.runner.failure(), SpeedTestFailure::openFailed(ENXIO));
    EXPECT_EQ(writes, 0);
    EXPECT_TRUE(bench.isClean());
  }
}

/// Another clock, of whose timers each third one is late.
class LateClock : public platform::Clock {
 public:
  explicit LateClock(std::unique_ptr<platform::Clock> clock) : clock_(std::move(clock)) {}

  platform::WallTime now() const override { return clock_->now(); }
  platform::Uptime uptime() const override { return clock_->uptime(); }
  platform::TimerId callAt(platform::Uptime deadline, std::function<void()> action) override {
    return clock_->callAt(deadline + (++timers_ % 3 == 0 ? 245ms : 0ms), std::move(action));
  }
  void cancel(platform::TimerId timer) override { clock_->cancel(timer); }

 private:
  std::unique_ptr<platform::Clock> clock_;
  int timers_ = 0;
};

TEST(SpeedTestRunnerTest, ALateBeatOfTheClockMakesNoPointOfItsOwn) {
  Bench bench(R"({"write": [{"us": 10000, "usPerMiB": 0}]})");
  bench.platform.clock = std::make_unique<LateClock>(std::move(bench.platform.clock));
  SpeedTestRunner runner(bench.actor, bench.platform);
  runner.start("/Volumes/DATA", {16 * mebibyte, 0s, 3s, 10ms, 10ms});
  bench.actor.runUntil([&runner] { return !runner.isRunning(); });
  EXPECT_GE(runner.writeCurve().size(), 5u);
  for (const auto& sample : runner.writeCurve()) EXPECT_NEAR(sample.mbps, 104.86, 8);
}

TEST(SpeedTestRunnerTest, WithoutMemoryForTheBuffersTheFileGoes) {
  HookedBench bench;
  bench.files->isMemoryShort = true;
  bench.run();
  EXPECT_EQ(bench.runner.failure(), SpeedTestFailure::generic());
  EXPECT_TRUE(bench.isClean());
}

TEST(SpeedTestRunnerTest, AnExceptionOfOneWorkerEndsTheOthers) {
  HookedBench bench;
  int writes = 0;
  bench.files->written = [&](std::uint64_t, std::size_t size) {
    if (++writes == 20) throw std::runtime_error("a fault");  // the file takes 16
    return size;
  };
  const auto begin = bench.platform.clock->uptime();
  bench.run({16 * mebibyte, 0s, 1h, 1s, 1s});
  EXPECT_EQ(bench.runner.failure(), SpeedTestFailure::generic());
  EXPECT_LT(bench.platform.clock->uptime() - begin, 1min) << "the window is an hour";
  EXPECT_TRUE(bench.isClean());
}

TEST(SpeedTestRunnerTest, AWriteThatComesShortIsGoneOnWithInWholeUnits) {
  HookedBench bench;
  std::vector<std::uint64_t> unaligned;
  bench.files->written = [&](std::uint64_t offset, std::size_t size) {
    if (offset % 4096 != 0) unaligned.push_back(offset);
    return offset == 2 * mebibyte ? std::size_t{6000} : size;
  };
  bench.run({16 * mebibyte, 0s, 50ms, 50ms, 50ms});
  EXPECT_EQ(bench.runner.phase(), Phase::idle);
  EXPECT_THAT(unaligned, testing::IsEmpty());
  EXPECT_EQ(bench.runner.prepareProgress(), 1);
  EXPECT_EQ(bench.files->flushes, 1);
}

TEST(SpeedTestRunnerTest, AShortTransferOfACellEndsThatWorkerAlone) {
  HookedBench bench(R"({"channels": 8, "write": [{"us": 10000, "usPerMiB": 0}]})");
  int begun = 0;
  bench.files->written = [&](std::uint64_t, std::size_t size) {
    return ++begun == 20 ? size / 2 : size;  // 16 fill the file: the fourth worker's first
  };
  bench.run({16 * mebibyte, 0s, 1s, 1s, 1s});
  EXPECT_EQ(bench.runner.phase(), Phase::idle);
  EXPECT_NEAR(bench.runner.results().at(0).iops, 7 * 100, 8) << "of eight workers";
  // When it ends them all, there is nothing that could be called a speed.
  HookedBench none;
  begun = 0;
  none.files->written = [&](std::uint64_t, std::size_t size) {
    return ++begun > 16 ? size / 2 : size;
  };
  none.run({16 * mebibyte, 0s, 1s, 1s, 1s});
  EXPECT_EQ(none.runner.failure(), SpeedTestFailure::generic());
  EXPECT_TRUE(none.runner.results().empty());
}

TEST(SpeedTestRunnerTest, ADiskThatIsUnpluggedEndsTheRun) {
  Bench machine(R"({"read": [{"us": 20000}], "write": [{"us": 20000}]})");
  machine.platform.clock->callAt(2s, [&machine] { machine.mac.machine().unplug("disk4"); });
  auto& runner = machine.runner;
  int ends = 0;
  runner.finishHandler = [&ends] { ++ends; };
  ASSERT_TRUE(runner.start("/Volumes/DATA", smallPlan));
  EXPECT_FALSE(runner.start("/Volumes/DATA", smallPlan)) << "one at a time";
  machine.actor.runUntil([&] { return !runner.isRunning(); });
  EXPECT_EQ(runner.failure(), SpeedTestFailure::ioFailed(ENXIO));
  EXPECT_NEAR(std::chrono::duration<double>(machine.platform.clock->uptime()).count(), 2, 0.1);
  EXPECT_TRUE(runner.isFileLeft()) << "it went with the disk";
  EXPECT_EQ(ends, 1);
}

TEST(SpeedTestRunnerTest, TheEnvironmentIsThatOfTheStart) {
  Bench bench(R"({"pageCache": "on"})", "{}", R"({"onBattery": true, "thermal": "serious"})");
  bench.run({16 * mebibyte, 0s, 10ms, 10ms, 10ms});
  EXPECT_EQ(bench.runner.environment(),
            (SpeedTestEnvironment{true, platform::ThermalState::serious}));
  EXPECT_EQ(bench.runner.pageCache(), platform::PageCache::on);
}

TEST(SpeedPlanTest, OnlyTheLargestFileIsSmallerOnFat) {
  EXPECT_EQ(speedPlan(SpeedSizeTier::endurance, "msdos").fileSize, 2048 * mebibyte);
  EXPECT_EQ(speedPlan(SpeedSizeTier::endurance, "exfat").fileSize, 4096 * mebibyte);
  EXPECT_EQ(speedPlan(SpeedSizeTier::standard, "msdos"),
            speedPlan(SpeedSizeTier::standard, "ntfs"));
}

}  // namespace
}  // namespace halvercine::speedtest
