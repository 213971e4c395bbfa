#include "platform/simulated/SimulatedToolRunner.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <filesystem>
#include <utility>

#include "platform/simulated/runDiskutil.h"
#include "platform/simulated/runLsof.h"
#include "platform/simulated/runOsascript.h"

namespace halvercine::platform::simulated {
namespace {

PreparedRun prepare(const std::shared_ptr<SimulatedMachine>& machine,
                    const ToolInvocation& invocation, ScenarioTool script) {
  const auto& arguments = invocation.arguments;
  if (invocation.executable == osascriptPath) {
    return prepareOsascript(*machine, arguments, std::move(script));
  }
  const bool isDiskutil = invocation.executable == diskutilPath;
  return {std::move(script), [&machine = *machine, arguments, isDiskutil] {
            return isDiskutil ? runDiskutil(machine, arguments) : runLsof(machine, arguments);
          }};
}

/// One run, shared by its process and nobody else: what waits for the clock or the actor holds it
/// weakly, so that the run ends with its process.
class Run : public std::enable_shared_from_this<Run> {
 public:
  Run(std::shared_ptr<SimulatedMachine> machine, std::shared_ptr<Clock> clock,
      const ToolInvocation& invocation, ScenarioTool script, ToolEvents events)
      : machine_(std::move(machine)),
        clock_(std::move(clock)),
        errors_(invocation.errors),
        prepared_(prepare(machine_, invocation, std::move(script))),
        script_(prepared_.script),
        events_(std::move(events)) {}

  void begin() {
    const auto duration = uptimeOf(script_.seconds.value_or(standardSeconds));
    timer_ = clock_->callAt(clock_->uptime() + duration, [weak = weak_from_this()] {
      if (const auto run = weak.lock()) run->work();
    });
  }

  void signalLater(int signal) {
    machine_->actor().post([weak = weak_from_this(), signal] {
      if (const auto run = weak.lock()) run->receive(signal);
    });
  }

  void abandon() {
    isOver_ = true;
    clock_->cancel(timer_);
  }

 private:
  void receive(int signal) {
    if (isOver_ || (signal == SIGTERM && script_.ignoresTerminate)) return;
    clock_->cancel(timer_);
    end({signal, true});
  }

  void work() {
    auto answer = doesItsWork(script_) ? prepared_.perform() : ToolAnswer();
    if (script_.text) answer = {answer.status, *script_.text, ""};
    if (script_.errors) answer.errors = *script_.errors;
    printMegabytes();
    print(answer);
    if (isOver_ || script_.hang) return;
    if (script_.signal) return end({*script_.signal, true});
    end({script_.status.value_or(answer.status), false});
  }

  void printMegabytes() {
    // Lines, in pieces as large as a pipe's.
    static const std::string piece = std::string(64 * 1024 - 1, '.') + '\n';
    const auto pieces = script_.megabytes.value_or(0) * 16;
    for (std::int64_t i = 0; i < pieces; ++i) emit(events_.output, piece);
  }

  void print(const ToolAnswer& answer) {
    if (!answer.output.empty()) emit(events_.output, answer.output);
    if (answer.errors.empty()) return;
    const bool apart = errors_ == ToolInvocation::Errors::apart;
    emit(apart ? events_.errorOutput : events_.output, answer.errors);
  }

  void end(ToolExit exit) {
    emit(events_.outputEnded);
    emit(events_.exited, exit);
    isOver_ = true;
  }

  /// Any event may be the one in which the process is destroyed.
  template <class Event, class... Arguments>
  void emit(const Event& event, const Arguments&... arguments) {
    if (!isOver_ && event) event(arguments...);
  }

  std::shared_ptr<SimulatedMachine> machine_;
  std::shared_ptr<Clock> clock_;
  ToolInvocation::Errors errors_;
  PreparedRun prepared_;
  const ScenarioTool& script_;  // the prepared one
  ToolEvents events_;
  TimerId timer_ = 0;
  bool isOver_ = false;
};

class SimulatedToolProcess : public ToolProcess {
 public:
  explicit SimulatedToolProcess(std::shared_ptr<Run> run) : run_(std::move(run)) {}
  ~SimulatedToolProcess() override { run_->abandon(); }

  void terminate() override { run_->signalLater(SIGTERM); }
  void kill() override { run_->signalLater(SIGKILL); }

 private:
  std::shared_ptr<Run> run_;
};

}  // namespace

std::expected<std::unique_ptr<ToolProcess>, std::string> SimulatedToolRunner::start(
    const ToolInvocation& invocation, ToolEvents events) {
  const auto name = std::filesystem::path(invocation.executable).filename().string();
  constexpr std::array known{diskutilPath, lsofPath, osascriptPath};
  if (std::ranges::find(known, invocation.executable) == known.end()) {
    return std::unexpected("The file “" + name + "” doesn’t exist.");
  }
  auto script = machine_->toolScripts().next(name, invocation.arguments);
  if (script.startError) return std::unexpected(*script.startError);
  auto run =
      std::make_shared<Run>(machine_, clock_, invocation, std::move(script), std::move(events));
  run->begin();
  return std::make_unique<SimulatedToolProcess>(std::move(run));
}

}  // namespace halvercine::platform::simulated
