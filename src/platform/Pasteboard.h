// The general pasteboard of the user's session.
#pragma once

#include <string_view>

namespace halvercine::platform {

class Pasteboard {
 public:
  virtual ~Pasteboard() = default;

  /// Clears the pasteboard and puts `text` (UTF-8) on it as plain text. False when there is
  /// none or it cannot be reached; then nothing is promised about what is on it. May wait up to a
  /// second. Main actor.
  virtual bool replaceText(std::string_view text) = 0;
};

}  // namespace halvercine::platform
