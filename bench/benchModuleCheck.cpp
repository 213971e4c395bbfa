// One round of following a check through the module, beside the same looks at the same files alone.
#include <filesystem>
#include <fstream>
#include <stdlib.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include <benchmark/benchmark.h>

#include "OneContainer.h"
#include "base/Json.h"
#include "base/PrivateFiles.h"
#include "check/CheckMailbox.h"
#include "check/ExecutorProbe.h"
#include "check/ModuleCheckSequence.h"
#include "platform/posix/PosixProcesses.h"

namespace {

using namespace halvercine;
using bench::OneContainer;

/// A mailbox with a check under way, deleted at the end.
class RunningCheck {
 public:
  RunningCheck() {
    auto name = (std::filesystem::temp_directory_path() / "halvercine-bench-XXXXXX").string();
    if (::mkdtemp(name.data())) containers_.path = name;
    mailbox = check::CheckMailbox::open(containers_, "disk4s1");
    const check::CheckProgressSnapshot frame{.stage = 1,
                                             .scanned = 123'456,
                                             .total = 4'000'000,
                                             .warnings = 1,
                                             .errors = 2,
                                             .ts = 1'760'000'000.125,
                                             .pid = ::getpid()};
    std::ofstream(mailbox->progressPath()) << base::encodeJson(frame);
  }
  ~RunningCheck() {
    std::error_code ignored;
    std::filesystem::remove_all(containers_.path, ignored);
  }
  RunningCheck(const RunningCheck&) = delete;
  RunningCheck& operator=(const RunningCheck&) = delete;

 private:
  OneContainer containers_;

 public:
  std::optional<check::CheckMailbox> mailbox;
};

void pollRound(benchmark::State& state) {
  const RunningCheck running;
  platform::posix::PosixProcesses processes;
  check::ExecutorProbe probe(processes);
  check::ReportReading reading;
  check::ModuleCheckSequence sequence{platform::Uptime(0)};
  for (auto _ : state) {
    check::ModuleCheckRound round;
    round.requestWaits = running.mailbox->requestWaits();
    round.frame = running.mailbox->readProgress();
    if (!round.frame || !probe.isAlive(*round.frame->pid)) state.SkipWithError("no check");
    round.reportAccepted = running.mailbox->readReport(reading).has_value();
    benchmark::DoNotOptimize(sequence.next(round));
  }
}

void lookingAtTheFilesAlone(benchmark::State& state) {
  const RunningCheck running;
  for (auto _ : state) {
    struct stat status {};
    benchmark::DoNotOptimize(::lstat(running.mailbox->requestPath().c_str(), &status));
    benchmark::DoNotOptimize(base::readRegularFile(running.mailbox->progressPath(), 64 * 1024));
    benchmark::DoNotOptimize(::lstat(running.mailbox->reportPath().c_str(), &status));
  }
}

BENCHMARK(lookingAtTheFilesAlone)->Unit(benchmark::kMicrosecond);
BENCHMARK(pollRound)->Unit(benchmark::kMicrosecond);

}  // namespace
