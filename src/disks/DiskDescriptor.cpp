#include "disks/DiskDescriptor.h"

#include <limits>
#include <utility>

#include "base/BsdName.h"
#include "base/Properties.h"
#include "base/Text.h"
#include "disks/HardwareFacts.h"

namespace halvercine::disks {
namespace {

namespace key = platform::disk_description;
using platform::PropertyDictionary;

constexpr std::string_view systemVolumes = "/System/Volumes/";
constexpr std::string_view diskImageModel = "Disk Image";
constexpr std::string_view containerLayer = "AppleAPFS";

/// From this version on the kernel's read-only flag of a module's mount follows the module's own
/// answer; before, it only repeats what the mount asked for.
constexpr platform::SystemVersion flagFollowsModule{26, 4, 0};

bool isDiskImage(const PropertyDictionary& description) {
  const auto found = description.find(key::deviceModel);
  const auto* model = found == description.end() ? nullptr : found->second.as<std::string>();
  return model && *model == diskImageModel;
}

/// A text that names hardware, not a layer of an APFS container.
std::optional<std::string> hardwareText(std::optional<std::string> text) {
  if (text && text->starts_with(containerLayer)) return std::nullopt;
  return text;
}

std::optional<std::string> textOf(const PropertyDictionary& description, std::string_view name) {
  return base::read(description, name, base::trimmedTextValue);
}

bool flagOf(const PropertyDictionary& description, std::string_view name) {
  return base::read(description, name, base::booleanValue).value_or(false);
}

std::int64_t numberOf(const PropertyDictionary& description, std::string_view name) {
  return base::read(description, name, base::integerValue).value_or(0);
}

/// The partition's own identity tied to its device's, where the device has one, so that a clone of
/// the partition table does not look the same. The registry entry ID, good for this attachment
/// only, is the last resort.
std::optional<std::string> mediaIdentity(const PropertyDictionary& description,
                                         const platform::RegistryEntry* media, const Disk& disk) {
  auto partition = base::read(description, key::mediaUuid, base::uuidValue);
  if (!partition && media) {
    const auto uuid = media->property(platform::registry_key::uuid);
    if (uuid) partition = base::trimmedTextValue(*uuid);
    if (partition) *partition = base::asciiUppered(*partition);
  }
  if (partition) return disk.serial.value_or("") + "/" + *partition;
  if (disk.serial) {
    return *disk.serial + "/" + std::string(base::partitionSuffix(disk.id)) + "/" +
           std::to_string(disk.capacity);
  }
  const auto entry = media ? media->entryId() : std::nullopt;
  if (!entry) return std::nullopt;
  return std::string(registryMediaPrefix) + std::to_string(*entry);
}

void readMedia(Disk& disk, const PropertyDictionary& description) {
  disk.capacity = numberOf(description, key::mediaSize);
  disk.mediaWritable = flagOf(description, key::mediaWritable);
  disk.isInternal = flagOf(description, key::deviceInternal);
  disk.blockSize = numberOf(description, key::mediaBlockSize);
  disk.mediaName = textOf(description, key::mediaName);
  disk.isRemovable = flagOf(description, key::mediaRemovable);
  disk.deviceModel = textOf(description, key::deviceModel);
  disk.revision = textOf(description, key::deviceRevision);
}

void readHardware(Disk& disk, const PropertyDictionary& description,
                  const platform::RegistryEntry* media) {
  const auto facts = HardwareFacts::gather(media);
  if (!disk.revision) disk.revision = facts.revision;
  disk.serial = facts.serial;
  disk.isSSD = facts.isSolidState;
  disk.linkDetail = facts.linkDetail;
  if (!disk.linkDetail) disk.linkDetail = hardwareText(textOf(description, key::deviceProtocol));
  disk.mediaID = mediaIdentity(description, media, disk);
  for (auto name : {facts.displayName(), disk.deviceModel, disk.mediaName}) {
    if (!disk.hardwareName) disk.hardwareName = hardwareText(std::move(name));
  }
}

std::optional<std::int64_t> capacityOf(const platform::VolumeResourceValues& values) {
  if (values.availableCapacityForImportantUsage.value_or(0) != 0) {
    return values.availableCapacityForImportantUsage;
  }
  if (values.availableCapacity.value_or(0) != 0) return values.availableCapacity;
  return std::nullopt;
}

std::optional<std::int64_t> capacityOf(const platform::FileSystemStatistics& statistics) {
  if (statistics.blockSize == 0) return std::nullopt;  // no answer in time
  std::int64_t bytes = 0;
  if (__builtin_mul_overflow(statistics.availableBlocks, statistics.blockSize, &bytes)) {
    return std::numeric_limits<std::int64_t>::max();
  }
  return bytes;
}

std::string shownType(const Disk& disk, const std::string& type,
                      const base::Localization& localization) {
  // An unlocked volume shows what is inside, as soon as that is known.
  if (disk.bitLocker && (!disk.bitLocker->isUnlocked() || type.empty())) return "BitLocker";
  return type.empty() ? localization.text("disk.fs.unknown") : type;
}

}  // namespace

DiskDescriptor::DiskDescriptor(const platform::Platform& platform,
                               const base::Localization& localization)
    : platform_(platform), localization_(localization) {}

std::optional<Disk> DiskDescriptor::describe(
    platform::DiskArbitrationSession& session, const std::string& bsdName,
    std::optional<bitlocker::BitLockerState> bitLocker) const {
  const auto arbitrated = session.describe(bsdName);
  if (!arbitrated) return std::nullopt;
  const auto& description = arbitrated->description;
  Disk disk;
  disk.id = bsdName;
  disk.bitLocker = std::move(bitLocker);
  disk.mountPath = base::read(description, key::volumePath, base::pathValue);
  disk.isMounted = disk.mountPath.has_value();
  // What is not listed is not asked about either.
  if (disk.mountPath && disk.mountPath->starts_with(systemVolumes)) return std::nullopt;
  if (isDiskImage(description)) return std::nullopt;
  // Nothing locked can be mounted: such a record is an older one.
  if (disk.isMounted && disk.bitLocker && !disk.bitLocker->isUnlocked()) disk.bitLocker.reset();

  readMedia(disk, description);
  readHardware(disk, description, arbitrated->media.get());
  const auto bus = hardwareText(textOf(description, key::busName));
  disk.connection = bus ? *bus : localization_.text("disk.internal");
  readVolume(disk, description);
  return disk;
}

void DiskDescriptor::readVolume(Disk& disk, const PropertyDictionary& description) const {
  disk.volumeUUID = volumeUuid(description);
  auto type = textOf(description, key::volumeKind).value_or("");
  auto name = base::read(description, key::volumeName, base::textValue);
  bool kernelAllowsWriting = false;
  if (disk.mountPath) {
    const auto values = platform_.fileSystems->resourceValues(*disk.mountPath);
    const auto statistics = platform_.fileSystems->statistics(*disk.mountPath);
    auto capacity = capacityOf(values);
    if (!capacity && statistics) capacity = capacityOf(*statistics);
    disk.available = capacity.value_or(0);
    if (statistics && statistics->mountedFrom == base::devicePath(disk.id)) {
      type = statistics->typeName;
    }
    // Nothing is called writable against the kernel's own word, nor without it.
    kernelAllowsWriting = statistics && !statistics->readOnly;
    if (!name) name = values.name;
    if (name && base::trimmed(*name).empty()) name.reset();
  }
  disk.name = name ? *name : disk.mediaName.value_or(disk.hardwareName.value_or(disk.id));
  disk.fileSystem = shownType(disk, type, localization_);
  if (disk.isMounted) decideAccess(disk, kernelAllowsWriting);
}

std::optional<std::int64_t> DiskDescriptor::availableCapacity(platform::FileSystems& fileSystems,
                                                              const std::string& mountPath) {
  if (const auto capacity = capacityOf(fileSystems.resourceValues(mountPath))) return capacity;
  const auto statistics = fileSystems.statistics(mountPath);
  return statistics ? capacityOf(*statistics) : 0;
}

std::optional<std::string> DiskDescriptor::volumeUuid(const PropertyDictionary& description) {
  return base::read(description, key::volumeUuid, base::uuidValue);
}

void DiskDescriptor::decideAccess(Disk& disk, bool kernelAllowsWriting) const {
  disk.isWritable = kernelAllowsWriting;
  if (!disk.isNtfs()) return;
  const auto sources = mount::ReportSources::of(platform_);
  const auto report = mount::loadMountAccessReport(sources, disk.id, mount::Freshness::freshOnly);
  disk.mountedByEngine = report.has_value();
  const auto version = platform_.systemInfo->macOSVersion();
  const bool flagIsTheModules = !version || *version >= flagFollowsModule;
  if (report && !flagIsTheModules && report->reason != mount::ReadOnlyReason::readWrite) {
    disk.isWritable = false;
  }
}

}  // namespace halvercine::disks
