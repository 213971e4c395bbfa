// One thing that the program did to a disk.
#pragma once

#include <string>

#include <boost/describe.hpp>

#include "platform/Clock.h"

namespace halvercine::operations {

/// A line of the operation log, coded as JSON.
struct OperationLogEntry {
  std::string id;  ///< UUID, in upper case
  /// Seconds since 1 January 2001 (UTC): how the records of the system's own coder count.
  double time = 0;
  /// A short word: "check", "repair", "takeover", "remount", "recover", "authorization", "encrypt",
  /// "decrypt", "unlock", "format", "rename" or "driver". Others are kept as they are.
  std::string category;
  std::string message;  ///< what the user was told, in the language of that moment

  bool operator==(const OperationLogEntry&) const = default;
};
BOOST_DESCRIBE_STRUCT(OperationLogEntry, (), (id, time, category, message))

/// A new entry with an ID of its own. Invalid UTF-8 in the texts is replaced, and of a text of more
/// than 4 KiB (tools can say a lot) the beginning is kept: what is added can be read again.
OperationLogEntry makeEntry(platform::WallTime time, std::string_view category,
                            std::string_view message);

/// The moment of an entry. Times before the year 1 or after 9999 become the nearest second within.
struct EntryTime {
  std::int64_t seconds = 0;  ///< since 1970 (UTC)
  int milliseconds = 0;      ///< 0 to 999
};
EntryTime entryTime(const OperationLogEntry& entry);

}  // namespace halvercine::operations
