#include "app/Options.h"

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <sstream>
#include <string_view>
#include <vector>

namespace halvercine::app {
namespace {

base::Language languageOfEnvironment() {
  for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const char* value = std::getenv(name);
    if (value && *value) return base::languageOf(value);
  }
  return base::Language::en;
}

void addGlobalOptions(CLI::App& program, Options& options, std::string& scenario,
                      std::string& language) {
  program
      .add_option("--simulate", scenario,
                  "Work on a simulated Mac: a scenario file, or the name of a bundled one")
      ->option_text("[=SCENARIO]");
  program.add_option("--at", options.at, "Let so many simulated seconds pass first")
      ->option_text("SECONDS")
      ->check(CLI::Range(0.0, 1e9));
  program.add_flag("--fast", options.fast, "Let simulated time pass as fast as it can");
  program.add_option("--lang", language, "Language of the texts: en, zh-Hans")
      ->option_text("LANGUAGE")
      ->check(CLI::IsMember({"en", "zh-Hans"}));
  program.add_flag("--json", options.json, "Print one JSON document");
  program.add_flag("--no-color", options.noColor, "Print without colours");
}

void addDisk(CLI::App* command, Options& options) {
  command
      ->add_option("DISK", options.disk,
                   "BSD name, device path, volume UUID, mount point or volume name")
      ->required();
}

/// One command a line, each with its own arguments.
void addCommands(CLI::App& program, Options& options) {
  const auto add = [&](Command command, const std::string& description) {
    auto* added = program.add_subcommand(std::string(commandName(command)), description);
    added->fallthrough();
    added->callback([&options, command] { options.command = command; });
    return added;
  };
  add(Command::list, "List the disks and volumes");
  addDisk(add(Command::info, "Show everything that is known of one disk"), options);
  add(Command::watch, "Follow the disks as they come, change and go")
      ->add_option("--for", options.seconds, "End after so many seconds")
      ->option_text("SECONDS")
      ->check(CLI::Range(0.0, 1e9));
  auto* mount = add(Command::mount, "Mount a volume");
  addDisk(mount, options);
  mount->add_flag("--read-only", options.readOnly, "Mount it so that it cannot be changed");
  auto* unmount = add(Command::unmount, "Unmount a volume");
  addDisk(unmount, options);
  unmount->add_flag("--force", options.force, "Unmount it although files on it are open");
  add(Command::occupants, "Show which programs have files open below mount points")
      ->add_option("PATH", options.paths, "Mount points")
      ->required();
  add(Command::drivers, "Show other vendors' NTFS drivers on this machine");
  add(Command::version, "Show the version");
}

}  // namespace

std::string_view commandName(Command command) {
  switch (command) {
    case Command::list:
      return "list";
    case Command::info:
      return "info";
    case Command::watch:
      return "watch";
    case Command::mount:
      return "mount";
    case Command::unmount:
      return "unmount";
    case Command::occupants:
      return "occupants";
    case Command::drivers:
      return "drivers";
    case Command::version:
      return "version";
  }
  return "";
}

std::expected<Options, NothingToRun> readOptions(int argc, const char* const* argv) {
  CLI::App program("Halvercine: NTFS volumes under control", "halvercine");
  Options options;
  options.language = languageOfEnvironment();
  std::string scenario;
  std::string language;
  addGlobalOptions(program, options, scenario, language);
  program.require_subcommand(1);
  program.fallthrough();
  addCommands(program, options);
  // The last word first, as the parser wants them. A bare --simulate takes no word behind it.
  std::vector<std::string> words;
  for (int index = argc - 1; index > 0; --index) {
    const std::string_view word = argv[index];
    words.emplace_back(word == "--simulate" ? "--simulate=default" : word);
  }
  try {
    program.parse(std::move(words));
  } catch (const CLI::ParseError& error) {
    std::ostringstream out;
    std::ostringstream problem;
    const bool isHelp = program.exit(error, out, problem) == 0;
    return std::unexpected(NothingToRun{isHelp ? ExitStatus::done : ExitStatus::usage,
                                        isHelp ? out.str() : problem.str()});
  }
  if (program.count("--simulate") > 0) options.scenario = scenario;
  if (!language.empty()) options.language = base::languageOf(language);
  return options;
}

}  // namespace halvercine::app
