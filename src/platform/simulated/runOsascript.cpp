#include "platform/simulated/runOsascript.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "platform/simulated/runCheckTool.h"
#include "platform/simulated/runHelperInstall.h"

namespace halvercine::platform::simulated {
namespace {

using Words = std::vector<std::string>;

/// Takes a quoted text from the front of a script.
std::optional<std::string> takeText(std::string_view& script) {
  if (!script.starts_with('"')) return std::nullopt;
  std::string text;
  for (std::size_t i = 1; i < script.size(); ++i) {
    if (script[i] == '"') {
      script.remove_prefix(i + 1);
      return text;
    }
    if (script[i] == '\\' && ++i == script.size()) break;
    text += script[i];
  }
  return std::nullopt;
}

bool take(std::string_view& script, std::string_view words) {
  if (!script.starts_with(words)) return false;
  script.remove_prefix(words.size());
  return true;
}

/// The command of the one form of script that is known.
std::optional<std::string> shellCommandOf(std::string_view script) {
  if (!take(script, "do shell script ")) return std::nullopt;
  auto command = takeText(script);
  if (!command || !take(script, " with administrator privileges")) return std::nullopt;
  if (take(script, " with prompt ") && !takeText(script)) return std::nullopt;
  return script.empty() ? std::move(command) : std::nullopt;
}

/// Splits a shell's line into commands at semicolons and blanks, and takes its quotes away.
class CommandLine {
 public:
  explicit CommandLine(std::string_view text) : text_(text) {}

  /// Nothing when a quote is left open.
  std::optional<std::vector<Words>> read() {
    for (; at_ < text_.size(); ++at_) {
      const char character = text_[at_];
      if (character == '\'' || character == '"') {
        if (!readQuoted(character)) return std::nullopt;
      } else if (character == '\\' && at_ + 1 < text_.size()) {
        word() += text_[++at_];
      } else if (character == ' ' || character == '\n') {
        isInWord_ = false;
      } else if (character == ';') {
        isInWord_ = false;
        commands_.emplace_back();
      } else {
        word() += character;
      }
    }
    std::erase_if(commands_, [](const Words& words) { return words.empty(); });
    return std::move(commands_);
  }

 private:
  bool readQuoted(char quote) {
    const auto end = text_.find(quote, at_ + 1);
    if (end == std::string_view::npos) return false;
    word() += text_.substr(at_ + 1, end - at_ - 1);
    at_ = end;
    return true;
  }

  std::string& word() {
    if (!std::exchange(isInWord_, true)) commands_.back().emplace_back();
    return commands_.back().back();
  }

  std::string_view text_;
  std::size_t at_ = 0;
  std::vector<Words> commands_{1};
  bool isInWord_ = false;
};

ToolAnswer scriptedCheckTool(const SimulatedMachine& machine, const Words& arguments,
                             const ScenarioTool& script) {
  if (script.startError) {
    return {126, "", "sh: " + std::string(checkToolPath) + ": " + *script.startError + '\n'};
  }
  auto answer = doesItsWork(script) ? runCheckTool(machine, arguments) : ToolAnswer();
  if (script.text) answer.output = *script.text;
  if (script.errors) answer.errors = *script.errors;
  if (script.signal) answer.status = 128 + *script.signal;
  if (script.status) answer.status = *script.status;
  return answer;
}

void echo(const Words& words, int status, std::string& output) {
  for (std::size_t i = 1; i < words.size(); ++i) {
    auto word = words[i];
    if (const auto at = word.find("$?"); at != std::string::npos) {
      word.replace(at, 2, std::to_string(status));
    }
    if (i > 1) output += ' ';
    output += word;
  }
  output += '\n';
}

ToolAnswer runCommands(const SimulatedMachine& machine, const std::vector<Words>& commands,
                       const ScenarioTool& script) {
  ToolAnswer shell;
  for (const auto& words : commands) {
    if (words[0] == "echo") {
      echo(words, std::exchange(shell.status, 0), shell.output);
    } else if (words[0] == checkToolPath) {
      auto tool = scriptedCheckTool(machine, {words.begin() + 1, words.end()}, script);
      shell.status = tool.status;
      shell.output += tool.output;
      shell.errors += tool.errors;
      if (script.hang) break;
    } else {
      shell.status = 127;
      shell.errors += "sh: " + words[0] + ": command not found\n";
    }
  }
  return shell;
}

/// Lines end with CR in the result of a script, the last with nothing; the tool adds an LF when it
/// prints it. A failed command becomes the message of an error, and all that it printed is lost.
ToolAnswer answerOf(ToolAnswer shell) {
  if (shell.status == 0) {
    if (shell.output.ends_with('\n')) shell.output.pop_back();
    std::ranges::replace(shell.output, '\n', '\r');
    return {0, std::move(shell.output) + '\n', ""};
  }
  if (shell.errors.ends_with('\n')) shell.errors.pop_back();
  if (shell.errors.empty()) shell.errors = "The command exited with a non-zero status.";
  return {1, "",
          "0:90: execution error: " + shell.errors + " (" + std::to_string(shell.status) + ")\n"};
}

}  // namespace

PreparedRun prepareOsascript(SimulatedMachine& machine, const std::vector<std::string>& arguments,
                             ScenarioTool script) {
  const bool isScript = arguments.size() == 2 && arguments[0] == "-e";
  const auto command = isScript ? shellCommandOf(arguments[1]) : std::nullopt;
  if (command && isHelperInstall(*command)) {
    return {std::move(script), [&machine, command = *command] {
              return answerOf(runHelperInstall(machine, command));
            }};
  }
  const auto commands = command ? CommandLine(*command).read() : std::nullopt;
  if (!commands) {
    return {
        std::move(script), [] {
          return ToolAnswer{1, "", "0:1: syntax error: A unknown token can’t go here. (-2740)\n"};
        }};
  }
  ScenarioTool tool;
  for (const auto& words : *commands) {
    if (!doesItsWork(script) || words[0] != checkToolPath) continue;
    tool = machine.toolScripts().next(checkToolName, {words.begin() + 1, words.end()});
    if (tool.seconds) script.seconds = script.seconds.value_or(standardSeconds) + *tool.seconds;
    if (tool.megabytes) script.megabytes = tool.megabytes;
    if (tool.hang) script.then = "do";
    script.hang = script.hang || tool.hang;
  }
  return {std::move(script), [&machine, commands = *commands, tool] {
            return answerOf(runCommands(machine, commands, tool));
          }};
}

}  // namespace halvercine::platform::simulated
