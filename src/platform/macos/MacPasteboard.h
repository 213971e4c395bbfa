// The general pasteboard by AppKit.
#pragma once

#include "platform/Pasteboard.h"

namespace halvercine::platform::macos {

/// AppKit is used on the main thread, whose run loop has to run.
class MacPasteboard : public Pasteboard {
 public:
  bool replaceText(std::string_view text) override;
};

}  // namespace halvercine::platform::macos
