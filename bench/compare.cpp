// Runs two commands in turn and prints how long each takes from being started to being gone, and
// how much memory it needs: compare RUNS COMMAND [ARGUMENT]... -- COMMAND [ARGUMENT]...
//
// Taking turns puts whatever else the machine does on both. The commands' standard output is
// dropped.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <vector>

namespace {

struct Command {
  char** arguments;           // ends with a null
  std::vector<double> times;  // milliseconds, from being started to being gone
  std::vector<double> work;   // milliseconds on a processor, the system's part included
  long peak = 0;              // KiB of resident memory
};

double quantile(std::vector<double> values, double part) {
  std::sort(values.begin(), values.end());
  return values[static_cast<std::size_t>(part * static_cast<double>(values.size() - 1))];
}

double milliseconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
}

/// False when the command cannot be started or fails.
bool run(Command& command, const posix_spawn_file_actions_t& quiet) {
  using Clock = std::chrono::steady_clock;
  const auto begin = Clock::now();
  pid_t child = 0;
  if (posix_spawnp(&child, command.arguments[0], &quiet, nullptr, command.arguments, environ) !=
      0) {
    return false;
  }
  int status = 0;
  rusage usage{};
  if (wait4(child, &status, 0, &usage) != child) return false;
  const std::chrono::duration<double, std::milli> taken = Clock::now() - begin;
  command.times.push_back(taken.count());
  command.work.push_back(milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime));
  command.peak = std::max(command.peak, usage.ru_maxrss);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

void print(const Command& command) {
  std::printf("%9.2f %9.2f %9.2f %9.2f %9.1f   ", quantile(command.times, 0.5),
              quantile(command.times, 0), quantile(command.times, 0.9), quantile(command.work, 0.5),
              static_cast<double>(command.peak) / 1024);
  for (char** argument = command.arguments; *argument; ++argument) {
    const char* name = argument == command.arguments ? std::strrchr(*argument, '/') : nullptr;
    std::printf("%s%s", argument == command.arguments ? "" : " ", name ? name + 1 : *argument);
  }
  std::printf("\n");
}

/// The two commands, or nothing when the command line is wrong.
std::optional<std::vector<Command>> commandsOf(int argc, char** argv) {
  std::vector<Command> commands;
  int start = 2;
  for (int index = 2; index <= argc; ++index) {
    if (index < argc && std::strcmp(argv[index], "--") != 0) continue;
    if (index == start) return std::nullopt;
    argv[index] = nullptr;
    commands.push_back({argv + start, {}, {}});
    start = index + 1;
  }
  if (commands.size() != 2) return std::nullopt;
  return commands;
}

}  // namespace

int main(int argc, char** argv) {
  const int runs = argc > 1 ? std::atoi(argv[1]) : 0;
  auto commands = commandsOf(argc, argv);
  if (runs < 1 || !commands) {
    std::fputs("usage: compare RUNS COMMAND [ARGUMENT]... -- COMMAND [ARGUMENT]...\n", stderr);
    return 2;
  }
  posix_spawn_file_actions_t quiet;
  posix_spawn_file_actions_init(&quiet);
  posix_spawn_file_actions_addopen(&quiet, 1, "/dev/null", O_WRONLY, 0);
  constexpr int warmUps = 5;  // the files come into memory
  for (int turn = -warmUps; turn < runs; ++turn) {
    for (auto& command : *commands) {
      if (turn == 0) {
        command.times.clear();
        command.work.clear();
      }
      if (run(command, quiet)) continue;
      std::fprintf(stderr, "compare: %s failed\n", command.arguments[0]);
      return 1;
    }
  }
  std::printf("   median  fastest   9 of 10  CPU time  peak MiB   (milliseconds)\n");
  for (const auto& command : *commands) print(command);
  std::printf("%9.2f times the median of the other\n\n",
              quantile((*commands)[0].times, 0.5) / quantile((*commands)[1].times, 0.5));
}
