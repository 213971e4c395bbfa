#include "app/declareCommandLine.h"

#include <string_view>

#include <CLI/CLI.hpp>
#include <boost/describe.hpp>

namespace halvercine::app {
namespace {

constexpr const char* footer =
    "Examples:\n"
    "  halvercine list\n"
    "  halvercine explain disk4s1\n"
    "  halvercine check disk4s1 --repair\n"
    "  halvercine --simulate=checks check Damaged\n"
    "\n"
    "Exit status: 0 done, 1 failed or refused, 2 wrong command line, 3 no such disk, 4 busy,\n"
    "5 not permitted, 130 interrupted.";

/// Numbers only: what reads as "nan" is within every range.
std::string refuseSeconds(const std::string& text) {
  constexpr double most = 1e9;
  double seconds = 0;
  const bool fits = CLI::detail::lexical_cast(text, seconds) && seconds >= 0 && seconds <= most;
  return fits ? "" : text + " is not a number of seconds from 0 to 1000000000";
}

void addGlobalOptions(CLI::App& program, Options& options, std::string& scenario,
                      std::string& language) {
  auto* simulate =
      program
          .add_option("--simulate", scenario,
                      "Work on a simulated Mac: a scenario file, or the name of a bundled one")
          ->option_text("[=SCENARIO]");
  program.add_option("--at", options.at, "Let so many simulated seconds pass first")
      ->option_text("SECONDS")
      ->needs(simulate)
      ->check(refuseSeconds);
  program.add_flag("--fast", options.fast, "Let simulated time pass as fast as it can")
      ->needs(simulate);
  program.add_option("--lang", language, "Language of the texts: en, zh-Hans")
      ->option_text("LANGUAGE")
      ->check(CLI::IsMember({"en", "zh-Hans"}));
  program.add_flag("--json", options.json, "Print one JSON document");
  program.add_flag("--no-color", options.noColor, "Print without colours");
  program.set_version_flag("--version", std::string(), "Show the version");
}

/// A command below `parent`; when it is given, `chosen` becomes `value`.
template <class Value>
CLI::App* addCommand(CLI::App& parent, Value& chosen, Value value, std::string_view name,
                     const std::string& description) {
  auto* command = parent.add_subcommand(std::string(name), description);
  command->fallthrough();
  command->callback([&chosen, value] { chosen = value; });
  return command;
}

void addDisk(CLI::App* command, Options& options) {
  command
      ->add_option("DISK", options.disk,
                   "BSD name, device path, volume UUID, mount point or volume name")
      ->required();
}

void addLogActions(CLI::App& log, Options& options) {
  const auto add = [&](LogAction action, std::string_view name, const std::string& description) {
    return addCommand(log, options.logAction, action, name, description);
  };
  log.require_subcommand(1);
  add(LogAction::show, "show", "Show the entries, newest first");
  auto* exportTo = add(LogAction::exportTo, "export", "Write the entries to a text file");
  exportTo->add_option("FILE", options.file, "A new file, or - for standard output")
      ->capture_default_str();
  exportTo->add_flag("--force", options.force, "Replace a file that is there");
  add(LogAction::copy, "copy", "Put the entries onto the clipboard");
  add(LogAction::clear, "clear", "Delete all entries")
      ->add_flag("--yes", options.yes, "Do not ask");
}

void addHelperActions(CLI::App& helper, Options& options) {
  const auto add = [&](HelperAction action, std::string_view name, const std::string& description) {
    return addCommand(helper, options.helperAction, action, name, description);
  };
  helper.require_subcommand(1);
  add(HelperAction::status, "status", "Show whether the helper can be used");
  add(HelperAction::registerIt, "register", "Have the system start it when it is needed");
  add(HelperAction::repair, "repair", "Register it anew when it is enabled but cannot be reached");
  add(HelperAction::install, "install", "Install it as the administrator")
      ->add_flag("--yes", options.yes, "Do not ask");
  add(HelperAction::unregister, "unregister", "Take the registration back")
      ->add_flag("--yes", options.yes, "Do not ask");
}

void addSpeedTest(CLI::App& command, Options& options) {
  command
      .add_option("PATH", options.disk,
                  "A folder on the volume, or a BSD name, device path, volume UUID, mount point or "
                  "volume name")
      ->required();
  command
      .add_option_function<std::string>(
          "--tier",
          [&options](const std::string& word) {
            boost::describe::enum_from_string(word.c_str(), options.tier);
          },
          "How large a file and how long: fast (512 MiB), standard (1 GiB, if not given), "
          "endurance (4 GiB)")
      ->option_text("TIER")
      ->check(CLI::IsMember({"fast", "standard", "endurance"}));
  command
      .add_option("--compare", options.compareWith,
                  "Set the result of an earlier `speedtest --json` beside this one")
      ->option_text("FILE");
}

void addDuration(CLI::App* command, Options& options) {
  command->add_option("--for", options.seconds, "End after so many seconds")
      ->option_text("SECONDS")
      ->check(refuseSeconds);
}

/// One command a line, each with its own arguments.
void addCommands(CLI::App& program, Options& options) {
  const auto add = [&](Command command, const std::string& description) {
    return addCommand(program, options.command, command, commandName(command), description);
  };
  add(Command::list, "List the disks and volumes");
  addDisk(add(Command::info, "Show everything that is known of one disk"), options);
  addDisk(add(Command::explain, "Say why a disk is as it is, and what can be done about it"),
          options);
  addDuration(add(Command::watch, "Follow the disks as they come, change and go"), options);
  addDuration(
      add(Command::run,
          "Stay, and make every read-only NTFS volume of this machine writable as it comes"),
      options);
  auto* mount = add(Command::mount, "Mount a volume");
  addDisk(mount, options);
  mount->add_flag("--read-only", options.readOnly, "Mount it so that it cannot be changed");
  auto* unmount = add(Command::unmount, "Unmount a volume");
  addDisk(unmount, options);
  unmount->add_flag("--force", options.force, "Unmount it although files on it are open");
  addDisk(add(Command::takeover, "Unmount a read-only NTFS volume and mount it writable"), options);
  add(Command::occupants, "Show which programs have files open on volumes or below folders")
      ->add_option("PATH", options.paths, "Mount points, folders, files, or what names a volume")
      ->required();
  add(Command::drivers, "Show other vendors' NTFS drivers on this machine");
  addLogActions(*add(Command::log, "Show, export or clear the record of what was done to disks"),
                options);
  auto* check = add(Command::check, "Check an NTFS volume, or repair it");
  addDisk(check, options);
  check->add_flag("--repair", options.repair,
                  "Repair what can be repaired; asks first, and needs --yes without a terminal");
  check->add_flag("--direct", options.direct,
                  "Check with the command-line tool, without the file-system module");
  check->add_flag("--yes", options.yes, "Repair without asking");
  check->add_flag("--copy", options.copy, "Copy the report to the clipboard too");
  addHelperActions(*add(Command::helper, "Show or change how the privileged helper is started"),
                   options);
  auto* unlock = add(Command::unlock, "Unlock a BitLocker volume");
  unlock->footer("Without a terminal the password is the first line of standard input.");
  addDisk(unlock, options);
  unlock->add_flag("--recovery", options.recovery, "With the 48-digit recovery password");
  unlock->add_flag("--remember", options.remember, "Keep the password in the keychain");
  unlock->add_flag("--read-only", options.readOnly, "Mount it so that it cannot be changed");
  addSpeedTest(*add(Command::speedtest, "Measure how fast a volume is read and written"), options);
  add(Command::version, "Show the version");
}

}  // namespace

void declareCommandLine(CLI::App& program, Options& options, std::string& scenario,
                        std::string& language) {
  addGlobalOptions(program, options, scenario, language);
  program.require_subcommand(1);
  program.fallthrough();
  addCommands(program, options);
  program.footer(footer);  // last: commands would take it over
}

}  // namespace halvercine::app
