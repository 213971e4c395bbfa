// Running short tools, beside the least that it can take: posix_spawn and reading to the end; and
// reading the output of lsof.
#include <array>
#include <cstdio>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include <benchmark/benchmark.h>
#include <boost/asio/co_spawn.hpp>

#include "base/MainActor.h"
#include "disks/LsofOutput.h"
#include "disks/runTool.h"
#include "platform/posix/AsioClock.h"
#include "platform/posix/PosixToolRunner.h"

extern char** environ;

namespace {

using namespace halvercine;

constexpr const char* tool = "/bin/echo";

void bareSpawn(benchmark::State& state) {
  for (auto _ : state) {
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) return state.SkipWithError("no pipe");
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    ::posix_spawn_file_actions_addclose(&actions, ends[0]);
    ::posix_spawn_file_actions_addclose(&actions, ends[1]);
    std::string name = tool;
    std::string argument = "text";
    std::array<char*, 3> arguments = {name.data(), argument.data(), nullptr};
    pid_t child = 0;
    const int error = ::posix_spawn(&child, tool, &actions, nullptr, arguments.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(ends[1]);
    if (error != 0) return state.SkipWithError("no child");
    std::array<char, 4096> buffer{};
    while (::read(ends[0], buffer.data(), buffer.size()) > 0) {
    }
    ::close(ends[0]);
    ::waitpid(child, nullptr, 0);
  }
}
BENCHMARK(bareSpawn)->Iterations(1000)->UseRealTime()->Unit(benchmark::kMicrosecond);

void runTool(benchmark::State& state) {
  base::MainActor actor;
  platform::posix::AsioClock clock(actor);
  platform::posix::PosixToolRunner runner(actor);
  for (auto _ : state) {
    bool ended = false;
    boost::asio::co_spawn(
        actor.executor(),
        disks::runTool(runner, clock, {.executable = tool, .arguments = {"text"}}),
        [&](const std::exception_ptr&, const disks::ToolResult& result) {
          ended = true;
          if (result.text != "text") state.SkipWithError("wrong answer");
        });
    actor.runUntil([&ended] { return ended; });
  }
}
BENCHMARK(runTool)->Iterations(1000)->UseRealTime()->Unit(benchmark::kMicrosecond);

/// About `size` bytes as a busy Mac would print them: 800 processes, 10 000 files each.
std::string lsofOutput(std::size_t size) {
  std::string output;
  output.reserve(size + 1024);
  for (int process = 1; output.size() < size; ++process) {
    output += "p" + std::to_string(process) + "\ncmdworker_shared\n";
    for (int file = 0; file < 10'000 && output.size() < size; ++file) {
      output += "f" + std::to_string(file) +
                "\nn/System/Library/Frameworks/CoreServices.framework/Versions/A/file" +
                std::to_string(file) + "\n";
    }
    output += "f3\nn/Volumes/USB/last\n";
  }
  return output;
}

void readLsof(benchmark::State& state) {
  constexpr std::size_t pieceSize = 64 * 1024;
  const auto output = lsofOutput(100'000'000);
  std::size_t found = 0;
  for (auto _ : state) {
    disks::LsofOutput parser(std::vector<std::string>{"/Volumes/USB", "/Volumes/Daten 新"});
    for (std::string_view rest = output; !rest.empty();
         rest.remove_prefix(std::min(pieceSize, rest.size()))) {
      parser.add(rest.substr(0, pieceSize));
    }
    found = std::move(parser).occupants().size();
  }
  state.counters["occupants"] = static_cast<double>(found);
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(output.size()));
}
BENCHMARK(readLsof)->Unit(benchmark::kMillisecond);

}  // namespace
