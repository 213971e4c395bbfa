// Showing a speed test while it runs.
#pragma once

#include <string>

#include "app/Terminal.h"
#include "app/commands.h"
#include "speedtest/SpeedTestRunner.h"

namespace halvercine::app {

/// One line on standard error that is drawn anew, when that is a terminal; nothing else.
class SpeedTestDisplay {
 public:
  SpeedTestDisplay(const CommandContext& context, const speedtest::SpeedTestRunner& runner);

  /// The runner has changed.
  void update();

  /// A text for people, on standard error; in lines as long as those of the terminal.
  void say(const std::string& line);

  /// Takes the progress away; nothing is drawn any more.
  void end();

 private:
  std::string progressText() const;
  void clear();

  const CommandContext& context_;
  const speedtest::SpeedTestRunner& runner_;
  Terminal terminal_;
  std::string drawn_;
  bool hasEnded_ = false;
};

}  // namespace halvercine::app
