// Signals as events.
#pragma once

#include <functional>
#include <initializer_list>
#include <memory>

#include "base/MainActor.h"

namespace halvercine::platform::posix {

/// While it lives, calls `came` on the main actor for each of these signals, instead of what the
/// signal would do to the process. Several that come before one is handled may be told as one.
/// Main actor; it may be destroyed inside the call.
class SignalEvents {
 public:
  SignalEvents(base::MainActor& actor, std::initializer_list<int> signals,
               std::function<void(int signal)> came);

  void add(int signal);

 private:
  struct Listener;
  std::shared_ptr<Listener> listener_;
};

}  // namespace halvercine::platform::posix
