// The history of what the program did to disks.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include <boost/signals2/dummy_mutex.hpp>
#include <boost/signals2/signal_type.hpp>

#include "operations/OperationLogEntry.h"
#include "operations/OperationLogFile.h"
#include "platform/Clock.h"
#include "platform/Containers.h"
#include "platform/Pasteboard.h"

namespace halvercine::operations {

/// The one log that every flow that changes a disk adds to. The newest 2,000 entries are kept, in
/// memory and in a file that all processes of the program share.
///
/// No failure of the file reaches who adds: the list in memory holds for as long as the program
/// runs, and the next write that succeeds puts into the file what it lacks. What other processes
/// have added is in the list from the start, and from each rewrite of the file on; what they have
/// cleared leaves it with the next entry. Main actor.
class OperationLog {
 public:
  template <class Signature>
  using Signal = typename boost::signals2::signal_type<
      Signature, boost::signals2::keywords::mutex_type<boost::signals2::dummy_mutex>>::type;

  static constexpr std::size_t limit = 2000;

  /// Prepares the file and reads it. The clock must outlive the log. Another process's change is
  /// waited for for at most `lockPatience`: each is done within a few milliseconds.
  OperationLog(platform::Containers& containers, const platform::Clock& clock,
               std::chrono::milliseconds lockPatience = std::chrono::milliseconds(100));
  OperationLog(const OperationLog&) = delete;
  OperationLog& operator=(const OperationLog&) = delete;

  /// Newest first.
  const std::deque<OperationLogEntry>& entries() const { return entries_; }

  /// Where the file is, or will be; nothing when it has no place, and the list lives in memory
  /// only.
  std::optional<std::filesystem::path> fileURL() const;

  /// Why the file that was there at the start could not be read; no error when it was read or there
  /// was none.
  std::error_code loadError() const { return loadError_; }

  /// Adds an entry of this moment. `message` is text for the user, in the language of the user.
  void add(std::string_view category, std::string_view message);

  /// The list for people, one entry a line; empty for an empty log.
  std::string exportText() const;

  /// Puts the export text onto the pasteboard. False when there is none.
  bool copy(platform::Pasteboard& pasteboard) const;

  /// Empties the list and deletes the file. The list is empty in any case; the error says why the
  /// file still stands (`resource_unavailable_try_again`: another process holds the lock). Then the
  /// next entry tries again first.
  std::error_code clear();

  /// The list has changed.
  Signal<void()> changed;

 private:
  void load();
  void save(const OperationLogEntry& entry);
  bool append(const OperationLogEntry& entry, bool isLocked);
  bool isFileBehind() const;
  bool bringFileIntoLine();
  bool readWhatOthersAdded();
  void merge(std::vector<OperationLogEntry> fromFile);
  void noticeClearing();
  void forgetOldest();

  const platform::Clock& clock_;
  std::optional<OperationLogFile> file_;
  std::error_code loadError_;
  std::deque<OperationLogEntry> entries_;
  std::set<std::string> unsaved_;  // IDs of entries that are not in the file
  std::uint64_t clearings_ = 0;
  bool clearIsDue_ = false;
  /// The file as it was when all its entries were in the list; nothing when it may have others.
  std::optional<OperationLogFile::State> seen_;
};

}  // namespace halvercine::operations
