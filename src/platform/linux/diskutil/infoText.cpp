#include "platform/linux/diskutil/infoText.h"

#include <algorithm>
#include <array>

#include <fmt/format.h>

#include "base/Properties.h"
#include "base/Text.h"
#include "platform/DiskArbitration.h"
#include "platform/linux/describeMedium.h"
#include "platform/linux/diskutil/MountDirectory.h"

namespace halvercine::platform::gnulinux {
namespace {

namespace key = disk_description;

constexpr const char* noFileSystem = "Not applicable (no file system)";

struct FileSystemNames {
  std::string_view kind;
  std::string_view personality;
  std::string_view userVisible;
};
constexpr auto fileSystemNames = std::to_array<FileSystemNames>({
    {"ntfs", "NTFS", "Windows NT File System (NTFS)"},
    {"exfat", "ExFAT", "ExFAT"},
    {"msdos", "MS-DOS", "MS-DOS (FAT)"},
    {"hfs", "HFS+", "Mac OS Extended"},
    {"apfs", "APFS", "APFS"},
    {"udf", "UDF", "Universal Disk Format (UDF)"},
    {"cd9660", "ISO", "ISO 9660"},
});

struct PartitionType {
  std::string_view content;
  std::string_view name;
};
constexpr auto partitionTypes = std::to_array<PartitionType>({
    {"EBD0A0A2-B9E5-4433-87C0-68B6B72699C7", "Microsoft Basic Data"},
    {"C12A7328-F81F-11D2-BA4B-00A0C93EC93B", "EFI"},
    {"0x7", "Windows_NTFS"},
    {"0xb", "DOS_FAT_32"},
    {"0xc", "DOS_FAT_32"},
    {"gpt", "GUID_partition_scheme"},
    {"dos", "FDisk_partition_scheme"},
});

FileSystemNames namesOf(const std::string& kind, bool isOwn) {
  // The name tells whose file system it is, as on the Mac.
  if (isOwn && kind == "ntfs") return {kind, "Halvercine NTFS", "Halvercine NTFS"};
  const auto* const found = std::ranges::find(fileSystemNames, kind, &FileSystemNames::kind);
  return found == fileSystemNames.end() ? FileSystemNames{kind, kind, kind} : *found;
}

std::string_view partitionTypeName(std::string_view content) {
  const auto* const found = std::ranges::find(partitionTypes, content, &PartitionType::content);
  return found == partitionTypes.end() ? content : found->name;
}

const char* yesOrNo(bool value) { return value ? "Yes" : "No"; }

class Record {
 public:
  Record(MediumId id, const PropertyDictionary& description, const MountState& state)
      : id_(id),
        description_(description),
        state_(state),
        kind_(text(key::volumeKind).value_or("")) {}

  std::string take() {
    putIdentity();
    putVolume();
    putFileSystem();
    putMedium();
    putSizes();
    putAccess();
    putPlace();
    text_.resize(text_.find_last_not_of('\n') + 1);
    return std::move(text_);
  }

 private:
  void putIdentity() {
    const bool isWhole = id_.partition == 0;
    put("Device Identifier", bsdName(id_));
    put("Device Node", "/dev/" + bsdName(id_));
    put("Whole", yesOrNo(isWhole));
    put("Part of Whole", bsdName({id_.sequence, 0}));
    if (isWhole) put("Device / Media Name", text(key::mediaName));
    endGroup();
  }

  void putVolume() {
    put("Volume Name", hasFileSystem() ? text(key::volumeName).value_or("") : noFileSystem);
    put("Mounted", hasFileSystem() ? yesOrNo(isMounted()) : noFileSystem);
    if (isMounted()) put("Mount Point", base::read(description_, key::volumePath, base::pathValue));
    endGroup();
  }

  void putFileSystem() {
    const bool isWhole = id_.partition == 0;
    if (const auto content = text(key::mediaContent)) {
      put(isWhole ? "Content (IOContent)" : "Partition Type",
          std::string(partitionTypeName(*content)));
    }
    if (!kind_.empty()) {
      const auto names = namesOf(kind_, state_.isOwn);
      put("File System Personality", std::string(names.personality));
      put("Type (Bundle)", kind_);
      put("Name (User Visible)", std::string(names.userVisible));
    }
    endGroup();
  }

