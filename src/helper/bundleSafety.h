// Whether a bundle may be run by root.
#pragma once

#include <filesystem>
#include <optional>
#include <string_view>

#include "base/LocalizedText.h"
#include "platform/ApplicationBundle.h"

namespace halvercine::helper {

/// Where the daemon's executable is in a bundle.
std::filesystem::path helperExecutable(const std::filesystem::path& bundle);

/// Why a daemon of root must not be started from the program's bundle, if it must not. The bundle
/// has to be in /Applications; it, the executable and every folder on the way from the root of the
/// file system have to be root's, and nobody may be able to write them but root and the group that
/// macOS lets write /Applications itself (admin, whose members are asked for a password to become
/// root, but can replace any application there as it is). Main actor.
std::optional<base::LocalizedText> bundleFault(platform::ApplicationBundle& bundle);

}  // namespace halvercine::helper
