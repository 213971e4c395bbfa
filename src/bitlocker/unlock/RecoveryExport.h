// The recovery password of a volume as a file that the user keeps.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "base/Secret.h"
#include "platform/Clock.h"

namespace halvercine::bitlocker {

/// The name that is proposed: the same in every language and time zone.
std::string recoveryFileName(platform::WallTime date);

/// The text of the file, which ends without a line feed.
base::Secret recoveryFileText(std::string_view volumeName, const base::Secret& recoveryPassword,
                              platform::WallTime date);

/// Where the volume is that the recovery password opens.
struct ExportedVolume {
  std::optional<std::string> mountPath;
  std::optional<std::string> secondMountPath;
  std::string name;
};

/// Whether a file at `path` would be on the volume, where nobody could read it once the volume is
/// locked. Links on the way are followed.
bool isOnVolume(const std::filesystem::path& path, const ExportedVolume& volume);

/// Replaces the file at `path` by `text`, mode 0600, in one step. The localization key of the
/// reason when it was not written.
std::optional<std::string_view> saveRecoveryFile(const std::filesystem::path& path,
                                                 const base::Secret& text,
                                                 const ExportedVolume& volume);

}  // namespace halvercine::bitlocker
