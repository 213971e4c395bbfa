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

/// Where nobody is left who could interrupt again, so long a disk has to answer.
constexpr std::chrono::seconds unattendedPatience{5};

void announce(const CommandContext& context, SpeedTestDisplay& display,
              const SpeedTestTarget& target, const speedtest::SpeedPlan& plan) {
  const auto writing = std::chrono::ceil<std::chrono::seconds>(plan.writingTime()).count();
  display.say(context.text(
      "ui.speedtest.announce",
      {sizeText(static_cast<std::int64_t>(plan.fileSize)), std::to_string(plan.fileSize),
       base::displayText(target.folder), std::to_string(writing)}));
}

/// The user before a running test. They are told what it writes before it does. The first interrupt
/// stops it, the second one does not wait for an operation that a dead disk never ends.
class SpeedTestAttendance {
 public:
  SpeedTestAttendance(const CommandContext& context, Machine& machine, SpeedTestRunner& runner,
                      const SpeedTestTarget& target, const speedtest::SpeedPlan& plan)
      : context_(context),
        machine_(machine),
        runner_(runner),
        target_(target),
        plan_(plan),
        display_(context, runner),
        connection_(runner.changed.connect([this] { update(); })),
        signals_(
            machine.actor(), [this](int signal) { interrupt(signal); },
            platform::posix::TerminationSignals::Hangup::taken,
            platform::posix::TerminationSignals::Quit::taken),
        abandonment_(*context.platform.clock) {
    abandonment_.start(std::chrono::seconds(1), [this] {
      if (outputIsAbandoned()) interrupt(SIGPIPE);
      const bool isUnattended = isHungUp_ || isAbandoned_;
      if (isUnattended && stoppedFor() >= unattendedPatience) leave();
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
    if (!runner_.isRunning()) return;
    if (!stoppedAt_) {
      stoppedAt_ = context_.platform.clock->uptime();
      runner_.stop();
      if (signal != SIGPIPE) display_.say(context_.text("ui.speedtest.stopping"));
    } else if (signal != SIGPIPE && stoppedFor() >= signals_.untilSecond) {
      leave();
    }
  }

  platform::Uptime stoppedFor() const {
    return stoppedAt_ ? context_.platform.clock->uptime() - *stoppedAt_ : platform::Uptime{};
  }

  void leave() {
    runner_.abandon();
    machine_.actor().post([] {});
  }

  void update() {
    // The file is there, and empty.
    if (runner_.pageCache() && !isAnnounced_ && !stoppedAt_) {
      isAnnounced_ = true;
      announce(context_, display_, target_, plan_);
    }
    display_.update();
  }

  const CommandContext& context_;
  Machine& machine_;
  SpeedTestRunner& runner_;
  const SpeedTestTarget& target_;
  const speedtest::SpeedPlan& plan_;
  SpeedTestDisplay display_;
  boost::signals2::scoped_connection connection_;
  platform::posix::TerminationSignals signals_;
  base::RepeatingTimer abandonment_;
  std::optional<platform::Uptime> stoppedAt_;
  bool isAnnounced_ = false;
  bool isHungUp_ = false;
  bool isAbandoned_ = false;
};

ExitStatus statusOf(const speedtest::SpeedTestFailure& failure) {
  const bool isRefused = failure.reason.starts_with("open-failed:") &&
                         (failure.error == EACCES || failure.error == EPERM);
  return isRefused ? ExitStatus::notPermitted : ExitStatus::failed;
}

/// What the cells that were measured say stays worth reading when a later one was not.
Answer withResults(const CommandContext& context, const SpeedReport& report, Answer answer) {
  if (!context.options.json && !report.runner.results().empty()) {
    answer.output = speedReportText(context, report);
  }
  return answer;
}

/// The identifier is the reason up to its number, which has a field of its own.
Answer failed(const CommandContext& context, const SpeedReport& report,
              const speedtest::SpeedTestFailure& why) {
  boost::json::object details;
  if (report.runner.pageCache()) details = speedReportJson(context, report);  // it has begun
  if (why.error) details["errno"] = *why.error;
  const auto id =
      why.reason == "generic" ? "speedtest-failed" : why.reason.substr(0, why.reason.find(':'));
  return withResults(context, report,
                     failure(context.options, statusOf(why), id, why.text.in(context.localization),
                             std::move(details)));
}

Answer stopped(const CommandContext& context, const SpeedReport& report, bool isHungUp) {
  return withResults(
      context, report,
      failure(context.options, isHungUp ? ExitStatus::hungUp : ExitStatus::interrupted,
              "interrupted", context.text("speed.phase.cancelled"),
              speedReportJson(context, report)));
}

Answer answerOf(const CommandContext& context, const SpeedReport& report, bool isHungUp) {
  const auto& runner = report.runner;
  if (const auto& why = runner.failure()) return failed(context, report, *why);
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
                     read.error().in(context.localization));
    }
    earlier = std::move(*read);
  }
  const auto plan = speedtest::speedPlan(context.options.tier, target->fileSystem);
  SpeedTestRunner runner(machine.actor(), context.platform);
  SpeedTestAttendance attendance(context, machine, runner, *target, plan);
  runner.start(target->folder, plan, target->mountedFrom);
  attendance.follow();
  const SpeedReport report{*target, plan, runner, earlier};
  auto answer = answerOf(context, report, attendance.isHungUp());
  if (attendance.isAbandoned()) answer.diagnostic.clear();
  // The text has it below the figures.
  if (const auto* remark = cacheRemark(runner); remark && context.options.json) {
    addRemark(context, answer, remark);
  }
  if (runner.isFileLeft()) addRemark(context, answer, "ui.speedtest.left");
  return answer;
}

}  // namespace halvercine::app
