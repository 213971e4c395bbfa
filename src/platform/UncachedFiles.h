// Temporary files that are read and written past the system's page cache.
#pragma once

#include <cstddef>
#include <cstdint>
#include <expected>
#include <memory>
#include <span>
#include <string>

#include <boost/describe/enum.hpp>

namespace halvercine::platform {

/// What goes through the system's page cache, and so is in part the speed of memory.
enum class PageCache {
  off,          ///< nothing
  smallBlocks,  ///< writes of less than 16 KiB, and reads of what they wrote
  on            ///< everything
};
BOOST_DESCRIBE_ENUM(PageCache, off, smallBlocks, on)

/// An open file of this program's own. Destroying it deletes it, if `remove` has not, and closes
/// it. Any thread, several at a time.
class UncachedFile {
 public:
  virtual ~UncachedFile() = default;

  /// Reads or writes at an offset, once: no retry of a short transfer. Answers the bytes
  /// transferred, or an errno value below zero.
  virtual std::int64_t read(std::span<std::byte> buffer, std::uint64_t offset) = 0;
  virtual std::int64_t write(std::span<const std::byte> data, std::uint64_t offset) = 0;

  /// Waits until the medium has all that has been written. Answers 0 or an errno value; what cannot
  /// be asked of the file system is no error. It can take long.
  virtual int flush() = 0;

  /// `on` where the file system refuses to do without, or demands blocks of more than 4 KiB.
  virtual PageCache pageCache() const = 0;

  /// What the addresses of buffers have to be a multiple of, in bytes; offsets and sizes need at
  /// most 4096.
  virtual std::size_t bufferAlignment() const = 0;

  /// Deletes the file, and nothing else that may have got its name. A second call does nothing.
  /// Answers 0 or an errno value; a file that has gone is no error.
  virtual int remove() = 0;
};

class UncachedFiles {
 public:
  virtual ~UncachedFiles() = default;

  /// Makes a new file, open for reading and writing, with mode 0600; a file or link of that name is
  /// left alone (EEXIST). The file is locked for as long as it is open. The error is an errno
  /// value. Any thread.
  virtual std::expected<std::unique_ptr<UncachedFile>, int> create(const std::string& folder,
                                                                   const std::string& name) = 0;

  /// Deletes the regular files in `folder` whose name is `prefix` and a UUID, that belong to this
  /// user, and that no process holds locked: what a process that was killed has left. Links are not
  /// followed. Failures are silent. Any thread.
  virtual void removeAbandoned(const std::string& folder, const std::string& prefix) = 0;
};

}  // namespace halvercine::platform
