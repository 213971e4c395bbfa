#include <algorithm>
#include <array>
#include <cstdint>

#include "base/Properties.h"
#include "platform/DiskArbitration.h"
#include "platform/simulated/mountOnRequest.h"
#include "platform/simulated/runDiskutil.h"
#include "platform/simulated/scenarioTexts.h"

namespace halvercine::platform::simulated {
namespace {

namespace key = disk_description;

constexpr std::string_view noFileSystem = "Not applicable (no file system)";

/// Lines of a label and a value in a column of its own.
class Record {
 public:
  void line(std::string_view label, const std::string& value) {
    constexpr std::size_t valueColumn = 30;
    auto text = "   " + std::string(label) + ":";
    text.resize(std::max(valueColumn, text.size() + 1), ' ');
    lines += text + value + '\n';
  }
  void line(std::string_view label, const std::optional<std::string>& value) {
    if (value) line(label, *value);
  }
  void gap() { lines += '\n'; }

  std::string lines;
};

std::string yesNo(bool value) { return value ? "Yes" : "No"; }

std::string decimalSize(std::uint64_t bytes) {
  constexpr std::array units{"B", "KB", "MB", "GB", "TB", "PB", "EB"};
  std::size_t unit = 0;
  std::uint64_t scale = 1;
  while (unit + 1 < units.size() && bytes / scale >= 1000) {
    scale *= 1000;
    ++unit;
  }
  if (unit == 0) return std::to_string(bytes) + " B";
  const auto tenths = bytes / (scale / 10);
  return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + " " + units[unit];
}

std::string sizeText(std::uint64_t bytes) {
  return decimalSize(bytes) + " (" + std::to_string(bytes) + " Bytes) (exactly " +
         std::to_string(bytes / 512) + " 512-Byte-Units)";
}

std::string contentName(const std::string& content) {
  return content == "EBD0A0A2-B9E5-4433-87C0-68B6B72699C7" ? "Microsoft Basic Data" : content;
}

std::optional<std::string> userVisibleName(const std::string& kind) {
  if (kind == "ntfs") return "Windows NT File System (NTFS)";
  if (kind == "exfat") return "ExFAT";
  if (kind == "msdos") return "MS-DOS (FAT32)";
  if (kind == "apfs") return "APFS";
  return std::nullopt;
}

class Info {
 public:
  Info(const SimulatedMachine& machine, const MediaView& view)
      : view_(view),
        description_(machine.describe(view.media.disk).value_or(PropertyDictionary())),
        isWhole_(view.media.disk == view.device->disk) {
    if (view.mountPath) statistics_ = machine.statistics(*view.mountPath);
  }

  std::string text() {
    writeIdentity();
    writeVolume();
    writeContent();
    writeMedium();
    writeSizes();
    writeAccess();
    writeLocation();
    return std::move(record_.lines);
  }

 private:
  std::optional<std::string> textOf(std::string_view name) const {
    return base::read(description_, name, base::textValue);
  }

  void writeIdentity() {
    const auto& disk = view_.media.disk;
    record_.line("Device Identifier", disk);
    record_.line("Device Node", "/dev/" + disk);
    record_.line("Whole", yesNo(isWhole_));
    record_.line("Part of Whole", view_.device->disk);
    if (isWhole_) record_.line("Device / Media Name", textOf(key::mediaName));
    record_.gap();
  }

  void writeVolume() {
    const bool isVolume = view_.media.kind.has_value();
    const std::string none(noFileSystem);
    record_.line("Volume Name", isVolume ? textOf(key::volumeName).value_or("") : none);
    record_.line("Mounted", isVolume ? yesNo(view_.mountPath.has_value()) : none);
    record_.line("Mount Point", view_.mountPath);
    if (!isVolume) record_.line("File System", std::string("None"));
    record_.gap();
  }

  void writeContent() {
    const auto content = textOf(key::mediaContent).value_or("None");
    record_.line(isWhole_ ? "Content (IOContent)" : "Partition Type", contentName(content));
    if (const auto& kind = view_.media.kind) {
      record_.line("File System Personality", personality(view_.media));
      record_.line("Type (Bundle)", kind);
      record_.line("Name (User Visible)", userVisibleName(*kind));
    }
    record_.gap();
  }

  void writeMedium() {
    record_.line("OS Can Be Installed", std::string("No"));
    record_.line("Media Type", std::string("Generic"));
    record_.line("Protocol", textOf(key::deviceProtocol));
    record_.line("SMART Status", std::string("Not Supported"));
    record_.line("Volume UUID", base::read(description_, key::volumeUuid, base::uuidValue));
    record_.line("Disk / Partition UUID",
                 base::read(description_, key::mediaUuid, base::uuidValue));
    record_.gap();
  }

  void writeSizes() {
    const auto size = base::read(description_, key::mediaSize, base::integerValue).value_or(0);
    record_.line("Disk Size", sizeText(static_cast<std::uint64_t>(size)));
    record_.line("Device Block Size", std::to_string(*view_.device->blockSize) + " Bytes");
    record_.gap();
    if (!statistics_) return;
    const auto total = statistics_->blocks * statistics_->blockSize;
    const auto available = statistics_->availableBlocks * statistics_->blockSize;
    record_.line("Volume Total Space", sizeText(total));
    record_.line("Volume Used Space", sizeText(total - available));
    record_.line("Volume Free Space", sizeText(available));
    record_.line("Allocation Block Size", std::to_string(statistics_->blockSize) + " Bytes");
    record_.gap();
  }

  void writeAccess() {
    record_.line("Media OS Use Only", std::string("No"));
    record_.line("Media Read-Only", yesNo(!view_.writable));
    record_.line("Volume Read-Only", volumeAccess());
    record_.gap();
  }

  std::string volumeAccess() const {
    if (!view_.media.kind) return std::string(noFileSystem);
    if (!view_.mountPath) return "Not applicable (not mounted)";
    if (!statistics_ || !statistics_->readOnly) return "No";
    return "Yes (read-only mount flag set)";
  }

  void writeLocation() {
    const bool internal =
        base::read(description_, key::deviceInternal, base::booleanValue).value_or(false);
    record_.line("Device Location", std::string(internal ? "Internal" : "External"));
    record_.line("Removable Media", std::string(*view_.device->removable ? "Removable" : "Fixed"));
    record_.gap();
    record_.line("Solid State", *view_.device->solidState ? std::string("Yes")
                                                          : std::string("Info not available"));
  }

  const MediaView& view_;
  PropertyDictionary description_;
  bool isWhole_;
  std::optional<FileSystemStatistics> statistics_;
  Record record_;
};

}  // namespace

std::string diskutilInfo(const SimulatedMachine& machine, const MediaView& view) {
  return Info(machine, view).text();
}

}  // namespace halvercine::platform::simulated
