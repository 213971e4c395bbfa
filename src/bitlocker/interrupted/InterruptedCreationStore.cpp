#include "bitlocker/interrupted/InterruptedCreationStore.h"

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <utility>

#include "base/BsdName.h"
#include "base/Json.h"
#include "base/Text.h"

namespace halvercine::bitlocker {
namespace {

using Record = InterruptedCreationStore::Record;

constexpr std::string_view defaultsKey = "interruptedBitLockerCreations";
constexpr std::ptrdiff_t shortestSerial = 8;  // characters

std::ptrdiff_t characterCount(std::string_view text) {
  return std::ranges::count_if(
      text, [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0) != 0x80; });
}

std::optional<std::string> usableSerial(const disks::Disk& disk) {
  const auto serial = base::trimmed(disk.serial ? std::string_view(*disk.serial) : "");
  if (characterCount(serial) < shortestSerial) return std::nullopt;
  return std::string(serial);
}

std::optional<std::string> usableUuid(const std::optional<std::string>& text) {
  const auto uuid = base::trimmed(text ? std::string_view(*text) : "");
  if (uuid.empty()) return std::nullopt;
  return std::string(uuid);
}

std::optional<Record> recordOf(const disks::Disk& disk, const std::optional<std::string>& uuid) {
  Record record{.serial = usableSerial(disk),
                .uuid = usableUuid(uuid ? uuid : disk.volumeUUID),
                .capacity = disk.capacity,
                .partition = std::string(base::partitionSuffix(disk.id))};
  if (!record.serial && !record.uuid) return std::nullopt;
  return record;
}

bool matches(const Record& stored, const Record& record) {
  if (stored.capacity != record.capacity || stored.partition != record.partition) return false;
  if (stored.serial && record.serial) return stored.serial == record.serial;
  return stored.uuid && record.uuid &&
         base::asciiLowered(*stored.uuid) == base::asciiLowered(*record.uuid);
}

std::vector<Record> without(std::vector<Record> records, const Record& record) {
  std::erase_if(records, [&](const Record& stored) { return matches(stored, record); });
  return records;
}

}  // namespace

std::vector<Record> InterruptedCreationStore::load() const {
  const auto value = defaults_.value(defaultsKey);
  const auto* blob = value ? value->as<platform::Blob>() : nullptr;
  if (!blob) return {};
  const std::string_view text(reinterpret_cast<const char*>(blob->bytes.data()),
                              blob->bytes.size());
  auto records = base::decodeJson<std::vector<Record>>(text);
  return records ? std::move(*records) : std::vector<Record>();
}

bool InterruptedCreationStore::store(const std::vector<Record>& records) {
  const auto text = base::encodeJson(records);
  // A serial number that is no UTF-8 would make the whole list unreadable.
  if (!base::parseJson(text)) return false;
  const auto* bytes = reinterpret_cast<const std::byte*>(text.data());
  return defaults_.setValue(defaultsKey,
                            platform::Blob{std::vector<std::byte>(bytes, bytes + text.size())});
}

bool InterruptedCreationStore::contains(const disks::Disk& disk,
                                        const std::optional<std::string>& uuid) const {
  const auto record = recordOf(disk, uuid);
  if (!record) return false;
  return std::ranges::any_of(load(),
                             [&](const Record& stored) { return matches(stored, *record); });
}

bool InterruptedCreationStore::add(const disks::Disk& disk,
                                   const std::optional<std::string>& uuid) {
  const auto record = recordOf(disk, uuid);
  if (!record) return false;
  auto records = without(load(), *record);
  records.push_back(*record);
  return store(records);
}

bool InterruptedCreationStore::remove(const disks::Disk& disk,
                                      const std::optional<std::string>& uuid) {
  const auto record = recordOf(disk, uuid);
  return record && store(without(load(), *record));
}

}  // namespace halvercine::bitlocker
