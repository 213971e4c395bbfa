// The clipboard of a Wayland or X session.
#pragma once

#include "platform/Pasteboard.h"

namespace halvercine::platform::gnulinux {

/// Hands the text to `wl-copy`, `xclip` or `xsel`: the first one in PATH that fits the session.
/// They stay in the background until somebody else copies something. Without a session, or without
/// one of them, there is no pasteboard.
class LinuxPasteboard : public Pasteboard {
 public:
  bool replaceText(std::string_view text) override;
};

}  // namespace halvercine::platform::gnulinux
