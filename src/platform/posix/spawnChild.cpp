#include "platform/posix/spawnChild.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <string_view>
#include <unistd.h>
#include <utility>

extern char** environ;

namespace halvercine::platform::posix {
namespace {

constexpr int firstOwnDescriptor = 3;

/// A program may have been started with its standard descriptors closed. A pipe in their place
/// would be overwritten while the child is set up.
std::expected<base::UniqueFd, int> aboveStandard(base::UniqueFd descriptor) {
  if (descriptor.get() >= firstOwnDescriptor) return descriptor;
  base::UniqueFd moved(::fcntl(descriptor.get(), F_DUPFD_CLOEXEC, firstOwnDescriptor));
  if (!moved) return std::unexpected(errno);
  return moved;
}

int openPipe(int (&ends)[2]) {
#if defined(__APPLE__)
  // There is no pipe2. A child started by another library in between could inherit the ends; our
  // own children cannot (POSIX_SPAWN_CLOEXEC_DEFAULT).
  if (::pipe(ends) != 0) return -1;
  ::fcntl(ends[0], F_SETFD, FD_CLOEXEC);
  ::fcntl(ends[1], F_SETFD, FD_CLOEXEC);
  return 0;
#else
  return ::pipe2(ends, O_CLOEXEC);
#endif
}

class FileActions {
 public:
  FileActions(int input, int output, int errors) {
    ::posix_spawn_file_actions_init(&actions_);
    if (input < 0) {
      note(::posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0));
    } else {
      note(::posix_spawn_file_actions_adddup2(&actions_, input, STDIN_FILENO));
    }
    note(::posix_spawn_file_actions_adddup2(&actions_, output, STDOUT_FILENO));
    note(::posix_spawn_file_actions_adddup2(&actions_, errors, STDERR_FILENO));
#if defined(__GLIBC__)
    note(::posix_spawn_file_actions_addclosefrom_np(&actions_, firstOwnDescriptor));
#endif
  }
  ~FileActions() { ::posix_spawn_file_actions_destroy(&actions_); }
  FileActions(const FileActions&) = delete;
  FileActions& operator=(const FileActions&) = delete;

  int error() const { return error_; }
  const posix_spawn_file_actions_t* get() const { return &actions_; }

 private:
  void note(int error) {
    if (error_ == 0) error_ = error;
  }

  posix_spawn_file_actions_t actions_{};
  int error_ = 0;
};

class Attributes {
 public:
  Attributes() {
    ::posix_spawnattr_init(&attributes_);
    short flags = POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK;
#if defined(__APPLE__)
    flags |= POSIX_SPAWN_CLOEXEC_DEFAULT;
#endif
    ::posix_spawnattr_setflags(&attributes_, flags);
    ::posix_spawnattr_setpgroup(&attributes_, 0);
    sigset_t signals;
    sigfillset(&signals);
    sigdelset(&signals, SIGKILL);
    sigdelset(&signals, SIGSTOP);
    ::posix_spawnattr_setsigdefault(&attributes_, &signals);
    sigemptyset(&signals);
    ::posix_spawnattr_setsigmask(&attributes_, &signals);
  }
  ~Attributes() { ::posix_spawnattr_destroy(&attributes_); }
  Attributes(const Attributes&) = delete;
  Attributes& operator=(const Attributes&) = delete;

  const posix_spawnattr_t* get() const { return &attributes_; }

 private:
  posix_spawnattr_t attributes_{};
};

std::vector<char*> argumentVector(const std::string& name,
                                  const std::vector<std::string>& arguments) {
  std::vector<char*> result;
  result.reserve(arguments.size() + 2);
  result.push_back(const_cast<char*>(name.c_str()));
  for (const auto& argument : arguments) result.push_back(const_cast<char*>(argument.c_str()));
  result.push_back(nullptr);
  return result;
}

std::vector<char*> environmentVector() {
  static constexpr std::string_view name = "LC_ALL=";
  static char neutral[] = "LC_ALL=C";
  std::vector<char*> result;
  for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
    if (!std::string_view(*entry).starts_with(name)) result.push_back(*entry);
  }
  result.push_back(neutral);
  result.push_back(nullptr);
  return result;
}

}  // namespace

std::expected<Pipe, int> makePipe() {
  int ends[2];
  if (openPipe(ends) != 0) return std::unexpected(errno);
  base::UniqueFd readEnd(ends[0]);
  base::UniqueFd writeEnd(ends[1]);
  auto movedRead = aboveStandard(std::move(readEnd));
  if (!movedRead) return std::unexpected(movedRead.error());
  auto movedWrite = aboveStandard(std::move(writeEnd));
  if (!movedWrite) return std::unexpected(movedWrite.error());
  return Pipe{std::move(*movedRead), std::move(*movedWrite)};
}

std::expected<pid_t, int> spawnChild(const std::string& file, const std::string& name,
                                     const std::vector<std::string>& arguments, int output,
                                     int errors, int input) {
  const FileActions actions(input, output, errors);
  if (actions.error() != 0) return std::unexpected(actions.error());
  const Attributes attributes;
  auto argumentPointers = argumentVector(name, arguments);
  auto environment = environmentVector();
  pid_t child = 0;
  if (const int error = ::posix_spawn(&child, file.c_str(), actions.get(), attributes.get(),
                                      argumentPointers.data(), environment.data());
      error != 0) {
    return std::unexpected(error);
  }
  return child;
}

}  // namespace halvercine::platform::posix
