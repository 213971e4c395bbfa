#include "app/Options.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>
#include <vector>

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include "app/declareCommandLine.h"

namespace halvercine::app {
namespace {

base::Language languageOfEnvironment() {
  for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const char* value = std::getenv(name);
    if (value && *value) return base::languageOf(value);
  }
  return base::Language::en;
}

std::vector<std::string> commandsOf(const CLI::App& parent) {
  std::vector<std::string> names;
  const auto commands = parent.get_subcommands([](const CLI::App*) { return true; });
  names.reserve(commands.size());
  for (const auto* command : commands) names.push_back(command->get_name());
  return names;
}

NothingToRun nothingToRun(const CLI::App& program, const CLI::ParseError& error, bool json) {
  std::ostringstream help;
  std::ostringstream problem;
  const bool isHelp = program.exit(error, help, problem) == 0;
  NothingToRun nothing;
  nothing.status = isHelp ? ExitStatus::done : ExitStatus::usage;
  nothing.text = isHelp ? help.str() : problem.str();
  nothing.json = json;
  const auto commands = program.get_subcommands();
  const bool lacksCommand = dynamic_cast<const CLI::RequiredError*>(&error) != nullptr;
  const auto unknown = lacksCommand ? program.remaining(true) : std::vector<std::string>();
  if (!commands.empty()) nothing.command = commands.front()->get_name();
  // The parser says only that there is no command.
  if (!isHelp && !unknown.empty()) {
    nothing.text = "There is no command or option " + unknown.front();
    const auto known =
        commands.empty() ? std::vector<std::string>() : commandsOf(*commands.front());
    if (!known.empty()) nothing.text += fmt::format("; there are {}", fmt::join(known, ", "));
    nothing.text += "\nRun with --help for more information.";
  }
  return nothing;
}

}  // namespace

std::string_view commandName(Command command) {
  switch (command) {
    case Command::list:
      return "list";
    case Command::info:
      return "info";
    case Command::explain:
      return "explain";
    case Command::watch:
      return "watch";
    case Command::run:
      return "run";
    case Command::mount:
      return "mount";
    case Command::unmount:
      return "unmount";
    case Command::takeover:
      return "takeover";
    case Command::occupants:
      return "occupants";
    case Command::drivers:
      return "drivers";
    case Command::speedtest:
      return "speedtest";
    case Command::log:
      return "log";
    case Command::check:
      return "check";
    case Command::helper:
      return "helper";
    case Command::unlock:
      return "unlock";
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
  declareCommandLine(program, options, scenario, language);
  std::vector<std::string> words(argv + std::min(argc, 1), argv + argc);
  // What follows is no option any more.
  const auto optionsEnd = std::find(words.begin(), words.end(), "--");
  const bool json = std::find(words.begin(), optionsEnd, "--json") != optionsEnd;
  const auto simulate = std::find(words.begin(), optionsEnd, "--simulate");
  const auto behindIt = simulate != optionsEnd && simulate + 1 != optionsEnd ? simulate[1] : "";
  // Without a value it takes no word behind it.
  std::replace_if(
      words.begin(), optionsEnd,
      [](const auto& word) { return word == "--simulate" || word == "--simulate="; },
      "--simulate=default");
  // Without a value the parser would take the word behind it, which may be the command.
  const auto bare = std::find_if(words.begin(), optionsEnd, [](const auto& word) {
    return word.starts_with("--") && word.find('=') == word.size() - 1;
  });
  if (bare != optionsEnd) {
    NothingToRun nothing{ExitStatus::usage, "There is no value in " + *bare, "", json};
    const auto commands = commandsOf(program);
    const auto command =
        std::find_first_of(words.begin(), optionsEnd, commands.begin(), commands.end());
    if (command != optionsEnd) nothing.command = *command;
    return std::unexpected(std::move(nothing));
  }
  std::reverse(words.begin(), words.end());  // as the parser wants them
  try {
    program.parse(std::move(words));
  } catch (const CLI::CallForVersion&) {
    options.command = Command::version;
    options.json = json;
    return options;
  } catch (const CLI::ParseError& error) {
    auto nothing = nothingToRun(program, error, json);
    const auto unexpected = program.remaining(true);
    if (!behindIt.empty() && !behindIt.starts_with('-') &&
        std::find(unexpected.begin(), unexpected.end(), behindIt) != unexpected.end()) {
      if (!nothing.text.ends_with('\n')) nothing.text += '\n';
      nothing.text += "Write --simulate=" + behindIt + " for a scenario.";
    }
    return std::unexpected(std::move(nothing));
  }
  if (program.count("--simulate") > 0) options.scenario = scenario;
  if (!language.empty()) options.language = base::languageOf(language);
  return options;
}

}  // namespace halvercine::app
