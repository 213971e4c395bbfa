#include "operations/OperationLogFile.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "base/PrivateFiles.h"
#include "base/UniqueFd.h"
#include "operations/logLines.h"

namespace halvercine::operations {
namespace {

constexpr std::string_view fileName = "operation-log.jsonl";
constexpr mode_t privateMode = 0600;
constexpr int openFlags = O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;

using State = OperationLogFile::State;

std::error_code lastError() { return {errno, std::generic_category()}; }

State stateOf(const struct stat& status) {
#ifdef __APPLE__
  const timespec& time = status.st_mtimespec;
#else
  const timespec& time = status.st_mtim;
#endif
  return {{static_cast<std::uint64_t>(status.st_dev), static_cast<std::uint64_t>(status.st_ino)},
          static_cast<std::uint64_t>(status.st_size),
          platform::WallTime(std::chrono::seconds(time.tv_sec) +
                             std::chrono::nanoseconds(time.tv_nsec))};
}

/// The state of an open regular file. The error is `not_supported` for anything else.
std::expected<State, std::error_code> stateOf(const base::UniqueFd& file) {
  struct stat status {};
  if (!file || ::fstat(file.get(), &status) != 0) return std::unexpected(lastError());
  if (!S_ISREG(status.st_mode)) {
    return std::unexpected(std::make_error_code(std::errc::not_supported));
  }
  return stateOf(status);
}

/// The bytes from `start` to `end`, or to where the file ends.
std::expected<std::string, std::error_code> readBetween(const base::UniqueFd& file,
                                                        std::uint64_t start, std::uint64_t end) {
  std::string text(end - start, '\0');
  std::size_t have = 0;
  while (have < text.size()) {
    const auto got = ::pread(file.get(), text.data() + have, text.size() - have,
                             static_cast<off_t>(start + have));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return std::unexpected(lastError());
    if (got == 0) break;
    have += static_cast<std::size_t>(got);
  }
  text.resize(have);
  return text;
}

/// One write, so that the bytes of two processes never mix. A part of it may be in the file when it
/// fails.
bool writeOnce(const base::UniqueFd& file, std::string_view text) {
  ssize_t written = -1;
  do {
    written = ::write(file.get(), text.data(), text.size());
  } while (written < 0 && errno == EINTR);
  return written == static_cast<ssize_t>(text.size());
}

base::UniqueFd openForAppend(const std::filesystem::path& path) {
  constexpr int flags = O_RDWR | O_APPEND | openFlags;
  base::UniqueFd file(::open(path.c_str(), flags));
  if (file || errno != ENOENT) return file;
  return base::UniqueFd(::open(path.c_str(), flags | O_CREAT, privateMode));
}

/// Whether the last line was cut off: by a full disk, or the end of its process.
bool isUnfinished(const base::UniqueFd& file, std::uint64_t size) {
  if (size == 0) return false;
  const auto last = readBetween(file, size - 1, size);
  return last && *last != "\n";
}

void makePrivate(const std::filesystem::path& path) {
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return;
  if ((status.st_mode & 07777) == privateMode) return;
  ::fchmodat(AT_FDCWD, path.c_str(), privateMode, AT_SYMLINK_NOFOLLOW);
}

}  // namespace

OperationLogFile::OperationLogFile(std::filesystem::path url,
                                   std::chrono::milliseconds lockPatience)
    : url_(std::move(url)), lockPath_(url_.string() + ".lock"), lockPatience_(lockPatience) {}

std::optional<OperationLogFile> OperationLogFile::prepare(platform::Containers& containers,
                                                          std::chrono::milliseconds lockPatience) {
  const auto support = containers.applicationSupport();
  if (!support) return std::nullopt;
  const auto folder = *support / "Halvercine";
  if (base::makePrivateDirectory(folder)) return std::nullopt;
  // It may be an older one. One that cannot be changed is somebody else's and serves all the same.
  ::chmod(folder.c_str(), 0700);
  OperationLogFile file(folder / fileName, lockPatience);
  makePrivate(file.url_);
  return file;
}

std::optional<base::FileLock> OperationLogFile::lock() const {
  return base::FileLock::take(lockPath_, lockPatience_);
}

std::uint64_t OperationLogFile::clearings() const {
  struct stat status {};
  if (::lstat(lockPath_.c_str(), &status) != 0) return 0;
  return static_cast<std::uint64_t>(status.st_size);
}

State OperationLogFile::state() const {
  struct stat status {};
  if (::lstat(url_.c_str(), &status) != 0) return {};
  return stateOf(status);
}

OperationLogFile::Content OperationLogFile::read(std::size_t most) const {
  Content content;
  const base::UniqueFd file(::open(url_.c_str(), O_RDONLY | openFlags));
  if (!file && errno == ENOENT) return content;
  const auto state = stateOf(file);
  if (!state) {
    content.error = state.error();
    return content;
  }
  const auto start = state->size - std::min(state->size, readLimit);
  const auto text = readBetween(file, start, state->size);
  if (!text) {
    content.error = text.error();
    return content;
  }
  content.entries = decodeLines(*text, most);
  content.state = *state;
  return content;
}

std::optional<OperationLogFile::Appended> OperationLogFile::append(const std::string& line,
                                                                   bool isLocked) const {
  constexpr int attempts = 3;
  for (int attempt = 0; attempt < attempts; ++attempt) {
    const bool isThere = state() != State{};
    const auto file = openForAppend(url_);
    const auto before = stateOf(file);
    if (!before) return std::nullopt;
    // Without the lock another line can be written, and cut off, between the look and the write.
    const bool needsBreak = !isLocked || isUnfinished(file, before->size);
    if (!writeOnce(file, needsBreak ? "\n" + line : line)) return std::nullopt;
    const auto after = stateOf(file);
    if (!after) return std::nullopt;
    // Without the lock the file may have been replaced meanwhile, with or without the line.
    if (isLocked || state().identity == after->identity) {
      return Appended{isThere ? *before : State{}, *after};
    }
  }
  return std::nullopt;
}

std::expected<State, std::error_code> OperationLogFile::replace(const std::string& lines,
                                                                const State& known) const {
  const base::UniqueFd old(::open(url_.c_str(), O_RDONLY | openFlags));
  if (const auto error = base::replacePrivateFile(url_, lines)) return std::unexpected(error);
  if (const auto grown = stateOf(old);
      grown && grown->identity == known.identity && grown->size > known.size) {
    const auto added = readBetween(old, known.size, grown->size);
    if (added) static_cast<void>(append(*added, true));
  }
  return state();
}

bool OperationLogFile::holdsNothing(std::error_code error) {
  return !error || error == std::errc::not_supported ||
         error == std::errc::too_many_symbolic_link_levels;
}

std::error_code OperationLogFile::remove() const {
  const base::UniqueFd counter(::open(lockPath_.c_str(), O_WRONLY | openFlags));
  // First the count: should the rest fail, others read the file again and lose nothing.
  if (const auto known = stateOf(counter)) {
    static_cast<void>(::ftruncate(counter.get(), static_cast<off_t>(known->size + 1)));
  }
  if (::unlink(url_.c_str()) != 0 && errno != ENOENT) return lastError();
  return {};
}

void OperationLogFile::sweep() const {
  const auto folder = base::Directory::open(url_.parent_path());
  if (!folder) return;
  const auto prefix = "." + std::string(fileName) + ".tmp-";
  for (const auto& name : folder->names()) {
    if (name.starts_with(prefix)) folder->remove(name);
  }
}

}  // namespace halvercine::operations
