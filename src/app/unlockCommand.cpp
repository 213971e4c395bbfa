#include <optional>
#include <utility>

#include "app/DiskSelector.h"
#include "app/TakeoverParts.h"
#include "app/UnlockAttendance.h"
#include "app/commands.h"
#include "app/readCredential.h"
#include "app/selectionFailure.h"
#include "app/unlockContext.h"
#include "base/Text.h"
#include "bitlocker/unlock/BitLockerUnlock.h"
#include "platform/posix/SecretPrompt.h"

namespace halvercine::app {
namespace {

using bitlocker::BitLockerUnlock;

/// With the volume's record as it is now; as it is known, when it has gone since.
Answer success(const CommandContext& context, const DiskView& known, bool wasSoBefore) {
  const auto views = viewDisks(context);
  const auto* view = &known;
  if (views) view = selectDisk(*views, known.disk.id).value_or(&known);
  const auto& disk = view->disk;
  if (context.options.json) {
    return jsonAnswer(context.options,
                      {{"disk", view->toJson(context.localization)}, {"nothingToDo", wasSoBefore}});
  }
  const auto access = context.text(disk.isWritable ? "ui.access.readwrite" : "ui.access.readonly");
  return {ExitStatus::done,
          context.text(wasSoBefore ? "ui.unlock.already" : "ui.unlock.done",
                       {base::displayText(disk.name),
                        base::displayText(disk.mountPath.value_or("")), access}) +
              '\n',
          ""};
}

/// Why the volume cannot be unlocked whatever is entered, if that is known.
std::optional<Answer> refusal(const CommandContext& context, const DiskView& view) {
  const auto& disk = view.disk;
  const auto refuse = [&](std::string_view id, const std::string& message) {
    return failure(context.options, ExitStatus::failed, id, message);
  };
  const auto name = base::displayText(disk.name);
  if (!disk.bitLocker)
    return refuse("not-bitlocker", context.text("ui.unlock.notbitlocker", {name}));
  if (disk.isMounted && disk.isWritable && context.options.readOnly) {
    return refuse("mounted-writable", context.text("ui.mount.writable", {name, disk.id}));
  }
  if (disk.isMounted) return success(context, view, true);
  if (disk.bitLocker->isUnlocked() && disk.isNtfs()) {
    return refuse("not-locked", context.text("ui.unlock.notlocked", {name, disk.id}));
  }
  if (disk.bitLocker->tpmOnly) {
    return refuse("bitlocker.tpmonly.message", context.text("bitlocker.tpmonly.message"));
  }
  const bool hasPassword = disk.bitLocker->hasPasswordProtector;
  // A volume with neither may have something that only the module knows.
  if (hasPassword == disk.bitLocker->hasRecoveryProtector) return std::nullopt;
  if (hasPassword != context.options.recovery) return std::nullopt;
  return refuse("other-protector",
                context.text(hasPassword ? "ui.unlock.onlypassword" : "ui.unlock.onlyrecovery",
                             {name, disk.id}));
}

Answer failed(const CommandContext& context, const BitLockerUnlock::State& state) {
  if (state.awaitingReplug) {
    return failure(context.options, ExitStatus::failed, "bitlocker.replug.message",
                   context.text("bitlocker.replug.message"));
  }
  const auto key = state.errorText.value_or("bitlocker.error.generic");
  const bool isBusy = state.resultCode == bitlocker::unlock_code::diskBusy;
  return failure(context.options, isBusy ? ExitStatus::busy : ExitStatus::failed, key,
                 context.text(key), {{"code", base::repairedUtf8(state.resultCode)}});
}

Answer interrupted(const CommandContext& context, UnlockAttendance::End end,
                   std::string_view textKey) {
  const bool isHungUp = end == UnlockAttendance::End::hungUp;
  return failure(context.options, isHungUp ? ExitStatus::hungUp : ExitStatus::interrupted,
                 "interrupted", context.text(textKey));
}

Answer endOf(const CommandContext& context, UnlockAttendance::End end,
             const BitLockerUnlock::State& state, DiskView view) {
  view.disk = state.disk;
  if (end != UnlockAttendance::End::over) {
    return interrupted(context, end, "ui.unlock.interrupted");
  }
  return state.isUnlocked ? success(context, view, false) : failed(context, state);
}

/// Puts what was entered into the form.
void enter(BitLockerUnlock& unlock, const Options& options, base::Secret entered) {
  if (options.recovery) {
    unlock.selectMethod(BitLockerUnlock::Method::recovery);
    unlock.enterRecovery(entered.reveal());
  } else {
    unlock.enterPassword(std::move(entered));
  }
}

/// What is remembered may be the other one of the two.
bool isEmpty(const Options& options, const BitLockerUnlock::State& state) {
  return state.recovery.empty() && (options.recovery || state.password.empty());
}

}  // namespace

Answer unlockCommand(const CommandContext& context, Machine& machine) {
  platform::posix::keepOutOfCoreFiles();
  const auto views = viewDisks(context);
  if (!views) return views.error();
  const auto selected = selectDisk(*views, context.options.disk);
  if (!selected) return selectionFailure(context, selected.error());
  const auto& view = **selected;
  if (auto refused = refusal(context, view)) return std::move(*refused);
  auto entered = readCredential(context, view);
  if (!entered) return std::move(entered.error());

  TakeoverParts parts(context, machine);
  if (!parts.monitor.start()) return arbitrationFailure(context);
  BitLockerUnlock unlock(unlockContext(parts), view.disk, view.deviceId);
  UnlockAttendance attendance(context, machine, unlock);
  unlock.setMountReadOnly(context.options.readOnly);
  if (entered->empty()) {
    if (const auto end = attendance.fill(); end != UnlockAttendance::End::over) {
      return interrupted(context, end, "ui.interrupt.done");
    }
  } else {
    enter(unlock, context.options, std::move(*entered));
  }
  if (isEmpty(context.options, unlock.state())) {
    return failure(context.options, ExitStatus::usage, "no-credential",
                   context.text("ui.unlock.nocredential"));
  }
  if (context.options.remember) unlock.setRememberCredential(true);
  return endOf(context, attendance.submit(), unlock.state(), view);
}

}  // namespace halvercine::app
