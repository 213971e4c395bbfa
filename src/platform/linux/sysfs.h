// Reading the kernel's device tree in sysfs.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace halvercine::platform::gnulinux {

/// The bytes of the attribute `name` (which may lead through a link: "device/model") in
/// `directory`, at most one page; nothing when it is not there or cannot be read.
std::optional<std::string> readBinaryAttribute(const std::string& directory, std::string_view name);

/// The same as text, without the line end and the blanks that pad it; empty counts as nothing.
std::optional<std::string> readAttribute(const std::string& directory, std::string_view name);

/// The same as a number in decimal.
std::optional<std::uint64_t> readNumber(const std::string& directory, std::string_view name);

/// What a link points at, or empty.
std::string linkTarget(const std::string& path);

/// The last component of a path.
std::string baseName(const std::string& path);

/// The subsystem that the device at `directory` belongs to ("usb", "scsi"), or empty.
std::string subsystemOf(const std::string& directory);

/// The names in a directory, without "." and ".."; empty when it cannot be read.
std::vector<std::string> namesIn(const std::string& directory);

/// The value of `key` in lines of KEY=value, or empty.
std::string_view lineValue(std::string_view lines, std::string_view key);

}  // namespace halvercine::platform::gnulinux
