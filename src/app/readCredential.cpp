#include "app/readCredential.h"

#include <csignal>
#include <functional>
#include <string>
#include <system_error>

#include <boost/json/array.hpp>

#include "app/Terminal.h"
#include "base/Text.h"
#include "bitlocker/unlock/RecoveryEntry.h"
#include "platform/posix/SecretPrompt.h"

namespace halvercine::app {
namespace {

using bitlocker::RecoveryEntry;

std::string inOneLine(const CommandContext& context,
                      const std::vector<base::LocalizedText>& texts) {
  std::string line;
  for (const auto& text : texts) {
    if (!line.empty()) line += ' ';
    line += text.in(context.localization);
  }
  return line;
}

/// What is known of a recovery password while it is typed.
std::string recoveryHint(const CommandContext& context, std::string_view text) {
  const RecoveryEntry entry(text);
  if (text.empty()) return context.text("bitlocker.recovery.placeholder");
  if (entry.isValid()) return context.text("ui.unlock.recovery.complete");
  return inOneLine(context, entry.faults());
}

/// The prompt with the hint, or what a row of so many columns holds of the hint.
std::string inOneRow(const std::string& prompt, const std::string& hint, std::size_t columns) {
  if (columns == 0 || base::displayWidth(prompt + hint) < columns) return prompt + hint;
  const auto first = base::wrapped(hint, columns - 1).front();
  return base::displayWidth(first) < columns ? std::string(first) : std::string();
}

Answer interrupted(const CommandContext& context, int signal) {
  return failure(context.options, signal == SIGHUP ? ExitStatus::hungUp : ExitStatus::interrupted,
                 "interrupted", context.text("ui.interrupt.done"));
}

Answer invalidRecovery(const CommandContext& context, const RecoveryEntry& entry) {
  boost::json::array groups;
  for (const auto group : entry.wrongGroups()) groups.emplace_back(group);
  return failure(
      context.options, ExitStatus::usage, "bitlocker.recovery.invalid",
      context.text("bitlocker.recovery.invalid") + ' ' + inOneLine(context, entry.faults()),
      {{"digits", entry.size()}, {"wrongGroups", std::move(groups)}});
}

std::expected<base::Secret, Answer> ask(const CommandContext& context, const DiskView& view) {
  const bool isRecovery = context.options.recovery;
  const auto terminal = Terminal::forErrors(context.options.noColor);
  const auto prompt = context.text(isRecovery ? "ui.unlock.ask.recovery" : "ui.unlock.ask.password",
                                   {base::displayText(view.disk.name)}) +
                      ' ';
  std::function<std::string(std::string_view)> redrawn;
  if (isRecovery && terminal.redraws()) {
    redrawn = [&](std::string_view text) {
      return inOneRow(prompt, recoveryHint(context, text), terminal.columns());
    };
  }
  if (isRecovery) {
    const auto help = context.text("bitlocker.recovery.help");
    const auto columns = terminal.columns() > 0 ? terminal.columns() : help.size();
    for (const auto line : base::wrapped(help, columns)) writeDiagnostic(line);
  }
  platform::posix::SecretPrompt secrets;
  for (;;) {
    auto entered = secrets.ask(prompt, redrawn);
    if (!entered) return std::unexpected(interrupted(context, entered.error()));
    if (entered->empty() || !isRecovery) return std::move(*entered);
    const RecoveryEntry entry(entered->reveal());
    if (entry.isValid()) return std::move(*entered);
    writeDiagnostic(context.text("bitlocker.recovery.invalid") + ' ' +
                    inOneLine(context, entry.faults()));
  }
}

std::expected<base::Secret, Answer> readLine(const CommandContext& context) {
  auto line = platform::posix::readSecretLine();
  if (!line && line.error() != std::errc::message_size) {
    return std::unexpected(failure(context.options, ExitStatus::failed, "input-failed",
                                   context.text("ui.unlock.unread", {line.error().message()})));
  }
  if (!line || line->reveal().find('\0') != std::string_view::npos) {
    return std::unexpected(failure(context.options, ExitStatus::usage, "credential-unusable",
                                   context.text("ui.unlock.unusable")));
  }
  return std::move(*line);
}

}  // namespace

std::expected<base::Secret, Answer> readCredential(const CommandContext& context,
                                                   const DiskView& view) {
  auto entered = platform::posix::canAskForSecret() ? ask(context, view) : readLine(context);
  if (!entered || entered->empty()) return entered;
  if (!base::isUtf8(entered->reveal())) {
    return std::unexpected(failure(context.options, ExitStatus::usage, "credential-unreadable",
                                   context.text("ui.unlock.unreadable")));
  }
  const RecoveryEntry entry(context.options.recovery ? entered->reveal() : "");
  if (context.options.recovery && !entry.isValid()) {
    return std::unexpected(invalidRecovery(context, entry));
  }
  return entered;
}

}  // namespace halvercine::app
