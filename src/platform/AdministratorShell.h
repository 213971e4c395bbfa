// Shell commands with the rights of the administrator.
#pragma once

#include <functional>
#include <memory>
#include <string>

namespace halvercine::platform {

/// How a command ended. The bytes are as the command wrote them, in no character set.
struct AdministratorResult {
  /// The exit status, or the number of the signal, of what ran the command; -1 when that could not
  /// be started. It need not be the command's own status: have that printed where it matters.
  int exitCode = 0;
  std::string output;  ///< the last 128 MiB of standard output, from a whole character on
  /// The last MiB of standard error, likewise; when nothing could be started, the system's reason.
  /// When the user has refused to authenticate, the exit code is not 0 and this holds "User
  /// canceled", or ends with "(-128)" where the system speaks another language.
  std::string errors;

  bool operator==(const AdministratorResult&) const = default;
};

/// One command under way. Destroying it takes the command back: what runs is killed as far as the
/// system lets this process kill it, and the result is not told any more. Where the rights belong
/// to a program of somebody else's (the agent that has authenticated the user), the command is only
/// cut off from its output and ends by itself.
class AdministratorRun {
 public:
  virtual ~AdministratorRun() = default;
};

class AdministratorShell {
 public:
  virtual ~AdministratorShell() = default;

  /// Lets the user authenticate in the platform's own way and runs `command` with /bin/sh as the
  /// administrator. `prompt` says what for, where the platform can show it and it is not empty.
  /// `ended` is called once on the main actor, never from inside this call. It may
  /// destroy the run. How long that takes is for the user and the command: there is no limit. Main
  /// actor.
  [[nodiscard]] virtual std::unique_ptr<AdministratorRun> run(
      const std::string& command, const std::string& prompt,
      std::function<void(AdministratorResult)> ended) = 0;
};

}  // namespace halvercine::platform
