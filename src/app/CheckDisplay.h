// Showing a check while it runs.
#pragma once

#include <optional>
#include <string>

#include "app/ProgressLine.h"
#include "app/commands.h"
#include "check/CheckSession.h"

namespace halvercine::app {

/// With --json every frame and every change is an object of one line on standard output. Otherwise
/// changes are lines on standard error, and when that is a terminal, a line with the progress is
/// kept below them.
class CheckDisplay {
 public:
  CheckDisplay(const CommandContext& context, const check::CheckSession& session);

  /// The session has changed.
  void update();

  /// A line for people, on standard error.
  void say(const std::string& line);

  /// Takes the progress away; nothing is shown any more.
  void end();

  /// Whether the reader of standard output has gone.
  bool nobodyListens() const { return nobodyListens_; }

 private:
  struct State {
    check::CheckSession::Path path = check::CheckSession::Path::module;
    bool cliFallback = false;
    bool isPaused = false;
    bool isCancelling = false;
    bool isStopping = false;
    bool isRecovering = false;
    bool operator==(const State&) const = default;
  };

  State stateNow() const;
  void tellChanges(const State& now);
  void printEvent(boost::json::object event);
  void printFrame();
  void draw();
  std::string progressText() const;

  const CommandContext& context_;
  const check::CheckSession& session_;
  ProgressLine line_;
  State state_;
  std::optional<check::CheckProgressSnapshot> frame_;  // the last that was printed
  bool isFirst_ = true;
  bool hasEnded_ = false;
  bool nobodyListens_ = false;
};

/// A time for people: "0:07", "12:30", "3:05:00".
std::string durationText(std::chrono::seconds duration);

}  // namespace halvercine::app
