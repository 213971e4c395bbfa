#include "disks/runTool.h"

#include <csignal>
#include <memory>
#include <utility>

#include "base/OneShot.h"
#include "base/Text.h"
#include "base/either.h"
#include "disks/PipeDrain.h"

namespace halvercine::disks {
namespace {

using Exit = base::OneShot<platform::ToolExit>;

/// A child with what its events fill. The events share the parts, which the child may outlive.
struct Run {
  std::shared_ptr<PipeDrain> drain;
  std::shared_ptr<Exit> exit = std::make_shared<Exit>();
  std::unique_ptr<platform::ToolProcess> process;

  explicit Run(std::shared_ptr<PipeDrain> into) : drain(std::move(into)) {}
  Run(const Run&) = delete;
  Run& operator=(const Run&) = delete;
  ~Run() { drain->close(); }
};

std::expected<void, std::string> start(Run& run, platform::ToolRunner& runner,
                                       const platform::ToolInvocation& invocation) {
  auto process = runner.start(
      invocation, {.output = [drain = run.drain](std::string_view bytes) { drain->add(bytes); },
                   .errorOutput = {},
                   .outputEnded = [drain = run.drain] { drain->finish(); },
                   .exited = [exit = run.exit](platform::ToolExit end) { exit->set(end); }});
  if (!process) return std::unexpected(std::move(process.error()));
  run.process = std::move(*process);
  return {};
}

base::Task<platform::ToolExit> exitOrKill(platform::Clock& clock, Run& run) {
  if (auto end = co_await base::withTimeout(clock, watchdogLimit, run.exit->wait())) co_return *end;
  run.process->terminate();
  if (auto end = co_await base::withTimeout(clock, terminationGrace, run.exit->wait())) {
    co_return *end;
  }
  run.process->kill();
  if (auto end = co_await base::withTimeout(clock, terminationGrace, run.exit->wait())) {
    co_return *end;
  }
  co_return platform::ToolExit{SIGKILL, true};
}

base::Task<std::expected<platform::ToolExit, std::string>> runInto(
    std::shared_ptr<PipeDrain> drain, platform::ToolRunner& runner, platform::Clock& clock,
    platform::ToolInvocation invocation) {
  Run run(std::move(drain));
  if (auto started = start(run, runner, invocation); !started) {
    co_return std::unexpected(std::move(started.error()));
  }
  const auto end = co_await exitOrKill(clock, run);
  if (!run.drain->done()) {
    co_await base::withTimeout(clock, drainLimit, run.drain->finished());
  }
  co_return end;
}

std::string decoded(const std::string& bytes) {
  if (base::repairedUtf8(bytes) != bytes) return {};
  return std::string(base::trimmed(bytes));
}

}  // namespace

base::Task<std::expected<platform::ToolExit, std::string>> streamTool(
    platform::ToolRunner& runner, platform::Clock& clock, platform::ToolInvocation invocation,
    std::function<void(std::string_view bytes)> output) {
  return runInto(std::make_shared<PipeDrain>(std::move(output)), runner, clock,
                 std::move(invocation));
}

base::Task<ToolResult> runTool(platform::ToolRunner& runner, platform::Clock& clock,
                               platform::ToolInvocation invocation) {
  const auto drain = std::make_shared<PipeDrain>();
  const auto end = co_await runInto(drain, runner, clock, std::move(invocation));
  if (!end) co_return ToolResult{-1, end.error()};
  if (end->bySignal) co_return ToolResult{end->status, std::string(watchdogText)};
  co_return ToolResult{end->status, decoded(drain->take())};
}

}  // namespace halvercine::disks
