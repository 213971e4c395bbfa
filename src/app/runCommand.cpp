#include <csignal>
#include <memory>

#include <boost/json/object.hpp>
#include <fmt/format.h>

#include "app/Lifetime.h"
#include "app/TakeoverParts.h"
#include "app/commands.h"
#include "app/helperText.h"
#include "app/isoTime.h"
#include "app/unlockContext.h"
#include "base/Json.h"
#include "base/Text.h"
#include "base/spawn.h"
#include "bitlocker/unlock/AutomaticUnlock.h"
#include "check/CheckMailbox.h"
#include "disks/DiskUtilityText.h"
#include "helper/HelperRegistration.h"
#include "mount/takeover/AutomaticTakeover.h"
#include "mount/takeover/ReportCaretaker.h"
#include "platform/posix/SecretPrompt.h"
#include "platform/posix/SignalEvents.h"
#ifdef __linux__
#include "platform/linux/diskutil/MountDirectory.h"
#include "platform/linux/diskutil/accessReport.h"
#endif

namespace halvercine::app {
namespace {

using mount::TakeoverEvent;
using Kind = mount::TakeoverEventKind;

std::string number(std::int64_t value) { return std::to_string(value); }

/// What happened to a volume, behind its name.
std::string whatHappened(const CommandContext& context, const TakeoverEvent& event) {
  const auto limit = number(mount::MountRecoveryPolicy::attemptLimit);
  const auto attempt = number(event.attempt.value_or(0));
  switch (event.kind) {
    case Kind::began:
      if (!event.attempt) return context.text("ui.takeover.began");
      return context.text("disk.ux.recovery.running", {attempt, limit});
    case Kind::remounted:
      return context.text("ui.takeover.remounted");
    case Kind::confirmed:
      return context.text("ui.takeover.confirmed");
    case Kind::readOnly:
      return context.text(event.cause ? mount::MountRecoveryPolicy::explanationKey(*event.cause)
                                      : "ui.takeover.readonly");
    case Kind::failed:
      return context.text(disks::errorKey(event.toolText));
    case Kind::aborted:
      return context.text("ui.takeover.aborted");
    case Kind::suppressed:
      return context.text("ui.takeover.suppressed");
    case Kind::waiting:
      return context.text("ui.takeover.waiting",
                          {attempt, limit, number(event.delay ? event.delay->count() : 0)});
    case Kind::stopped:
      return context.text(event.isUnmounted ? "ui.takeover.stopped.unmounted"
                                            : "disk.ux.recovery.stopped");
    case Kind::unrecorded:
      return context.text("ui.takeover.notrecorded");
    case Kind::found:
      return context.text("ui.takeover.found");
    case Kind::restored:
      return context.text("ui.takeover.restored");
  }
  return "";
}

std::string jsonLine(const CommandContext& context, const TakeoverEvent& event) {
  boost::json::object line{{"format", jsonFormat},
                           {"event", base::toJson(event.kind)},
                           {"time", isoTime(context.platform.clock->now())},
                           {"disk", event.bsdName},
                           {"name", event.diskName},
                           {"message", whatHappened(context, event)}};
  if (event.attempt) line["attempt"] = *event.attempt;
  if (event.delay) line["delay"] = event.delay->count();
  if (event.cause) line["cause"] = base::toJson(*event.cause);
  if (!event.toolText.empty()) line["toolText"] = event.toolText;
  return base::repairedUtf8(base::serializeJson(line)) + '\n';
}

std::string textLine(const CommandContext& context, const TakeoverEvent& event) {
  auto line = fmt::format("{}  {}  {}  {}", isoTime(context.platform.clock->now()), event.bsdName,
                          base::displayText(event.diskName), whatHappened(context, event));
  if (!event.toolText.empty()) line += " (" + base::displayText(event.toolText) + ")";
  return line + '\n';
}

std::string helperLine(const CommandContext& context, const std::string& notice) {
  const auto time = isoTime(context.platform.clock->now());
  if (!context.options.json) return fmt::format("{}  {}\n", time, notice);
  const boost::json::object line{
      {"format", jsonFormat}, {"event", "helper"}, {"time", time}, {"message", notice}};
  return base::serializeJson(line) + '\n';
}

/// Nothing here waits for the helper; only what came of it is said.
base::Task<void> registerHelper(const CommandContext& context,
                                helper::HelperRegistration& registration, Lifetime& lifetime) {
  const auto outcome = co_await registration.ensure();
  for (const auto& notice : helperNotices(context, outcome)) {
    lifetime.print(helperLine(context, notice));
  }
}

using UnlockEvent = bitlocker::AutomaticUnlock::Event;
using UnlockKind = bitlocker::AutomaticUnlock::EventKind;

std::string whatHappened(const CommandContext& context, const UnlockEvent& event) {
  switch (event.kind) {
    case UnlockKind::unlocked:
      return context.text("ui.unlock.auto.unlocked");
    case UnlockKind::failed:
      return context.text("ui.unlock.auto.failed",
                          {context.text(bitlocker::unlockMessageKey(event.code))});
    case UnlockKind::rejected:
      return context.text("ui.unlock.auto.rejected");
    case UnlockKind::notTransferred:
      return context.text("ui.unlock.auto.nottransferred");
  }
  return "";
}

std::string lineFor(const CommandContext& context, const UnlockEvent& event) {
  const auto& disk = event.disk;
  const auto time = isoTime(context.platform.clock->now());
  const auto message = whatHappened(context, event);
  if (!context.options.json) {
    return fmt::format("{}  {}  {}  {}\n", time, disk.id, base::displayText(disk.name), message);
  }
  const bool isUnlocked = event.kind == UnlockKind::unlocked;
  boost::json::object line{
      {"format", jsonFormat}, {"event", isUnlocked ? "unlocked" : "unlockFailed"},
      {"time", time},         {"disk", disk.id},
      {"name", disk.name},    {"message", message}};
  if (!event.code.empty()) line["code"] = event.code;
  return base::repairedUtf8(base::serializeJson(line)) + '\n';
}

base::Task<void> finish(mount::AutomaticTakeover& takeover, bool& isFinished) {
  co_await takeover.finish();
  isFinished = true;
}

/// Lets what has been begun end well, unless the user interrupts a second time.
void finish(const TakeoverParts& parts, mount::AutomaticTakeover& takeover,
            const base::TaskScope& registrations, const Lifetime& lifetime) {
  auto& actor = parts.machine.actor();
  bool isFinished = false;
  base::TaskScope scope(actor, *parts.command.platform.systemLog);
  scope.spawn("end of the takeover", finish(takeover, isFinished));
  actor.runUntil([&] {
    const bool isDone = isFinished && registrations.running() == 0;
    return isDone || lifetime.isInterruptedAgain();
  });
}

/// For the machine that has no module; null elsewhere.
std::unique_ptr<mount::ReportCaretaker> reportCaretaker(
    [[maybe_unused]] const CommandContext& context,
    [[maybe_unused]] const disks::DiskMonitor& monitor) {
#ifdef __linux__
  if (context.options.scenario) return nullptr;
  const auto isToolsMount = [](const disks::Disk& disk) {
    const auto id = platform::gnulinux::parseBsdName(disk.id);
    const auto folder = id ? platform::gnulinux::MountDirectory::find(*id) : std::nullopt;
    return folder && folder->path() == disk.mountPath;
  };
  return std::make_unique<mount::ReportCaretaker>(
      context.platform, monitor, std::string(platform::gnulinux::diskToolOwner), isToolsMount);
#else
  return nullptr;
#endif
}

}  // namespace

Answer runCommand(const CommandContext& context, Machine& machine) {
  // Remembered passwords pass through this process, which may stay for days.
  platform::posix::keepOutOfCoreFiles();
  const auto controllerLock = mount::TakeoverJournal(context.platform).takeControllerLock();
  if (!controllerLock &&
      controllerLock.error() == mount::TakeoverJournal::LockFailure::unavailable) {
    return failure(context.options, ExitStatus::failed, "not-recorded",
                   context.text("ui.takeover.notrecorded"));
  }
  if (!controllerLock) {
    return failure(context.options, ExitStatus::busy, "controller-running",
                   context.text("ui.run.already"));
  }
  Lifetime lifetime(context, machine);
  TakeoverParts parts(context, machine);
  mount::AutomaticTakeover takeover(parts.context());
  takeover.happened.connect([&](const TakeoverEvent& event) {
    lifetime.print(context.options.json ? jsonLine(context, event) : textLine(context, event));
  });
  bitlocker::AutomaticUnlock unlock(unlockContext(parts), [&](const disks::Disk& disk) {
    return isUnsafeToUnlock(context.platform, disk);
  });
  unlock.happened.connect(
      [&](const UnlockEvent& event) { lifetime.print(lineFor(context, event)); });
  parts.monitor.disksChanged.connect([&] { parts.registry.forgetMounted(parts.monitor.disks()); });
  const platform::posix::SignalEvents continued(
      machine.actor(), {SIGCONT}, [&](int) { parts.monitor.applicationBecameActive(); });
  check::CheckMailbox::sweepAbandoned(*context.platform.containers);
  if (!parts.monitor.start()) return arbitrationFailure(context);
  const auto caretaker = reportCaretaker(context, parts.monitor);
  takeover.start();
  helper::HelperClient client(context.platform);
  helper::HelperRegistration registration(machine.actor(), context.platform, client);
  base::TaskScope registrations(machine.actor(), *context.platform.systemLog);
  registrations.spawn("registration of the helper",
                      registerHelper(context, registration, lifetime));
  unlock.start();
  const auto status = lifetime.run();
  unlock.stop();
  finish(parts, takeover, registrations, lifetime);
  return {status, "", ""};
}

}  // namespace halvercine::app
