#include "platform/simulated/SimulatedToolRunner.h"

#include <csignal>
#include <filesystem>
#include <utility>

#include "platform/simulated/runDiskutil.h"
#include "platform/simulated/runLsof.h"

namespace halvercine::platform::simulated {
namespace {

constexpr double standardSeconds = 0.05;

bool doesItsWork(const ScenarioTool& script) {
  if (script.then) return *script.then == "do";
  return !script.status && !script.text && !script.signal && !script.hang;
}

/// One run, shared by its process and nobody else: what waits for the clock or the actor holds it
/// weakly, so that the run ends with its process.
class Run : public std::enable_shared_from_this<Run> {
 public:
  Run(std::shared_ptr<SimulatedMachine> machine, std::shared_ptr<Clock> clock,
      ToolInvocation invocation, ScenarioTool script, ToolEvents events)
      : machine_(std::move(machine)),
        clock_(std::move(clock)),
        invocation_(std::move(invocation)),
        script_(std::move(script)),
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
    auto answer = doesItsWork(script_) ? perform() : ToolAnswer();
    if (script_.text) answer = {answer.status, *script_.text, ""};
    printMegabytes();
    print(answer);
    if (isOver_ || script_.hang) return;
    if (script_.signal) return end({*script_.signal, true});
    end({script_.status.value_or(answer.status), false});
  }

  ToolAnswer perform() {
    return invocation_.executable == diskutilPath ? runDiskutil(*machine_, invocation_.arguments)
                                                  : runLsof(*machine_, invocation_.arguments);
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
    const bool apart = invocation_.errors == ToolInvocation::Errors::apart;
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
  ToolInvocation invocation_;
  ScenarioTool script_;
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
  if (invocation.executable != diskutilPath && invocation.executable != lsofPath) {
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
