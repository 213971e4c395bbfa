// What an NTFS volume says about its own state.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace halvercine::platform::gnulinux {

/// Where the record of the volume's own properties is, as the boot sector tells.
struct NtfsRecordPlace {
  std::uint64_t offset = 0;  ///< bytes from the beginning of the volume
  std::size_t size = 0;      ///< bytes, a multiple of 512

  bool operator==(const NtfsRecordPlace&) const = default;
};

/// Reads the first 512 bytes of a volume. Nothing when they are not NTFS's or make no sense.
std::optional<NtfsRecordPlace> volumeRecordPlace(std::span<const std::byte> bootSector);

/// Whether the volume flags in that record say "dirty": Windows found damage, or a driver that
/// writes did not let go of the volume. Nothing when the record is damaged.
std::optional<bool> isMarkedDirty(std::span<const std::byte> record);

/// The same of the volume on a device; a volume that cannot be read counts as dirty.
bool isNtfsDirty(const std::string& node);

}  // namespace halvercine::platform::gnulinux
