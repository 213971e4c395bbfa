// Measures single cells of the speed test on request: speedCells FOLDER MEBIBYTES
//
// Makes and fills a test file, prints its path and "direct" or "cached", and then answers each line
// "PROFILE DIRECTION WARMUP WINDOW" (seconds) of standard input with "MBPS IOPS MEAN P99 CPU": the
// latencies and the processor time of an operation in microseconds. The file is deleted at the end
// of the input.
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>
#include <sys/resource.h>
#include <unistd.h>

#include <boost/describe.hpp>

#include "base/MainActor.h"
#include "platform/linux/directIo.h"
#include "platform/posix/AsioClock.h"
#include "platform/posix/PosixUncachedFiles.h"
#include "platform/posix/PosixWorkerThreads.h"
#include "speedtest/SpeedWork.h"

namespace {

using namespace halvercine;

double processorSeconds() {
  rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

platform::Uptime duration(double seconds) {
  return std::chrono::duration_cast<platform::Uptime>(std::chrono::duration<double>(seconds));
}

class Cells {
 public:
  Cells(std::unique_ptr<platform::UncachedFile> file, std::uint64_t size)
      : work_(clock_, std::move(file), size) {}
  ~Cells() { work_.file->remove(); }

  bool fill() {
    work_.counters.reset(false);
    run(1, [this](std::size_t worker) {
      speedtest::fillSlice(work_, speedtest::mebibyte, 1, worker);
    });
    return work_.counters.transferred() == work_.fileSize;
  }

  void measure(const speedtest::SpeedCell& cell, double warmup, double window) {
    const auto pattern = speedtest::accessPattern(cell.profile);
    const auto before = processorSeconds();
    const speedtest::SpeedWindow when{clock_.uptime(), duration(warmup), duration(window)};
    work_.counters.reset(true);
    run(pattern.queueDepth,
        [&](std::size_t worker) { speedtest::measureSlice(work_, cell, when, worker); });
    const auto measured = when.measured(clock_.uptime());
    const auto operations =
        static_cast<double>(work_.counters.transferred()) / static_cast<double>(pattern.blockSize);
    const auto processor = (processorSeconds() - before) * 1e6 / operations;
    // More operations than samples are kept leave no percentile; the engine says so too.
    const auto result = work_.counters.result(cell, measured);
    std::printf("%.3f %.1f %.3f %.3f %.4f\n", result.mbps, result.iops, result.avgLatencyUs,
                result.p99LatencyUs.value_or(-1), processor);
    std::fflush(stdout);
  }

 private:
  void run(std::size_t count, std::function<void(std::size_t)> work) {
    bool hasEnded = false;
    const auto group =
        threads_.start(count, std::move(work), [&](std::exception_ptr) { hasEnded = true; });
    actor_.runUntil([&] { return hasEnded; });
  }

  base::MainActor actor_;
  platform::posix::AsioClock clock_{actor_};
  platform::posix::PosixWorkerThreads threads_{actor_};
  speedtest::SpeedWork work_;
};

}  // namespace

int main(int argc, char** argv) {
  const auto mebibytes = argc == 3 ? std::strtoull(argv[2], nullptr, 10) : 0;
  if (mebibytes == 0) {
    std::fputs("usage: speedCells FOLDER MEBIBYTES\n", stderr);
    return 2;
  }
  // The input ends with whoever asks; the file is then deleted.
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) std::signal(signal, SIG_IGN);
  const auto name = ".halvercine-speedbench." + std::to_string(::getpid());
  platform::posix::PosixUncachedFiles files(platform::gnulinux::switchCachingOff);
  auto file = files.create(argv[1], name);
  if (!file) {
    std::fprintf(stderr, "speedCells: no file in %s\n", argv[1]);
    return 1;
  }
  const bool isDirect = (*file)->pageCache() == platform::PageCache::off;
  Cells cells(std::move(*file), mebibytes * 1024 * 1024);
  if (!cells.fill()) {
    std::fputs("speedCells: the file could not be filled\n", stderr);
    return 1;
  }
  std::printf("%s/%s %s\n", argv[1], name.c_str(), isDirect ? "direct" : "cached");
  std::fflush(stdout);
  std::string profile;
  std::string direction;
  double warmup = 0;
  double window = 0;
  while (std::cin >> profile >> direction >> warmup >> window) {
    speedtest::SpeedCell cell;
    if (!boost::describe::enum_from_string(profile.c_str(), cell.profile) ||
        !boost::describe::enum_from_string(direction.c_str(), cell.direction)) {
      std::fputs("speedCells: no such cell\n", stderr);
      return 2;
    }
    cells.measure(cell, warmup, window);
  }
  return 0;
}
