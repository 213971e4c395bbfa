// What the texts of diskutil mean.
//
// The records are meant for people: labels have changed between versions, values carry remarks in
// parentheses, keys repeat, a log line can stand in between. So each question looks for its own
// label and takes nothing else for granted. Pure functions, any thread; views point into the
// argument.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace halvercine::disks {

/// Whether the volume of an info text is read-only, in doubt yes: also without a text and when the
/// text does not say. The first line "Read-Only Volume:" or, since macOS 11, "Volume Read-Only:"
/// decides, which may read "Yes (read-only mount flag set)".
bool isReadOnly(std::optional<std::string_view> info);

/// Whether an info text says that the volume is mounted.
bool isMounted(std::string_view info);

/// Where it is mounted; nothing when the text does not say.
std::optional<std::string_view> mountPoint(std::string_view info);

/// What identifies a volume in an info text; each is absent when its line is, or when it is empty.
struct VolumeIdentityFields {
  std::optional<std::string_view> volumeUuid;
  std::optional<std::string_view> personality;
  std::optional<std::string_view>
      diskSize;  ///< as printed: "2.0 TB (2000153477120 Bytes) (exactly …"
};
VolumeIdentityFields volumeIdentityFields(std::string_view info);

/// Whether the file-system personality of an info text is an NTFS, whoever drives it.
bool isNtfs(std::string_view info);

/// The value of the first line that mentions the file-system personality: everything behind its
/// first colon, trimmed, in ASCII lower case. Nothing when there is no such line.
std::optional<std::string> probedPersonality(std::string_view info);

/// Whether a personality or a driver's name is this product's own engine.
bool isOwnEngine(std::string_view personalityOrDriver);

/// The display name of the driver behind a personality; nothing when it is none of the known ones.
std::optional<std::string_view> driverDisplayName(std::string_view personality);

/// The localization key for an error text of diskutil; "disk.err.unknown" for one that nobody
/// knows.
std::string_view errorKey(std::string_view errorText);

}  // namespace halvercine::disks
