#include "platform/linux/describeMedium.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include <boost/algorithm/string/case_conv.hpp>
#include <boost/uuid/name_generator_sha1.hpp>
#include <boost/uuid/string_generator.hpp>
#include <boost/uuid/uuid.hpp>

#include "platform/DiskArbitration.h"
#include "platform/linux/Hardware.h"
#include "platform/linux/sysfs.h"

namespace halvercine::platform::gnulinux {
namespace {

// The name space of UUIDs that are made from serial numbers. Chosen once; changing it
// would make every remembered NTFS volume a stranger.
constexpr boost::uuids::uuid serialNumbers{{0x5d, 0x0b, 0x6c, 0x7e, 0x93, 0x41, 0x4a, 0x2f, 0xb8,
                                            0x1d, 0x27, 0xc4, 0xe6, 0x0f, 0x9a, 0x53}};

class Description {
 public:
  void put(std::string_view key, const std::string& text) {
    if (!text.empty()) keys_.emplace(key, text);
  }
  template <class T>
  void put(std::string_view key, const std::optional<T>& value) {
    if (value) keys_.emplace(key, *value);
  }
  PropertyDictionary take() { return std::move(keys_); }

 private:
  PropertyDictionary keys_;
};

Uuid fromBoost(const boost::uuids::uuid& value) {
  Uuid uuid;
  std::ranges::copy(value, uuid.bytes.begin());
  return uuid;
}

std::optional<std::int64_t> whole(std::optional<std::uint64_t> number) {
  return number ? std::optional(static_cast<std::int64_t>(*number)) : std::nullopt;
}

std::optional<bool> isZero(std::optional<std::uint64_t> number) {
  return number ? std::optional(*number == 0) : std::nullopt;
}

std::optional<bool> isNotZero(std::optional<std::uint64_t> number) {
  return number ? std::optional(*number != 0) : std::nullopt;
}

// What the hardware is called, and at the very least what the kernel calls it.
std::string hardwareName(const DiskIdentity& identity, const BlockDevice& device) {
  const bool isBoth = !identity.vendor.empty() && !identity.product.empty();
  const std::string name = identity.vendor + (isBoth ? " " : "") + identity.product;
  return name.empty() ? device.kernelName : name;
}

void putVolume(Description& description, const MediumContent& content, const Mount* mount) {
  description.put(disk_description::volumeKind, fileSystemKind(content.kind));
  description.put(disk_description::volumeName, content.label);
  description.put(disk_description::volumeUuid, volumeUuid(content.uuid));
  if (mount != nullptr) {
    description.put(disk_description::volumePath, std::optional(FileUrl{mount->target}));
  }
}

void putMedium(Description& description, const BlockDevice& device, const MediumContent& content) {
  const std::string disk = device.wholeDirectory();
  description.put(disk_description::mediaWhole, std::optional(!device.isPartition()));
  description.put(disk_description::mediaSize, whole(device.size));
  description.put(disk_description::mediaBlockSize,
                  whole(readNumber(disk, "queue/logical_block_size")));
  description.put(disk_description::mediaWritable, isZero(readNumber(device.directory, "ro")));
  description.put(disk_description::mediaRemovable, isNotZero(readNumber(disk, "removable")));
  description.put(disk_description::mediaUuid, parsedUuid(content.partitionUuid));
  description.put(disk_description::mediaContent,
                  uuidText(content.partitionType).value_or(content.partitionType));
}

void putHardware(Description& description, const BlockDevice& device, const Storage& storage,
                 const std::string& partitionName) {
  const std::string disk = device.wholeDirectory();
  const auto identity = diskIdentity(disk, storage.udev.properties(device.number));
  const std::string bus = busOf(disk);
  const std::string name = partitionName.empty() ? hardwareName(identity, device) : partitionName;
  description.put(disk_description::mediaName, name);
  description.put(disk_description::deviceInternal, isInternal(disk, bus));
  description.put(disk_description::deviceModel, identity.product);
  description.put(disk_description::deviceProtocol, bus);
  description.put(disk_description::busName, bus);
}

}  // namespace

PropertyDictionary describeMedium(const BlockDevice& device, Storage& storage) {
  MediumContent content = storage.content(device);
  const auto mounts = storage.mounts.current();
  const Mount* const mount = mounts->principal(device.number);
  // Whoever may not read the medium still sees what it was mounted as.
  const bool isTold = mount != nullptr && !mount->hidesType();
  if (content.kind.empty() && isTold) content.kind = mount->type;
  Description description;
  putMedium(description, device, content);
  putVolume(description, content, mount);
  putHardware(description, device, storage, content.partitionName);
  return description.take();
}

std::optional<Uuid> parsedUuid(std::string_view text) {
  constexpr std::size_t canonicalLength = 36;  // the generator also takes braces and no dashes
  if (text.size() != canonicalLength) return std::nullopt;
  try {
    return fromBoost(boost::uuids::string_generator()(text.begin(), text.end()));
  } catch (const std::runtime_error&) {
    return std::nullopt;
  }
}

std::optional<std::string> uuidText(std::string_view text) {
  if (!parsedUuid(text)) return std::nullopt;
  return boost::algorithm::to_upper_copy(std::string(text), std::locale::classic());
}

std::optional<Uuid> volumeUuid(std::string_view text) {
  if (text.empty()) return std::nullopt;
  if (const auto uuid = parsedUuid(text)) return uuid;
  const boost::uuids::name_generator_sha1 named(serialNumbers);
  return fromBoost(named(text.data(), text.size()));
}

}  // namespace halvercine::platform::gnulinux
