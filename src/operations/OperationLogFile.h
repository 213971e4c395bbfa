// The file of the operation log, which several processes of the program write.
#pragma once

#include <chrono>
#include <cstdint>
#include <expected>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "base/Directory.h"
#include "base/FileLock.h"
#include "operations/OperationLogEntry.h"
#include "platform/Clock.h"
#include "platform/Containers.h"

namespace halvercine::operations {

/// "operation-log.jsonl": JSON Lines, oldest entry first. An append is one write at the end; the
/// file is rewritten by replacing it in one step, so that a process that ends at any moment leaves
/// either the old file or the new one. Symbolic links and what else is no regular file are never
/// opened for what they lead to.
///
/// Processes exclude each other by a lock file beside it, whose length counts how often the log has
/// been cleared: whoever still holds entries in memory sees that they are not wanted any more.
/// Whoever does not get the lock may still append. Any thread.
class OperationLogFile {
 public:
  /// How much of the file is read, from its end, in bytes: fifty times an ordinary full log.
  static constexpr std::uint64_t readLimit = std::uint64_t{16} * 1024 * 1024;

  /// What a look at the file tells about a later change. All zero when there is no file.
  struct State {
    base::FileIdentity identity;
    std::uint64_t size = 0;  ///< bytes
    platform::WallTime modified;
    bool operator==(const State&) const = default;
  };

  struct Content {
    std::vector<OperationLogEntry> entries;  ///< oldest first
    State state;
    std::error_code error;  ///< why what is there could not be read
  };

  /// The file in the folder "Halvercine" below the user's Application Support. The folder is made
  /// when it is missing and closed to other users, and so is the file if there is one. Nothing when
  /// there can be no such folder.
  static std::optional<OperationLogFile> prepare(platform::Containers& containers,
                                                 std::chrono::milliseconds lockPatience);

  const std::filesystem::path& url() const { return url_; }

  /// The lock, waited for for at most `lockPatience`.
  std::optional<base::FileLock> lock() const;

  /// How often the log has been cleared.
  std::uint64_t clearings() const;

  State state() const;

  /// The newest entries, `most` at most, out of the part that is read. A missing file has none,
  /// and that is no error.
  Content read(std::size_t most) const;

  struct Appended {
    State before;
    State after;
  };

  /// Adds a line (with its line feed) at the end; the file is made with mode 0600 when it is
  /// missing. The line stands alone even if the last one was never finished. Nothing when it is not
  /// in the file as a whole. `isLocked` says whether the caller holds the lock.
  std::optional<Appended> append(const std::string& line, bool isLocked) const;

  /// Puts these lines in place of the whole file, which the caller knows as `known`; what somebody
  /// without the lock has added to it since follows behind them. Under the lock. On an error the
  /// old file stands.
  std::expected<State, std::error_code> replace(const std::string& lines, const State& known) const;

  /// Whether `replace` may put a file where `read` gave this error: nothing of value is there.
  static bool holdsNothing(std::error_code error);

  /// Counts a clearing and deletes the file. Under the lock.
  std::error_code remove() const;

  /// Deletes what processes that were killed in the middle of `replace` left. Under the lock.
  void sweep() const;

 private:
  OperationLogFile(std::filesystem::path url, std::chrono::milliseconds lockPatience);

  std::filesystem::path url_;
  std::filesystem::path lockPath_;
  std::chrono::milliseconds lockPatience_;
};

}  // namespace halvercine::operations
