// Writing a file that the user names.
#pragma once

#include <string>
#include <string_view>
#include <system_error>

namespace halvercine::app {

/// Writes a new file as any program of the user would make it. The error is `file_exists` when
/// something of that name is there, also a link that leads nowhere; then, and on any other error,
/// nothing is left that was not there before.
std::error_code writeNewFile(const std::string& path, std::string_view content);

/// The same, but replaces a regular file that is there, or that a link there leads to, in one step.
/// The error is `not_supported` for a folder, a device or a pipe, which stay as they are.
std::error_code writeOverFile(const std::string& path, std::string_view content);

}  // namespace halvercine::app
