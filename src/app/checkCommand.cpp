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
#include "app/version.h"
#include "base/Json.h"
#include "base/Text.h"
#include "base/localizedTime.h"
#include "check/CheckReport.h"
#include "check/CheckSessionStore.h"
#include "check/DiskChecker.h"
#include "check/copiedReport.h"
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
    case check::CheckRefusal::beingMounted:
      return failure(context.options, ExitStatus::busy, "being-mounted",
                     context.text("ui.check.beingmounted", {name}));
    case check::CheckRefusal::changed:
      return failure(context.options, ExitStatus::failed, "changed",
                     context.text("format.changed"));
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
    const bool isConsistent = check::isConsistent(success.report, isRepair);
    const auto status = isFine && isConsistent ? ExitStatus::done : ExitStatus::failed;
    const bool isCopied = context_.options.copy && copy(success.report);
    if (!context_.options.json) {
      Answer answer{status, checkReportText(context_, success.report, isRepair), ""};
      if (isFine && !isConsistent) answer.diagnostic = context_.text("ui.check.unrepaired");
      if (context_.options.copy && !isCopied) {
        if (!answer.diagnostic.empty()) answer.diagnostic += '\n';
        answer.diagnostic += context_.text("ui.log.copy.unavailable");
      }
      return answer;
    }
    auto result = checkReportJson(context_, success.report, isRepair);
    result["disk"] = session_.disk().id;
    result["repair"] = isRepair;
    result["path"] = boost::describe::enum_to_string(session_.path(), "");
    result["cliFallback"] = session_.cliFallback();
    result["recoveries"] = session_.recoveries();
    result["consistent"] = isConsistent;
    result["leftUnmounted"] = session_.isLeftUnmounted();
    if (context_.options.copy) result["copied"] = isCopied;
    const boost::json::object document{
        {"format", jsonFormat}, {"command", "check"}, {"result", std::move(result)}};
    return {status, base::repairedUtf8(base::serializeJson(document)) + '\n', ""};
  }

  Answer operator()(const check::CheckFailed& failed) const {
    return fail(ExitStatus::failed, "check-failed", displayLine(failed.message));
  }

  Answer operator()(const check::CheckCancelled&) const {
    auto key = session_.hasStoppedSafely() ? "ui.check.stopped" : "ui.check.unanswered";
    if (session_.isRefused()) key = "ui.check.refused";
    return fail(ExitStatus::interrupted, "interrupted", context_.text(key));
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
  bool copy(const check::CheckReportModel& report) const {
    const auto& disk = session_.disk();
    const check::ReportHeading heading{
        session_.isRepair(), disk.name.empty() ? disk.id : disk.name,
        base::localizedTime(context_.platform.clock->now(), context_.localization.language()),
        "Halvercine " + std::string(programVersion)};
    return context_.platform.pasteboard->replaceText(
        check::copiedReport(report, heading, context_.localization));
  }

  std::string displayLine(const std::string& message) const {
    return context_.options.json ? message : base::displayText(message);
  }
  Answer fail(ExitStatus status, std::string_view id, const std::string& message) const {
    boost::json::object details;
    if (session_.isLeftUnmounted()) details["leftUnmounted"] = true;
    return onOneLine(context_, failure(context_.options, status, id, message, std::move(details)));
  }

  const CommandContext& context_;
  const check::CheckSession& session_;
};

std::string leftText(const CommandContext& context, const check::CheckSession& session) {
  const bool isRepairByTool =
      session.isRepair() && session.path() == check::CheckSession::Path::direct;
  return isRepairByTool ? context.text("ui.check.left.tool", {session.disk().id})
                        : context.text("ui.check.left");
}

Answer answerOf(const CommandContext& context, const check::CheckSession& session,
                CheckAttendance::End end) {
  if (end == CheckAttendance::End::hungUp) {
    return onOneLine(context, failure(context.options, ExitStatus::hungUp, "interrupted",
                                      leftText(context, session)));
  }
  if (session.outcome()) {
    auto answer = std::visit(AnswerOf(context, session), *session.outcome());
    if (!context.options.json && session.isLeftUnmounted()) {
      if (!answer.diagnostic.empty()) answer.diagnostic += '\n';
      answer.diagnostic += context.text("ui.takeover.leftunmounted", {session.disk().id});
    }
    return answer;
  }
  if (end == CheckAttendance::End::left) {
    return onOneLine(context, failure(context.options, ExitStatus::interrupted, "interrupted",
                                      leftText(context, session)));
  }
  // Nothing could happen any more, and it has not ended: a fault of the simulation's.
  return onOneLine(context, failure(context.options, ExitStatus::failed, "internal",
                                    context.text("disk.err.unknown")));
}

Answer check(const CommandContext& context, Machine& machine, disks::DiskMonitor& monitor,
             const disks::Disk& disk, std::optional<check::VolumeIdentity> agreed) {
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
  const auto session =
      store.start(disk, {context.options.repair, context.options.direct, std::move(agreed)});
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
  if (!disk.isNtfs()) {
    return onOneLine(context, refusal(context, disk, check::CheckRefusal::notNtfs));
  }
  auto agreed = check::identityOf(disk, *context.platform.mediaRegistry);
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
  // The answer may have taken hours.
  monitor.refresh();
  const auto* now = monitor.find(disk.id);
  if (!now) return onOneLine(context, refusal(context, disk, check::CheckRefusal::changed));
  return check(context, machine, monitor, disks::Disk(*now), std::move(agreed));
}

}  // namespace halvercine::app
