// The machine that the program works on.
#pragma once

#include <expected>
#include <memory>
#include <string>

#include "app/Options.h"
#include "base/MainActor.h"
#include "platform/Platform.h"

namespace halvercine::platform::simulated {
class SimulatedMac;
}

namespace halvercine::app {

/// The main actor and one of each port: of this computer, or of a simulated Mac. The composition
/// root makes it first and destroys it last.
class Machine {
 public:
  Machine();
  ~Machine();

  /// The machine that the options ask for, with the simulated time that was to pass behind it. The
  /// error is a text for the user: a scenario that cannot be read.
  static std::expected<std::unique_ptr<Machine>, std::string> make(const Options& options);

  base::MainActor& actor() { return actor_; }
  const platform::Platform& platform() const { return platform_; }

 private:
  base::MainActor actor_;
  std::unique_ptr<platform::simulated::SimulatedMac> simulated_;
  platform::Platform platform_;
};

}  // namespace halvercine::app
