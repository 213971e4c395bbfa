// Reading a file that the user names.
#pragma once

#include <cstddef>
#include <expected>
#include <string>

namespace halvercine::app {

/// The content of a file or pipe that the user names on the command line, of at most `limit` bytes.
/// Links are followed, and a pipe is read until its writer closes it, as anybody expects of a file
/// of their own. The error is a text for the user; folders, devices and sockets are refused unread.
std::expected<std::string, std::string> readUserFile(const std::string& path, std::size_t limit);

}  // namespace halvercine::app
