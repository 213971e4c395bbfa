#include "platform/linux/diskutil/ntfsState.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>
#include <vector>

#include "base/UniqueFd.h"

namespace halvercine::platform::gnulinux {
namespace {

// The layout of NTFS on the disk, little endian.
constexpr std::size_t sectorSize = 512;
constexpr std::uint32_t volumeInformation = 0x70;
constexpr std::uint32_t endOfAttributes = 0xFFFFFFFF;
constexpr std::uint16_t dirtyFlag = 0x0001;
constexpr std::uint64_t volumeRecord = 3;
constexpr std::size_t largestRecord = 64 * 1024;

using Bytes = std::span<const std::byte>;

// Zero for what lies behind the end.
template <class T>
T number(Bytes bytes, std::size_t offset) {
  T value = 0;
  if (offset > bytes.size() || bytes.size() - offset < sizeof(T)) return value;
  for (std::size_t index = sizeof(T); index-- > 0;) {
    value = static_cast<T>(value << 8 | std::to_integer<T>(bytes[offset + index]));
  }
  return value;
}

bool beginsWith(Bytes bytes, std::size_t offset, std::string_view mark) {
  return bytes.size() >= offset + mark.size() &&
         std::memcmp(bytes.data() + offset, mark.data(), mark.size()) == 0;
}

// Small values count; those from 0x80 are the negative exponent of a power of two.
std::uint64_t powerOrCount(std::uint8_t value, std::uint64_t unit) {
  if (value < 0x80) return value * unit;
  const unsigned exponent = 256U - value;
  return exponent < 32 ? std::uint64_t{1} << exponent : 0;
}

// The last two bytes of each sector stand in the header, and a counter in their place.
bool undoFixups(std::vector<std::byte>& record) {
  const Bytes bytes(record);
  const std::size_t array = number<std::uint16_t>(bytes, 4);
  const std::size_t sectors = record.size() / sectorSize;
  if (number<std::uint16_t>(bytes, 6) != sectors + 1) return false;
  if (array + 2 * (sectors + 1) > sectorSize - 2) return false;
  std::byte* const start = record.data();
  for (std::size_t sector = 0; sector < sectors; ++sector) {
    std::byte* const end = start + (sector + 1) * sectorSize - 2;
    if (!std::equal(end, end + 2, start + array)) return false;
    std::copy_n(start + array + 2 * (sector + 1), 2, end);
  }
  return true;
}

std::optional<std::vector<std::byte>> readAt(int file, std::uint64_t offset, std::size_t size) {
  std::vector<std::byte> bytes(size);
  const ssize_t count = ::pread(file, bytes.data(), size, static_cast<off_t>(offset));
  if (count != static_cast<ssize_t>(size)) return std::nullopt;
  return bytes;
}

}  // namespace

std::optional<NtfsRecordPlace> volumeRecordPlace(Bytes bootSector) {
  if (!beginsWith(bootSector, 3, "NTFS    ")) return std::nullopt;
  const std::uint64_t sector = number<std::uint16_t>(bootSector, 0x0B);
  const auto perCluster = number<std::uint8_t>(bootSector, 0x0D);
  // Clusters above 64 KiB are written as an exponent of the count of sectors.
  const std::uint64_t sectors = powerOrCount(perCluster, 1);
  const std::uint64_t cluster = sectors * sector;
  const auto table = number<std::uint64_t>(bootSector, 0x30);
  const std::uint64_t size = powerOrCount(number<std::uint8_t>(bootSector, 0x40), cluster);
  constexpr std::uint64_t highest = std::uint64_t{1} << 62;
  if (cluster == 0 || cluster > (1U << 21) || table > highest / cluster) return std::nullopt;
  if (size < sectorSize || size > largestRecord || !std::has_single_bit(size)) return std::nullopt;
  return NtfsRecordPlace{table * cluster + volumeRecord * size, size};
}

std::optional<bool> isMarkedDirty(Bytes bytes) {
  std::vector<std::byte> record(bytes.begin(), bytes.end());
  if (!beginsWith(record, 0, "FILE") || !undoFixups(record)) return std::nullopt;
  std::size_t offset = number<std::uint16_t>(record, 20);
  while (offset + 8 <= record.size()) {
    const auto type = number<std::uint32_t>(record, offset);
    const auto length = number<std::uint32_t>(record, offset + 4);
    if (type == endOfAttributes || length < 8 || length > record.size() - offset) break;
    if (type == volumeInformation) {
      const std::size_t content = offset + number<std::uint16_t>(record, offset + 20);
      if (content + 12 > offset + length) break;
      return (number<std::uint16_t>(record, content + 10) & dirtyFlag) != 0;
    }
    offset += length;
  }
  return std::nullopt;
}

bool isNtfsDirty(const std::string& node) {
  const base::UniqueFd device(::open(node.c_str(), O_RDONLY | O_CLOEXEC));
  const auto boot = readAt(device.get(), 0, sectorSize);
  const auto place = boot ? volumeRecordPlace(*boot) : std::nullopt;
  const auto record = place ? readAt(device.get(), place->offset, place->size) : std::nullopt;
  return record ? isMarkedDirty(*record).value_or(true) : true;
}

}  // namespace halvercine::platform::gnulinux
