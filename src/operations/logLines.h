// The operation log as JSON Lines.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "operations/OperationLogEntry.h"

namespace halvercine::operations {

/// The line of an entry, with its line feed. Nothing for an entry that could not be read back.
std::optional<std::string> encodeLine(const OperationLogEntry& entry);

/// The newest entries of a file's text, `most` at most, oldest first. A line that is no entry is
/// skipped; so is one of more than 64 KiB, and all but the last with the same ID.
std::vector<OperationLogEntry> decodeLines(std::string_view text, std::size_t most);

}  // namespace halvercine::operations
