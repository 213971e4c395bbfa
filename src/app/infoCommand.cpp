#include <fmt/format.h>

#include "app/DiskSelector.h"
#include "app/Table.h"
#include "app/commands.h"
#include "app/runToAnswer.h"
#include "app/selectionFailure.h"
#include "app/sizeText.h"
#include "app/unmountReasons.h"
#include "base/Text.h"
#include "base/either.h"
#include "disks/DiskUtility.h"
#include "mount/reasons/PersonalityProbe.h"

namespace halvercine::app {
namespace {

// A disk tool that says nothing by then hangs on some disk; everything else is known anyway.
constexpr std::chrono::seconds probeLimit{10};

/// The fields of a record as lines of a label and a value. What is not known has no line.
class FieldList {
 public:
  explicit FieldList(const CommandContext& context)
      : context_(context), table_({Table::Align::left, Table::Align::left}) {}

  void add(std::string_view key, Cell value) {
    table_.addRow({Cell(context_.text(key), Tint::quiet), std::move(value)});
  }
  void add(std::string_view key, const std::optional<std::string>& value) {
    if (value) add(key, Cell(*value));
  }
  void addFlag(std::string_view key, bool value) {
    add(key, Cell(context_.text(value ? "ui.word.yes" : "ui.word.no")));
  }
  void addSize(std::string_view key, std::int64_t bytes) {
    add(key, Cell(fmt::format("{} ({})", sizeText(bytes),
                              context_.text("ui.size.bytes", {std::to_string(bytes)}))));
  }
  void note(const std::string& text, Tint tint) { table_.addNote({text, tint}); }

  std::string render() const { return table_.render(context_.terminal, 2); }

 private:
  const CommandContext& context_;
  Table table_;
};

void addVolume(FieldList& fields, const CommandContext& context, const DiskView& view) {
  const auto& disk = view.disk;
  fields.add("ui.field.filesystem", Cell(disk.fileSystem));
  fields.add("ui.field.mountpoint", disk.mountPath);
  if (!disk.isMounted) {
    fields.add("ui.field.access", {context.text("ui.access.notmounted"), Tint::quiet});
  } else {
    fields.add("ui.field.access", disk.isWritable
                                      ? Cell(context.text("ui.access.readwrite"), Tint::good)
                                      : Cell(context.text("ui.access.readonly"), Tint::warning));
  }
  const auto reason = view.unmountReason ? view.unmountReason->text() : std::nullopt;
  if (reason) fields.note("! " + reason->in(context.localization), Tint::warning);
  if (view.readOnly) {
    const auto cause = view.readOnly->cause;
    fields.note("! " + context.text(mount::MountRecoveryPolicy::explanationKey(cause)),
                Tint::warning);
    for (const auto key : view.readOnly->noteKeys) fields.note(context.text(key), Tint::none);
    fields.note(
        context.text(mount::MountRecoveryPolicy::isRecoverable(cause) ? "ui.readonly.canretry"
                                                                      : "ui.readonly.final"),
        Tint::none);
  }
  if (disk.isMounted && disk.isNtfs()) fields.addFlag("ui.field.engine", disk.mountedByEngine);
  if (disk.bitLocker) {
    fields.add("ui.field.bitlocker", Cell(bitLockerText(*disk.bitLocker, context.localization)));
  }
  fields.addSize("ui.field.capacity", disk.capacity);
  if (disk.isMounted) fields.addSize("ui.field.available", disk.available);
  fields.add("ui.field.volumeuuid", disk.volumeUUID);
}

void addDevice(FieldList& fields, const CommandContext& context, const DiskView& view) {
  const auto& disk = view.disk;
  fields.add("ui.field.connection",
             Cell(disk.linkDetail ? disk.connection + ", " + *disk.linkDetail : disk.connection));
  fields.add("ui.field.hardware", disk.hardwareName);
  fields.add("ui.field.model", disk.deviceModel);
  fields.add("ui.field.revision", disk.revision);
  fields.add("ui.field.serial", disk.serial);
  fields.add("ui.field.medium", disk.mediaName);
  fields.addFlag("ui.field.mediawritable", disk.mediaWritable);
  fields.addFlag("ui.field.solidstate", disk.isSSD);
  fields.addFlag("ui.field.internal", disk.isInternal);
  fields.addFlag("ui.field.removable", disk.isRemovable);
  if (disk.temperatureC) {
    fields.add("ui.field.temperature", Cell(fmt::format("{:.0f} °C", *disk.temperatureC)));
  }
  fields.add("ui.field.blocksize",
             Cell(context.text("ui.size.bytes", {std::to_string(disk.blockSize)})));
  fields.add("ui.field.mediaid", disk.mediaID);
  fields.add("ui.field.node", Cell(view.deviceNode));
}

std::string infoText(const CommandContext& context, const DiskView& view) {
  FieldList fields(context);
  addVolume(fields, context, view);
  addDevice(fields, context, view);
  const auto title = base::displayText(view.disk.name) + " — " + view.disk.id;
  return context.terminal.tinted(title, Tint::heading) + '\n' + fields.render();
}

Answer infoAnswer(const CommandContext& context, const DiskView& view) {
  if (!context.options.json) return {ExitStatus::done, infoText(context, view), ""};
  return jsonAnswer(context.options, {{"disk", view.toJson(context.localization)}});
}

/// The answer for an unmounted NTFS volume, of which the disk tool may know whose driver holds it.
base::Task<Answer> probeAndAnswer(const CommandContext& context, const disks::DiskUtility& utility,
                                  DiskView view) {
  auto findings = unmountReasonInputs(context.platform).findings(view.disk);
  auto probe = mount::PersonalityProbe::run(utility, view.disk.id);
  const auto found =
      co_await base::withTimeout(*context.platform.clock, probeLimit, std::move(probe));
  if (found && found->owner == mount::PersonalityProbe::Owner::thirdParty) {
    findings.foreignDriver = found->driver;
  }
  view.unmountReason = known(mount::unmountReason(findings));
  co_return infoAnswer(context, view);
}

}  // namespace

Answer infoCommand(const CommandContext& context, Machine& machine) {
  const auto views = viewDisks(context);
  if (!views) return views.error();
  const auto selected = selectDisk(*views, context.options.disk);
  if (!selected) return selectionFailure(context, selected.error());
  const auto& view = **selected;
  if (view.disk.isMounted || !view.disk.isNtfs()) return infoAnswer(context, view);
  const disks::DiskUtility utility(*context.platform.toolRunner, *context.platform.clock,
                                   *context.platform.mediaRegistry);
  return runToAnswer(context, machine, Interruption::cancels,
                     probeAndAnswer(context, utility, view));
}

}  // namespace halvercine::app
