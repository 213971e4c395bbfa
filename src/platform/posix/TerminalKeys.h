// Single keys from the terminal, without waiting for the end of a line.
#pragma once

#include <functional>
#include <memory>

#include "base/MainActor.h"

namespace halvercine::platform::posix {

/// While it lives, keys that are pressed on the terminal behind standard input come one by one, and
/// are not echoed; the keys that interrupt and suspend keep their meaning. The terminal is as it
/// was before once this is destroyed, while the process is suspended, and when a signal ends the
/// process. At most one at a time; main actor.
class TerminalKeys {
 public:
  /// Null when standard input is no terminal that can be waited for, or this process is not in its
  /// foreground.
  static std::unique_ptr<TerminalKeys> listen(base::MainActor& actor,
                                              std::function<void(char key)> pressed);
  ~TerminalKeys();
  TerminalKeys(const TerminalKeys&) = delete;
  TerminalKeys& operator=(const TerminalKeys&) = delete;

 private:
  struct Listener;
  explicit TerminalKeys(std::shared_ptr<Listener> listener);

  std::shared_ptr<Listener> listener_;
};

}  // namespace halvercine::platform::posix
