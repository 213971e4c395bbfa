#include "platform/simulated/runHelperInstall.h"

#include <filesystem>
#include <optional>
#include <string>
#include <system_error>

#include "base/PrivateFiles.h"
#include "base/base64.h"

namespace halvercine::platform::simulated {
namespace {

constexpr std::size_t scriptLimit = std::size_t{64} * 1024;

/// What stands behind `before`, up to `after`; nothing when they do not occur.
std::optional<std::string> between(std::string_view text, std::string_view before,
                                   std::string_view after) {
  const auto found = text.find(before);
  if (found == std::string_view::npos) return std::nullopt;
  text.remove_prefix(found + before.size());
  const auto end = text.find(after);
  if (end == std::string_view::npos) return std::nullopt;
  return std::string(text.substr(0, end));
}

/// What `echo '…' | /usr/bin/base64 -D` prints.
std::optional<std::string> decodedText(std::string_view text) {
  const auto encoded = between(text, "echo '", "' | /usr/bin/base64 -D");
  return encoded ? base::base64Decoded(*encoded) : std::nullopt;
}

ToolAnswer failure(std::string message) { return {1, "", std::move(message)}; }

ToolAnswer runScript(SimulatedMachine& machine, std::string_view script) {
  const auto path = between(script, "P=\"", "\"");
  const auto list = decodedText(script);
  if (!path || !list) return failure("install: syntax error");
  const auto target = machine.folders().systemPath(*path);
  if (const auto error = base::makePrivateDirectory(target.parent_path())) {
    return failure(error.message());
  }
  if (const auto error = base::replacePrivateFile(target, *list)) return failure(error.message());
  const auto launchctl = machine.toolScripts().next("launchctl", {"bootstrap", "system", *path});
  if (launchctl.status.value_or(0) == 0) return {};
  std::error_code ignored;
  std::filesystem::remove(target, ignored);
  return failure(launchctl.errors.value_or(""));
}

}  // namespace

bool isHelperInstall(std::string_view command) {
  return command.find("/bin/cp '/Library/Caches/halvercine-helper-install-") !=
         std::string_view::npos;
}

ToolAnswer runHelperInstall(SimulatedMachine& machine, std::string_view command) {
  const auto source = between(command, "/bin/cp '", "'");
  const auto expected = decodedText(command);
  if (!source || !expected) return failure("sh: syntax error");
  const auto script = base::readRegularFile(machine.folders().systemPath(*source), scriptLimit);
  if (!script) return failure("cp: " + *source + ": " + script.error().message());
  if (*script != *expected) return failure("the installation script was changed before it ran");
  return runScript(machine, *script);
}

}  // namespace halvercine::platform::simulated
