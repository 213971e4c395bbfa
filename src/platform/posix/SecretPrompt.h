// Asking for a secret on the terminal.
#pragma once

#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

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
  /// work as usual. `hint` tells what stands behind the prompt for the text so far; where lines
  /// cannot be redrawn, it is not asked.
  ///
  /// The error is the signal that ended it (SIGINT, SIGTERM, SIGHUP or SIGQUIT; SIGHUP also for a
  /// terminal that has gone): the caller ends the program. Blocks.
  std::expected<base::Secret, int> ask(const std::string& prompt, bool canRedraw,
                                       const std::function<std::string(std::string_view)>& hint);

 private:
  class QuietTerminal;
  std::unique_ptr<QuietTerminal> terminal_;
};

/// The first line of standard input, without its end; nothing when it is longer than 64 KiB.
/// Blocks.
std::optional<base::Secret> readSecretLine();

/// From now on the memory of this process goes into no core file, and other processes of the user
/// cannot look into it.
void keepOutOfCoreFiles();

}  // namespace halvercine::platform::posix
