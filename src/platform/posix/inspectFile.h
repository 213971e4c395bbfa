// Owner and permissions of a file.
#pragma once

#include <expected>
#include <filesystem>
#include <system_error>

#include "platform/ApplicationBundle.h"

namespace halvercine::platform::posix {

/// What `lstat` says. Any thread.
std::expected<FileFacts, std::error_code> inspectFile(const std::filesystem::path& path);

}  // namespace halvercine::platform::posix
