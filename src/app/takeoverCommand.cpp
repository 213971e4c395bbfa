#include "app/DiskSelector.h"
#include "app/TakeoverParts.h"
#include "app/commands.h"
#include "app/runToAnswer.h"
#include "app/selectionFailure.h"
#include "app/toolFailure.h"
#include "base/Json.h"
#include "base/Text.h"
#include "mount/takeover/RecoveryStatuses.h"

namespace halvercine::app {
namespace {

using mount::MountVerdict;
using mount::TakeoverEnd;

/// The volume as it is now, and how it came to that.
Answer report(const CommandContext& context, const std::string& bsdName, ExitStatus status,
              std::string_view id, const std::string& message) {
  const auto views = viewDisks(context);
  if (!views) return views.error();
  const auto found = selectDisk(*views, bsdName);
  if (status != ExitStatus::done) {
    boost::json::object details;
    if (found) details["disk"] = (*found)->toJson(context.localization);
    return failure(context.options, status, id, message, std::move(details));
  }
  if (!found) return selectionFailure(context, found.error());
  if (!context.options.json) return {status, message + '\n', ""};
  return jsonAnswer(context.options, {{"disk", (*found)->toJson(context.localization)},
                                      {"nothingToDo", id == "writable-already"}});
}

Answer readOnly(const CommandContext& context, const disks::Disk& disk,
                mount::ReadOnlyCause cause) {
  return report(context, disk.id, ExitStatus::failed, "read-only",
                context.text(mount::MountRecoveryPolicy::explanationKey(cause)));
}

Answer refusal(const CommandContext& context, const disks::Disk& disk,
               const mount::TakeoverGate& gate) {
  const auto name = base::displayText(disk.name);
  const auto failed = ExitStatus::failed;
  if (!gate.isNtfs) {
    return report(context, disk.id, failed, "not-ntfs",
                  context.text("ui.takeover.notntfs", {name}));
  }
  if (!gate.isMounted) {
    return report(context, disk.id, failed, "not-mounted",
                  context.text("ui.takeover.notmounted", {name, disk.id}));
  }
  if (gate.isWritable) {
    return report(context, disk.id, ExitStatus::done, "writable-already",
                  context.text("ui.takeover.already", {name}));
  }
  if (!gate.isModuleAuthorized) {
    return report(context, disk.id, ExitStatus::notPermitted, "module-not-authorized",
                  context.text("ui.takeover.unauthorized"));
  }
  return readOnly(context, disk, gate.cause());
}

/// The volume is not to stay unmounted. Only then comes the question what is in the way.
base::Task<Answer> explainFailure(TakeoverParts& parts, mount::VolumeTakeover& takeover,
                                  disks::Disk disk, std::string toolText) {
  std::string_view outcome;
  if (takeover.pending().contains(disk.id)) {
    const bool isMounted = co_await takeover.restore(disk.id, disks::MountAccess::readOnly);
    outcome = isMounted ? "ui.takeover.restored" : "ui.takeover.leftunmounted";
  }
  if (const auto* now = parts.monitor.find(disk.id)) disk = *now;
  const bool isMounted = disk.isMounted;
  const auto bsdName = disk.id;
  auto answer =
      co_await toolFailure(parts.command, parts.utility, std::move(disk), std::move(toolText));
  if (outcome.empty()) co_return answer;
  if (parts.command.options.json) {
    auto document = base::parseJson(answer.output).value();
    document.at("error").as_object()["isMounted"] = isMounted;
    answer.output = base::prettyJson(document);
  } else {
    answer.diagnostic.append("\n  ").append(
        parts.command.text(outcome, std::vector<std::string>(1, bsdName)));
  }
  co_return answer;
}

base::Task<Answer> conclude(TakeoverParts& parts, mount::VolumeTakeover& takeover, disks::Disk disk,
                            mount::TakeoverResult result) {
  const auto& context = parts.command;
  const std::function<bool()> mayWait = [] { return true; };
  const auto verdict = co_await takeover.confirm(result, mayWait);
  const auto name = base::displayText(disk.name);
  switch (verdict) {
    case MountVerdict::writable:
      takeover.addToLog("takeover", "log.takeover.confirmed", disk.name);
      co_return report(context, disk.id, ExitStatus::done, "writable",
                       context.text("ui.takeover.done", std::vector<std::string>(1, name)));
    case MountVerdict::final:
      co_return readOnly(context, disk, takeover.verdicts().known().at(result.identity->deviceID));
    case MountVerdict::readOnly:
      co_return report(context, disk.id, ExitStatus::failed, "read-only",
                       context.text("ui.takeover.readonly"));
    case MountVerdict::unmounted:
      co_return co_await explainFailure(parts, takeover, disk, result.toolText);
    case MountVerdict::otherDevice:
      break;
  }
  co_return report(context, disk.id, ExitStatus::failed, "changed",
                   context.text("ui.takeover.aborted"));
}

base::Task<Answer> takeOver(TakeoverParts& parts, mount::VolumeTakeover& takeover,
                            disks::Disk disk) {
  const auto& context = parts.command;
  auto result = co_await takeover.takeOver(disk.id);
  switch (result.end) {
    case TakeoverEnd::mounted:
    case TakeoverEnd::mountedByOthers:
      co_return co_await conclude(parts, takeover, disk, std::move(result));
    case TakeoverEnd::unmountFailed:
    case TakeoverEnd::mountFailed:
    case TakeoverEnd::ticketRefused:
    case TakeoverEnd::unrecognized:
      co_return co_await explainFailure(parts, takeover, disk, result.toolText);
    case TakeoverEnd::notEligible:
    case TakeoverEnd::noLongerEligible:
      break;
    case TakeoverEnd::coordinatorBusy:
    case TakeoverEnd::repairingAuthorization:
    case TakeoverEnd::destructiveOperation:
      co_return report(context, disk.id, ExitStatus::busy, "busy",
                       context.text("ui.takeover.busy"));
    case TakeoverEnd::noMediaIdentity:
      co_return report(context, disk.id, ExitStatus::failed, "no-identity",
                       context.text("ui.takeover.noidentity"));
    case TakeoverEnd::notRecorded:
      co_return report(context, disk.id, ExitStatus::failed, "not-recorded",
                       context.text("ui.takeover.notrecorded"));
    case TakeoverEnd::vanished:
    case TakeoverEnd::deviceChanged:
    case TakeoverEnd::deviceChangedAfterUnmount:
      co_return report(context, disk.id, ExitStatus::failed, "changed",
                       context.text("ui.takeover.aborted"));
  }
  const auto* now = parts.monitor.find(disk.id);
  co_return refusal(context, disk, now ? takeover.verdicts().gateOf(*now) : mount::TakeoverGate());
}

}  // namespace

Answer takeoverCommand(const CommandContext& context, Machine& machine) {
  const auto views = viewDisks(context);
  if (!views) return views.error();
  const auto selected = selectDisk(*views, context.options.disk);
  if (!selected) return selectionFailure(context, selected.error());
  TakeoverParts parts(context, machine);
  mount::VolumeTakeover takeover(parts.context());
  if (!parts.monitor.start()) return arbitrationFailure(context);
  return runToAnswer(context, machine, Interruption::waits,
                     takeOver(parts, takeover, (*selected)->disk));
}

}  // namespace halvercine::app
