// The command line.
#pragma once

#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/ExitStatus.h"
#include "base/Localization.h"
#include "speedtest/SpeedPlan.h"

namespace halvercine::app {

enum class Command {
  list,
  info,
  explain,
  watch,
  run,
  mount,
  unmount,
  takeover,
  occupants,
  drivers,
  check,
  speedtest,
  log,
  version
};

/// What `log` does with the operation log.
enum class LogAction { show, exportTo, copy, clear };

/// What the user asked for.
struct Options {
  Command command = Command::list;
  std::optional<std::string>
      scenario;   ///< on the simulated Mac: a file, or the name of a bundled one
  double at = 0;  ///< simulated seconds that pass before the command
  base::Language language = base::Language::en;
  bool json = false;
  bool noColor = false;
  std::string disk;                ///< the DISK argument of commands that have one
  std::vector<std::string> paths;  ///< of `occupants`
  bool readOnly = false;           ///< of `mount`
  bool force = false;              ///< of `unmount` and `log export`
  LogAction logAction = LogAction::show;
  std::string file = "Tarnwel-operation-log.txt";  ///< of `log export`; "-" is standard output
  bool yes = false;     ///< of `log clear` and `check --repair`: it is agreed to already
  bool repair = false;  ///< of `check`
  bool copy = false;    ///< of `check`: the report goes to the clipboard too
  bool direct = false;  ///< of `check`: without the file-system module
  speedtest::SpeedSizeTier tier = speedtest::SpeedSizeTier::standard;  ///< of `speedtest`
  std::optional<std::string> compareWith;  ///< of `speedtest`: a file with an earlier result
  std::optional<double> seconds;           ///< of `watch` and `run`: how long; no end if absent
  bool fast = false;                       ///< simulated time passes as fast as it can

  /// Commands that answer at once need no real time on a simulated Mac; those that people follow
  /// do.
  bool runsOnRealTime() const {
    const bool isFollowed = command == Command::watch || command == Command::run ||
                            command == Command::check || command == Command::speedtest;
    return isFollowed && !fast;
  }
};

/// Why there is nothing to run: help was asked for (`done`, for standard output) or the command
/// line is wrong (`usage`).
struct NothingToRun {
  ExitStatus status = ExitStatus::usage;
  std::string text;     ///< for people; it may quote any argument
  std::string command;  ///< the command that was recognised, as typed; empty if none was
  bool json = false;    ///< --json is among the options
};

/// Reads the command line. Without --lang the language comes from LC_ALL, LC_MESSAGES or LANG.
std::expected<Options, NothingToRun> readOptions(int argc, const char* const* argv);

/// The name of a command as typed.
std::string_view commandName(Command command);

}  // namespace halvercine::app
