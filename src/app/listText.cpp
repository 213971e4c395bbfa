#include "app/listText.h"

#include <set>

#include "app/Table.h"
#include "app/sizeText.h"
#include "base/BsdName.h"

namespace halvercine::app {
namespace {

using Align = Table::Align;

Cell accessCell(const CommandContext& context, const disks::Disk& disk) {
  if (!disk.isMounted) return {context.text("ui.access.notmounted"), Tint::quiet};
  if (disk.isWritable) return {context.text("ui.access.readwrite"), Tint::good};
  return {context.text("ui.access.readonly"), Tint::warning};
}

void addDisk(Table& table, const CommandContext& context, const DiskView& view) {
  const auto& disk = view.disk;
  table.addRow({disk.id, disk.name, disk.fileSystem, sizeText(disk.capacity),
                disk.isMounted ? sizeText(disk.available) : "–", accessCell(context, disk),
                disk.connection, disk.mountPath.value_or("–")});
  if (view.readOnly) {
    const auto key = mount::MountRecoveryPolicy::explanationKey(view.readOnly->cause);
    table.addNote({"! " + context.text(key), Tint::warning});
  }
  if (disk.bitLocker && !disk.isMounted) {
    const auto text = bitLockerText(*disk.bitLocker, context.localization);
    table.addNote({"  BitLocker: " + text, Tint::quiet});
  }
  if (view.recovery) {
    table.addNote({"  " + recoveryText(*view.recovery, context.localization), Tint::quiet});
  }
  const auto reason = view.unmountReason ? view.unmountReason->text() : std::nullopt;
  if (reason) table.addNote({"! " + reason->in(context.localization), Tint::warning});
}

void addSection(std::string& output, const CommandContext& context, std::string_view titleKey,
                const std::vector<const DiskView*>& disks) {
  if (disks.empty()) return;
  if (!output.empty()) output += '\n';
  output += context.terminal.tinted(context.text(titleKey), Tint::heading) + '\n';
  Table table({Align::left, Align::left, Align::left, Align::right, Align::right, Align::left,
               Align::left, Align::left});
  std::vector<Cell> headings;
  for (const auto key :
       {"ui.column.disk", "ui.column.name", "ui.column.filesystem", "ui.column.size",
        "ui.column.free", "ui.column.access", "ui.column.connection", "ui.column.mountpoint"}) {
    headings.emplace_back(context.text(key), Tint::quiet);
  }
  table.addRow(std::move(headings));
  for (const auto* view : disks) addDisk(table, context, *view);
  output += table.render(context.terminal, 2);
}

/// Whether a disk only holds other disks of the list: people look for what is on it.
bool isContainer(const DiskView& view, const std::set<std::string>& disksWithPartitions) {
  return !view.disk.isMounted && !view.disk.bitLocker && disksWithPartitions.contains(view.disk.id);
}

}  // namespace

std::string listText(const CommandContext& context, const std::vector<DiskView>& views) {
  if (views.empty()) {
    return context.text("disk.list.empty.title") + '\n' + context.text("disk.list.empty.hint") +
           '\n';
  }
  std::vector<const DiskView*> ntfs;
  std::vector<const DiskView*> other;
  std::set<std::string> disksWithPartitions;
  for (const auto& view : views) {
    const auto whole = base::wholeDiskName(view.disk.id);
    if (whole && *whole != view.disk.id) disksWithPartitions.insert(*whole);
  }
  for (const auto& view : views) {
    if (isContainer(view, disksWithPartitions)) continue;
    (view.disk.isNtfs() ? ntfs : other).push_back(&view);
  }
  std::string output;
  addSection(output, context, "disk.section.ntfs", ntfs);
  addSection(output, context, "disk.section.other", other);
  return output;
}

}  // namespace halvercine::app
