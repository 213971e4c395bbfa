#include "app/runProgram.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <string>

#include "app/Answer.h"
#include "app/Machine.h"
#include "app/Options.h"
#include "app/Terminal.h"
#include "app/commands.h"

namespace halvercine::app {
namespace {

// How long the end of the program waits for calls that are under way in the background.
constexpr std::chrono::milliseconds patience{500};

Answer runOn(Machine& machine, const Options& options) {
  const base::Localization localization(options.language);
  const auto terminal = Terminal::forOutput(options.noColor);
  const CommandContext context{options, localization, machine.platform(), terminal};
  switch (options.command) {
    case Command::list:
      return listCommand(context);
    case Command::info:
      return infoCommand(context, machine);
    case Command::explain:
      return explainCommand(context, machine);
    case Command::watch:
      return watchCommand(context, machine);
    case Command::mount:
      return mountCommand(context, machine);
    case Command::unmount:
      return unmountCommand(context, machine);
    case Command::occupants:
      return occupantsCommand(context, machine);
    case Command::drivers:
      return driversCommand(context);
    case Command::log:
      return logCommand(context);
    case Command::run:
      return runCommand(context, machine);
    case Command::takeover:
      return takeoverCommand(context, machine);
    case Command::check:
      return checkCommand(context, machine);
    case Command::helper:
      return helperCommand(context, machine);
    case Command::unlock:
      return unlockCommand(context, machine);
    case Command::speedtest:
      return speedtestCommand(context, machine);
    case Command::version:
      break;
  }
  return versionCommand(options);
}

int print(const Answer& answer) {
  if (!answer.diagnostic.empty()) writeDiagnostic(answer.diagnostic);
  switch (writeOutput(answer.output)) {
    case Written::all:
    case Written::nobodyListens:
      return static_cast<int>(answer.status);
    case Written::failed:
      break;
  }
  writeDiagnostic("halvercine: standard output cannot be written");
  return static_cast<int>(ExitStatus::failed);
}

/// No memory, or a fault of ours.
void tell(const std::exception& error) {
  writeDiagnostic(std::string("halvercine: ") + error.what());
}

int run(const Options& options) {
  if (options.command == Command::version) return print(versionCommand(options));
  const auto machine = Machine::make(options);
  if (!machine) {
    return print(failure(options, ExitStatus::usage, "scenario-unreadable", machine.error()));
  }
  int status = static_cast<int>(ExitStatus::failed);
  try {
    status = print(runOn(**machine, options));
  } catch (const std::exception& error) {  // what was under way is still put in order below
    tell(error);
  }
  // A call that a dead disk never lets return must not keep the program from ending.
  if (!(*machine)->actor().settleBackground(patience)) std::_Exit(status);
  return status;
}

}  // namespace

int runProgram(int argc, const char* const* argv) {
  // A reader that has gone is found when writing: ending on the spot would leave things half done.
  std::signal(SIGPIPE, SIG_IGN);
  // A file that would grow past its limit is an error of the write, likewise.
  std::signal(SIGXFSZ, SIG_IGN);
  try {
    const auto options = readOptions(argc, argv);
    return options ? run(*options) : print(misuse(options.error()));
  } catch (const std::exception& error) {
    tell(error);
    return static_cast<int>(ExitStatus::failed);
  }
}

}  // namespace halvercine::app
