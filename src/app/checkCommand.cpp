#include <optional>
#include <string>
#include <utility>
#include <variant>

#include <boost/json/array.hpp>

#include "app/CheckAttendance.h"
#include "app/DiskSelector.h"
#include "app/checkReportText.h"
#include "app/commands.h"
#include "app/confirm.h"
#include "app/selectionFailure.h"
#include "app/sizeText.h"
#include "base/Json.h"
#include "base/Text.h"
#include "check/CheckReport.h"
#include "check/CheckSessionStore.h"
#include "check/DiskChecker.h"
#include "mount/ThirdPartyDriver.h"
#include "operations/OperationLog.h"

namespace halvercine::app {
namespace {

/// The same on one line: with --json this command prints a stream.
Answer onOneLine(const CommandContext& context, Answer answer) {
  if (!context.options.json) return answer;
  if (const auto document = base::parseJson(answer.output)) {
    answer.output = base::serializeJson(*document) + '\n';
  }
  return answer;
}

/// Whether the user agrees to a repair; nothing when there is nobody to be asked.
std::optional<bool> confirmRepair(const CommandContext& context, const disks::Disk& disk) {
  if (context.options.yes) return true;
  if (context.options.json || !canAsk()) return std::nullopt;
  return confirm(context.text("ui.check.confirm",
                              {base::displayText(disk.name), disk.id, sizeText(disk.capacity)}));
}

Answer refusal(const CommandContext& context, const disks::Disk& disk,
               check::CheckRefusal refusal) {
  const auto name = base::displayText(disk.name);
  switch (refusal) {
    case check::CheckRefusal::notNtfs:
      return failure(context.options, ExitStatus::failed, "not-ntfs",
                     context.text("ui.check.notntfs", {name}));
    case check::CheckRefusal::running:
      return failure(context.options, ExitStatus::busy, "check-running",
                     context.text("ui.check.running", {name}));
    case check::CheckRefusal::destructiveJob:
      break;
  }
  return failure(context.options, ExitStatus::busy, "destructive-job",
                 context.text("ui.check.destructive"));
}

Answer bypassed(const CommandContext& context, const disks::Disk& disk) {
  boost::json::array drivers;
  std::string names;
  for (const auto& driver : mount::detectThirdPartyDrivers(*context.platform.containers)) {
    drivers.emplace_back(driver.name);
    names += "\n  " + context.text("ui.driver.competing", {base::displayText(driver.name)});
  }
  auto answer = failure(context.options, ExitStatus::failed, "module-bypassed",
                        context.text("ui.check.bypassed", {base::displayText(disk.name)}),
                        {{"drivers", std::move(drivers)}});
  if (!context.options.json) answer.diagnostic += names;
  return answer;
}

/// What a session came to, as the answer of the command.
class AnswerOf {
 public:
  AnswerOf(const CommandContext& context, const check::CheckSession& session)
      : context_(context), session_(session) {}

  Answer operator()(const check::CheckSucceeded& success) const {
    const bool isRepair = session_.isRepair();
    const bool isFine = check::judgementKey(success.report, isRepair) == "check.report.judge.ok";
    const auto status = isFine ? ExitStatus::done : ExitStatus::failed;
    if (!context_.options.json) {
      return {status, checkReportText(context_, success.report, isRepair), ""};
    }
    auto result = checkReportJson(context_, success.report, isRepair);
    result["disk"] = session_.disk().id;
    result["repair"] = isRepair;
    result["path"] = boost::describe::enum_to_string(session_.path(), "");
    result["cliFallback"] = session_.cliFallback();
    result["recoveries"] = session_.recoveries();
    const boost::json::object document{
        {"format", jsonFormat}, {"command", "check"}, {"result", std::move(result)}};
    return {status, base::repairedUtf8(base::serializeJson(document)) + '\n', ""};
  }

  Answer operator()(const check::CheckFailed& failed) const {
    return fail(ExitStatus::failed, "check-failed", displayLine(failed.message));
  }

