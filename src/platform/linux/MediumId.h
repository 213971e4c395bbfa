// The identity of a storage medium, and the BSD name that spells it.
#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace halvercine::platform::gnulinux {

/// One medium of this boot. The kernel counts disks as they come and never goes back, and counts
/// again when a drive's medium or a loop device's file is changed; so names made of the count are
/// the same in every process and never come to mean another disk.
struct MediumId {
  std::uint64_t sequence = 0;  ///< the disk's sequence number
  unsigned partition = 0;      ///< the partition's number, 0 for the whole disk

  auto operator<=>(const MediumId&) const = default;

  /// Fits the registry's 64 bits: partition numbers stay below 65536.
  std::uint64_t entryId() const { return sequence << 16 | partition; }
};

/// "disk7" or "disk7s2".
std::string bsdName(MediumId id);

/// The reverse. Only the exact spelling counts: "disk07" names nothing.
std::optional<MediumId> parseBsdName(std::string_view name);

}  // namespace halvercine::platform::gnulinux
