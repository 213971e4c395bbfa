// Asking for a secret on the terminal.
#pragma once

#include <expected>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>

#include "base/Secret.h"

namespace halvercine::platform::posix {

/// Whether standard input is a terminal.
bool canAskForSecret();

/// The terminal behind standard input, without echo while this lives: what is typed between two
/// questions is not shown either. While the process is suspended, and afterwards, it is as it was
/// before. One at a time, on the main actor's thread.
class SecretPrompt {
 public:
  SecretPrompt();
  ~SecretPrompt();
  SecretPrompt(const SecretPrompt&) = delete;
  SecretPrompt& operator=(const SecretPrompt&) = delete;

  /// Shows `prompt` on standard error and takes a line. Erasing a character, and the whole line,
  /// work as usual. `redrawn`, if given, tells what the line shows for the text so far, no wider
  /// than the terminal.
  ///
  /// The error is the signal that ended it (SIGINT, SIGTERM, SIGHUP or SIGQUIT; SIGHUP also for a
  /// terminal that has gone): the caller ends the program. Blocks.
  std::expected<base::Secret, int> ask(const std::string& prompt,
                                       const std::function<std::string(std::string_view)>& redrawn);

 private:
  class QuietTerminal;
  std::unique_ptr<QuietTerminal> terminal_;
};

/// The first line of standard input, without its end; EMSGSIZE when it is longer than 64 KiB. An
/// input that fails in the middle has no first line. Blocks.
std::expected<base::Secret, std::error_code> readSecretLine();

/// From now on the memory of this process goes into no core file, and on Linux other processes of
/// the user cannot look into it.
void keepOutOfCoreFiles();

}  // namespace halvercine::platform::posix