  Answer operator()(const check::CheckCancelled&) const {
    return fail(
        ExitStatus::interrupted, "interrupted",
        context_.text(session_.hasStoppedSafely() ? "ui.check.stopped" : "ui.check.unanswered"));
  }

  Answer operator()(const check::CheckNeedsFullDiskAccess&) const {
    const bool isMac = context_.platform.systemInfo->macOSVersion().has_value();
    return fail(ExitStatus::notPermitted, "needs-full-disk-access",
                context_.text(isMac ? "ui.check.fulldisk" : "ui.check.openfailed"));
  }

  Answer operator()(const check::CheckModuleBypassed&) const {
    return onOneLine(context_, bypassed(context_, session_.disk()));
  }

 private:
  std::string displayLine(const std::string& message) const {
    return context_.options.json ? message : base::displayText(message);
  }
  Answer fail(ExitStatus status, std::string_view id, const std::string& message) const {
    return onOneLine(context_, failure(context_.options, status, id, message));
  }

  const CommandContext& context_;
  const check::CheckSession& session_;
};

Answer answerOf(const CommandContext& context, const check::CheckSession& session,
                CheckAttendance::End end) {
  if (end == CheckAttendance::End::left) {
    return onOneLine(context, failure(context.options, ExitStatus::interrupted, "interrupted",
                                      context.text("ui.check.left")));
  }
  // Nothing could happen any more, and it has not ended: a fault of the simulation's.
  if (!session.outcome()) {
    return onOneLine(context, failure(context.options, ExitStatus::failed, "internal",
                                      context.text("disk.err.unknown")));
  }
  return std::visit(AnswerOf(context, session), *session.outcome());
}

Answer check(const CommandContext& context, Machine& machine, disks::DiskMonitor& monitor,
             const disks::Disk& disk) {
  const auto& platform = context.platform;
  const disks::DiskUtility utility(*platform.toolRunner, *platform.clock, *platform.mediaRegistry);
  check::DiskChecker checker(machine.actor(), *platform.administratorShell, *platform.containers,
                             context.localization);
  operations::OperationLog log(*platform.containers, *platform.clock);
  check::CheckSessionStore store({machine.actor(), platform, monitor, utility, context.localization,
                                  [&checker](std::string bsdName, bool repair) {
                                    return checker.run(std::move(bsdName), repair);
                                  },
                                  [&log](std::string_view category, std::string_view message) {
                                    log.add(category, message);
                                  }});
  const auto session = store.start(disk, {context.options.repair, context.options.direct});
  if (!session) return onOneLine(context, refusal(context, disk, session.error()));
  const auto end = CheckAttendance(context, machine, store, **session).follow();
  return answerOf(context, **session, end);
}

}  // namespace

Answer checkCommand(const CommandContext& context, Machine& machine) {
  disks::DiskMonitor monitor(machine.actor(), context.platform, context.localization);
  if (!monitor.start()) return onOneLine(context, arbitrationFailure(context));
  std::vector<DiskView> views;
  const auto recoveries = mount::RecoveryStatuses::read(context.platform);
  for (const auto& disk : monitor.disks()) {
    views.push_back(DiskView::of(disk, context.platform, recoveries));
  }
  const auto selected = selectDisk(views, context.options.disk);
  if (!selected) return onOneLine(context, selectionFailure(context, selected.error()));
  const auto disk = (*selected)->disk;
  if (context.options.repair) {
    const auto isConfirmed = confirmRepair(context, disk);
    if (!isConfirmed) {
      return onOneLine(context, failure(context.options, ExitStatus::usage, "confirmation-needed",
                                        context.text("ui.check.confirm.needed")));
    }
    if (!*isConfirmed) {
      return failure(context.options, ExitStatus::interrupted, "interrupted",
                     context.text("ui.check.confirm.no"));
    }
  }
  return check(context, machine, monitor, disk);
}

}  // namespace halvercine::app