  void putMedium() {
    put("Media Type", "Generic");
    put("Protocol", text(key::deviceProtocol));
    put("Volume UUID", base::read(description_, key::volumeUuid, base::uuidValue));
    put("Disk / Partition UUID", base::read(description_, key::mediaUuid, base::uuidValue));
    endGroup();
  }

  void putSizes() {
    const auto size = base::read(description_, key::mediaSize, base::integerValue);
    const auto block = base::read(description_, key::mediaBlockSize, base::integerValue);
    if (size) put("Disk Size", exactSizeText(*size));
    if (block) put("Device Block Size", fmt::format("{} Bytes", *block));
    endGroup();
  }

  void putAccess() {
    if (const auto writable = flag(key::mediaWritable)) put("Media Read-Only", yesOrNo(!*writable));
    put("Volume Read-Only", volumeAccess());
    endGroup();
  }

  void putPlace() {
    const auto internal = flag(key::deviceInternal);
    const auto removable = flag(key::mediaRemovable);
    if (internal) put("Device Location", *internal ? "Internal" : "External");
    if (removable) put("Removable Media", *removable ? "Removable" : "Fixed");
  }

  const char* volumeAccess() const {
    if (!hasFileSystem()) return noFileSystem;
    switch (state_.access) {
      case MountState::Access::notMounted:
        return "Not applicable (not mounted)";
      case MountState::Access::writable:
        return "No";
      case MountState::Access::readOnly:
        return "Yes (read-only mount flag set)";
    }
    return "";
  }

  bool isMounted() const { return state_.access != MountState::Access::notMounted; }
  bool hasFileSystem() const { return !kind_.empty() || isMounted(); }

  std::optional<std::string> text(std::string_view name) const {
    return base::read(description_, name, base::textValue);
  }
  std::optional<bool> flag(std::string_view name) const {
    return base::read(description_, name, base::booleanValue);
  }

  void put(std::string_view label, const std::optional<std::string>& value) {
    if (!value) return;
    text_ += fmt::format("   {:<27}{}\n", fmt::format("{}:", label), base::displayText(*value));
  }
  void endGroup() {
    if (!text_.ends_with("\n\n")) text_ += '\n';
  }

  MediumId id_;
  const PropertyDictionary& description_;
  MountState state_;
  std::string kind_;
  std::string text_;
};

}  // namespace

std::string infoText(MediumId id, const PropertyDictionary& description, const MountState& state) {
  return Record(id, description, state).take();
}

std::string infoText(const BlockDevice& device, Storage& storage) {
  MountState state;
  auto description = describeMedium(device, storage);
  const auto mounts = storage.mounts.current();
  if (const Mount* const mount = mounts->principal(device.number)) {
    state.access = mount->readOnly ? MountState::Access::readOnly : MountState::Access::writable;
    const auto directory = MountDirectory::find(device.id);
    state.isOwn = directory && directory->path() == mount->target;
    // Who may not read the medium still knows what the tool leaves to a process.
    if (state.isOwn && mount->hidesType()) description.emplace(key::volumeKind, "ntfs");
  }
  return infoText(device.id, description, state);
}

std::string exactSizeText(std::int64_t bytes) {
  constexpr std::array units = {"KB", "MB", "GB", "TB", "PB", "EB"};
  constexpr std::int64_t unitSize = 512;
  std::string rounded = fmt::format("{} B", bytes);
  double value = static_cast<double>(bytes);
  for (const auto* unit : units) {
    if (value < 999.95) break;  // and not "1000.0"
    value /= 1000;
    rounded = fmt::format("{:.1f} {}", value, unit);
  }
  return fmt::format("{} ({} Bytes) (exactly {} 512-Byte-Units)", rounded, bytes, bytes / unitSize);
}

}  // namespace halvercine::platform::gnulinux
