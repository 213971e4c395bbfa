// Showing a speed test while it runs.
#pragma once

#include <string>

#include "app/ProgressLine.h"
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

  const CommandContext& context_;
  const speedtest::SpeedTestRunner& runner_;
  ProgressLine line_;
  bool hasEnded_ = false;
};

}  // namespace halvercine::app
