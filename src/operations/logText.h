// The operation log for people.
#pragma once

#include <deque>
#include <string>

#include "operations/OperationLogEntry.h"

namespace halvercine::operations {

/// "2026-03-01 09:05:00  [check] Check completed（DATA）", in the machine's time zone. Line breaks
/// and what else could pass for another line or disturb a terminal are spelled out.
std::string exportLine(const OperationLogEntry& entry);

/// The lines of all entries in their order, joined with line feeds, none at the end.
std::string exportText(const std::deque<OperationLogEntry>& entries);

}  // namespace halvercine::operations
