#include <cerrno>
#include <chrono>
#include <csignal>
#include <optional>
#include <string>
#include <utility>

#include "app/SpeedTestDisplay.h"
#include "app/SpeedTestTarget.h"
#include "app/commands.h"
#include "app/sizeText.h"
#include "app/speedComparison.h"
#include "app/speedReport.h"
#include "base/RepeatingTimer.h"
#include "base/Text.h"
#include "platform/posix/TerminationSignals.h"
#include "speedtest/SpeedTestRunner.h"

namespace halvercine::app {
namespace {

using speedtest::SpeedTestRunner;

/// The user before a running test. The first interrupt stops it, the second one does not wait for
/// an operation that a dead disk never ends.
class SpeedTestAttendance {
 public:
  SpeedTestAttendance(const CommandContext& context, Machine& machine, SpeedTestRunner& runner)
      : context_(context),
        machine_(machine),
        runner_(runner),
        display_(context, runner),
        connection_(runner.changed.connect([this] { display_.update(); })),
        signals_(
            machine.actor(), [this](int signal) { interrupt(signal); },
            platform::posix::TerminationSignals::Hangup::taken),
        abandonment_(*context.platform.clock) {
    abandonment_.start(std::chrono::seconds(1), [this] {
      if (outputIsAbandoned()) interrupt(SIGPIPE);
    });
  }

  /// Until the test is over, however it ends.
  void follow() {
    machine_.actor().runUntil([this] { return !runner_.isRunning(); });
    display_.end();
  }

  bool isHungUp() const { return isHungUp_; }
  /// Nobody reads what the command has to say.
  bool isAbandoned() const { return isAbandoned_; }

 private:
  void interrupt(int signal) {
    isHungUp_ = isHungUp_ || signal == SIGHUP;
    isAbandoned_ = isAbandoned_ || signal == SIGPIPE;
    if (!runner_.isStopping()) {
      runner_.stop();
      if (signal != SIGPIPE) display_.say(context_.text("ui.speedtest.stopping"));
    } else if (signal != SIGPIPE) {
      runner_.abandon();
      machine_.actor().post([] {});
    }
  }

  const CommandContext& context_;
  Machine& machine_;
  SpeedTestRunner& runner_;
  SpeedTestDisplay display_;
  boost::signals2::scoped_connection connection_;
  platform::posix::TerminationSignals signals_;
  base::RepeatingTimer abandonment_;
  bool isHungUp_ = false;
  bool isAbandoned_ = false;
};

void announce(const CommandContext& context, const SpeedTestTarget& target,
              const speedtest::SpeedPlan& plan) {
  const auto writing = std::chrono::ceil<std::chrono::seconds>(plan.writingTime()).count();
  writeDiagnostic("halvercine: " +
                  context.text("ui.speedtest.announce",
                               {sizeText(static_cast<std::int64_t>(plan.fileSize)),
                                std::to_string(plan.fileSize), base::displayText(target.folder),
                                std::to_string(writing)}));
}

ExitStatus statusOf(const speedtest::SpeedTestFailure& failure) {
  const bool isRefused = failure.reason.starts_with("open-failed:") &&
                         (failure.error == EACCES || failure.error == EPERM);
  return isRefused ? ExitStatus::notPermitted : ExitStatus::failed;
}

/// The identifier is the reason up to its number, which has a field of its own.
Answer failed(const CommandContext& context, const speedtest::SpeedTestFailure& why) {
  boost::json::object details;
  if (why.error) details["errno"] = *why.error;
  const auto id =
      why.reason == "generic" ? "speedtest-failed" : why.reason.substr(0, why.reason.find(':'));
  return failure(context.options, statusOf(why), id, why.text.in(context.localization),
                 std::move(details));
}

Answer stopped(const CommandContext& context, const SpeedReport& report, bool isHungUp) {
  auto answer = failure(context.options, isHungUp ? ExitStatus::hungUp : ExitStatus::interrupted,
                        "interrupted", context.text("speed.phase.cancelled"),
                        speedReportJson(context, report));
  if (!context.options.json && !report.runner.results().empty()) {
    answer.output = speedReportText(context, report);
  }
  return answer;
}

Answer answerOf(const CommandContext& context, const SpeedReport& report, bool isHungUp) {
  const auto& runner = report.runner;
  if (const auto& why = runner.failure()) return failed(context, *why);
  if (runner.wasStopped()) return stopped(context, report, isHungUp);
  if (context.options.json) return jsonAnswer(context.options, speedReportJson(context, report));
  return {ExitStatus::done, speedReportText(context, report), ""};
}

/// Adds a remark below what the answer says on standard error.
void addRemark(const CommandContext& context, Answer& answer, std::string_view key) {
  if (!answer.diagnostic.empty()) answer.diagnostic += '\n';
  answer.diagnostic += "halvercine: " + context.text(key);
}

}  // namespace

Answer speedtestCommand(const CommandContext& context, Machine& machine) {
  const auto target = findSpeedTestTarget(context);
  if (!target) return target.error();
  std::optional<EarlierSpeed> earlier;
  if (const auto& file = context.options.compareWith) {
    auto read = readEarlierSpeed(*file);
    if (!read) {
      return failure(context.options, ExitStatus::usage, "comparison-unreadable",
                     base::displayText(*file) + ": " + base::displayText(read.error()));
    }
    earlier = std::move(*read);
  }
  const auto plan = speedtest::speedPlan(context.options.tier, target->fileSystem);
  announce(context, *target, plan);
  SpeedTestRunner runner(machine.actor(), context.platform);
  SpeedTestAttendance attendance(context, machine, runner);
  runner.start(target->folder, plan);
  attendance.follow();
  const SpeedReport report{*target, plan, runner, earlier};
  auto answer = answerOf(context, report, attendance.isHungUp());
  if (attendance.isAbandoned()) answer.diagnostic.clear();
  if (runner.isUncached() == false && !runner.failure() && !attendance.isAbandoned()) {
    addRemark(context, answer, "ui.speedtest.cached");
  }
  if (runner.isFileLeft()) addRemark(context, answer, "ui.speedtest.left");
  return answer;
}

}  // namespace halvercine::app
