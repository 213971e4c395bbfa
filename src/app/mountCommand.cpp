#include <string>
#include <utility>

#include "app/DiskSelector.h"
#include "app/commands.h"
#include "app/runToAnswer.h"
#include "app/selectionFailure.h"
#include "app/toolFailure.h"
#include "base/Text.h"
#include "disks/DiskUtility.h"
#include "mount/MountAccessReportStore.h"
#include "mount/reasons/ManualUnmountRegistry.h"
#include "mount/reasons/volumeIdentity.h"
#include "mount/takeover/RecoveryStatuses.h"

namespace halvercine::app {
namespace {

/// The volume as it is after the command.
Answer success(const CommandContext& context, const std::string& bsdName, bool wasSoBefore) {
  const auto views = viewDisks(context);
  if (!views) return views.error();
  const auto found = selectDisk(*views, bsdName);
  if (!found) return selectionFailure(context, found.error());
  const auto& disk = (*found)->disk;
  if (context.options.json) {
    return jsonAnswer(context.options, {{"disk", (*found)->toJson(context.localization)},
                                        {"nothingToDo", wasSoBefore}});
  }
  const auto name = base::displayText(disk.name);
  if (!disk.isMounted) {
    return {ExitStatus::done,
            context.text(wasSoBefore ? "ui.unmount.already" : "ui.unmount.done", {name}) + '\n',
            ""};
  }
  const auto access = context.text(disk.isWritable ? "ui.access.readwrite" : "ui.access.readonly");
  return {ExitStatus::done,
          context.text(wasSoBefore ? "ui.mount.already" : "ui.mount.done",
                       {name, base::displayText(*disk.mountPath), access}) +
              '\n',
          ""};
}

enum class Wish { mounted, unmounted };

/// The answer of a command that did what the user wants, which is kept in mind: nothing mounts what
/// the user unmounted.
Answer successfully(const CommandContext& context, const disks::Disk& disk, Wish wish,
                    bool wasSoBefore) {
  auto answer = success(context, disk.id, wasSoBefore);
  const auto identity = mount::volumeIdentity(disk);
  if (!identity) return answer;
  mount::ManualUnmountRegistry registry(*context.platform.userDefaults, *context.platform.clock);
  const bool isKept =
      wish == Wish::unmounted ? registry.record(*identity) : registry.forget(*identity);
  if (!isKept && answer.diagnostic.empty()) {
    answer.diagnostic = "halvercine: " + context.text("ui.unmount.notrecorded");
  }
  return answer;
}

base::Task<Answer> mountVolume(const CommandContext& context, const disks::DiskUtility& utility,
                               disks::Disk disk) {
  if (disk.isMounted && disk.isWritable && context.options.readOnly) {
    co_return failure(context.options, ExitStatus::failed, "mounted-writable",
                      context.text("ui.mount.writable", {base::displayText(disk.name), disk.id}));
  }
  if (disk.isMounted) co_return successfully(context, disk, Wish::mounted, true);
  const auto access =
      context.options.readOnly ? disks::MountAccess::readOnly : disks::MountAccess::readWrite;
  const auto outcome = co_await utility.mount(disk.id, access);
  if (const auto* failed = std::get_if<disks::MountFailure>(&outcome)) {
    co_return co_await toolFailure(context, utility, disk, failed->text);
  }
  if (const auto* driver = std::get_if<disks::ThirdPartyDriver>(&outcome)) {
    co_return failure(context.options, ExitStatus::failed, "third-party-driver",
                      context.text("disk.unmounted.reason.thirdparty", {driver->name}));
  }
  if (std::holds_alternative<disks::UnsafeVolume>(outcome)) {
    co_return failure(context.options, ExitStatus::failed, "unsafe-volume",
                      context.text("disk.unmounted.reason.needscheck"));
  }
  co_return successfully(context, disk, Wish::mounted, false);
}

/// Whether a process of the program is unmounting the volume to mount it again: the user's wish
/// would be undone.
bool isBeingTakenOver(const CommandContext& context, const disks::Disk& disk) {
  const auto deviceId = mount::deviceId(*context.platform.mediaRegistry, disk.id);
  return deviceId && mount::RecoveryStatuses::read(context.platform).isWorkingOn(*deviceId);
}

base::Task<Answer> unmountVolume(const CommandContext& context, const disks::DiskUtility& utility,
                                 disks::Disk disk) {
  if (disk.mountPath == "/") {
    co_return failure(context.options, ExitStatus::failed, "start-volume",
                      context.text("ui.error.startvolume", {base::displayText(disk.name)}));
  }
  if (isBeingTakenOver(context, disk)) {
    co_return failure(context.options, ExitStatus::busy, "busy", context.text("ui.takeover.busy"));
  }
  if (!disk.isMounted) co_return successfully(context, disk, Wish::unmounted, true);
  auto operation = context.options.force ? utility.forceUnmount(disk.id) : utility.unmount(disk.id);
  const auto result = co_await std::move(operation);
  if (result.status == 0) co_return successfully(context, disk, Wish::unmounted, false);
  co_return co_await toolFailure(context, utility, disk, result.text);
}

using Operation = base::Task<Answer> (*)(const CommandContext&, const disks::DiskUtility&,
                                         disks::Disk);

Answer runOn(const CommandContext& context, Machine& machine, Operation operation) {
  const auto views = viewDisks(context);
  if (!views) return views.error();
  const auto selected = selectDisk(*views, context.options.disk);
  if (!selected) return selectionFailure(context, selected.error());
  if (auto whole = wholeDiskFailure(context, *views, (*selected)->disk)) return std::move(*whole);
  const disks::DiskUtility utility(*context.platform.toolRunner, *context.platform.clock,
                                   *context.platform.mediaRegistry);
  return runToAnswer(context, machine, Interruption::waits,
                     operation(context, utility, (*selected)->disk));
}

}  // namespace

Answer mountCommand(const CommandContext& context, Machine& machine) {
  return runOn(context, machine, mountVolume);
}

Answer unmountCommand(const CommandContext& context, Machine& machine) {
  return runOn(context, machine, unmountVolume);
}

}  // namespace halvercine::app
