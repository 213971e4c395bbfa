#include <optional>
#include <string>
#include <utility>

#include "app/commands.h"
#include "app/confirm.h"
#include "app/helperText.h"
#include "app/runToAnswer.h"
#include "base/Text.h"
#include "helper/HelperClient.h"
#include "helper/HelperRegistration.h"
#include "helper/OneClickInstall.h"

namespace halvercine::app {
namespace {

using base::Task;
using helper::HelperOutcome;
using helper::HelperRegistration;
using helper::HelperState;

/// The notices, one a line, and `last`.
std::string lines(const CommandContext& context, const HelperOutcome& outcome,
                  const std::string& last) {
  std::string text;
  for (const auto& notice : helperNotices(context, outcome)) text += notice + '\n';
  return text + last;
}
std::string lines(const CommandContext& context, const HelperOutcome& outcome) {
  return lines(context, outcome, helperStateText(context, outcome));
}

std::string buildLine(const CommandContext& context, const std::string& registered,
                      const std::string& build) {
  return context.text("ui.helper.build",
                      {base::displayText(registered), base::displayText(build)}) +
         '\n';
}

/// The answer of a step that was to make the helper usable.
Answer conclude(const CommandContext& context, const HelperOutcome& outcome) {
  const auto status = helperExitStatus(outcome);
  if (status != ExitStatus::done) {
    return failure(context.options, status, helperErrorId(outcome.state), lines(context, outcome),
                   helperJson(context, outcome));
  }
  if (context.options.json) return jsonAnswer(context.options, helperJson(context, outcome));
  return {status, lines(context, outcome) + '\n', ""};
}

Task<Answer> status(const CommandContext& context, HelperRegistration& registration) {
  const auto outcome = co_await registration.look();
  auto& bundle = *context.platform.applicationBundle;
  const auto build = bundle.info(platform::bundle_key::build).value_or("");
  const auto registered = registration.registeredBuild();
  const auto exitStatus = helperExitStatus(outcome);
  if (context.options.json) {
    auto json = helperJson(context, outcome);
    json.erase("notices");
    json["status"] = static_cast<int>(registration.status().value());
    json["build"] = build;
    if (!registered.empty()) json["registeredBuild"] = registered;
    auto answer = jsonAnswer(context.options, std::move(json));
    answer.status = exitStatus;
    co_return answer;
  }
  auto text = helperStateText(context, outcome) + '\n';
  if (!registered.empty() && registered != build) {
    text += buildLine(context, registered, build);
  }
  if (outcome.formattingAvailable == false) text += context.text("ui.helper.noformat") + '\n';
  co_return Answer{exitStatus, text, ""};
}

/// `reason` is why nothing was installed, if that has failed.
Task<Answer> install(const CommandContext& context, HelperRegistration& registration,
                     std::optional<std::string>& reason) {
  const auto outcome =
      co_await helper::installWithOneClick(context.platform, context.text("ui.helper.prompt"));
  if (std::holds_alternative<helper::InstallCancelled>(outcome)) {
    co_return failure(context.options, ExitStatus::interrupted, "interrupted",
                      context.text("ui.helper.install.cancelled"));
  }
  if (const auto* failed = std::get_if<helper::InstallFailed>(&outcome)) {
    reason = failed->reason.in(context.localization);
    co_return Answer{};
  }
  auto now = co_await registration.look();
  now.notices.push_back({.key = "ui.helper.install.done"});
  co_return conclude(context, now);
}

Task<Answer> fallBack(const CommandContext& context, HelperRegistration& registration,
                      std::string reason) {
  const auto registered = co_await registration.fallBack();
  const std::vector<std::string> arguments(1, reason);
  co_return failure(
      context.options, ExitStatus::failed, "helper-install-failed",
      context.text("ui.helper.install.failed", arguments) + '\n' + lines(context, registered),
      helperJson(context, registered));
}

Task<Answer> unregister(const CommandContext& context, HelperRegistration& registration) {
  const auto outcome = co_await registration.unregister();
  if (outcome.state != HelperState::notRegistered) {
    co_return failure(context.options, ExitStatus::failed, "helper-not-unregistered",
                      context.text("ui.helper.unregister.failed") + '\n' + lines(context, outcome),
                      helperJson(context, outcome));
  }
  if (context.options.json) co_return jsonAnswer(context.options, helperJson(context, outcome));
  co_return Answer{ExitStatus::done,
                   lines(context, outcome, context.text("ui.helper.unregister.done")) + '\n', ""};
}

/// The answer of a step that was not agreed to, or nothing.
std::optional<Answer> refusal(const CommandContext& context, std::string_view question) {
  if (context.options.yes) return std::nullopt;
  if (context.options.json || !canAsk()) {
    return failure(context.options, ExitStatus::usage, "confirmation-needed",
                   context.text("ui.helper.needsyes"));
  }
  if (confirm(context.text(question) + '\n' + context.text("ui.confirm.prompt") + ' ')) {
    return std::nullopt;
  }
  return failure(context.options, ExitStatus::failed, "not-confirmed",
                 context.text("ui.helper.refused"));
}

Task<Answer> concludeAfter(const CommandContext& context, Task<HelperOutcome> step) {
  const auto outcome = co_await std::move(step);
  co_return conclude(context, outcome);
}

Task<Answer> perform(const CommandContext& context, HelperRegistration& registration,
                     std::optional<std::string>& notInstalled) {
  switch (context.options.helperAction) {
    case HelperAction::status:
      break;
    case HelperAction::registerIt:
      return concludeAfter(context, registration.ensure());
    case HelperAction::repair:
      return concludeAfter(context, registration.repair());
    case HelperAction::install:
      return install(context, registration, notInstalled);
    case HelperAction::unregister:
      return unregister(context, registration);
  }
  return status(context, registration);
}

}  // namespace

Answer helperCommand(const CommandContext& context, Machine& machine) {
  helper::HelperClient client(context.platform);
  HelperRegistration registration(machine.actor(), context.platform, client);
  if (!registration.status()) {
    const HelperOutcome outcome;
    return failure(context.options, ExitStatus::failed, helperErrorId(outcome.state),
                   helperStateText(context, outcome));
  }
  const auto action = context.options.helperAction;
  std::optional<Answer> refused;
  if (action == HelperAction::install) refused = refusal(context, "ui.helper.install.question");
  if (action == HelperAction::unregister) {
    refused = refusal(context, "ui.helper.unregister.question");
  }
  if (refused) return std::move(*refused);
  // Between two halves of a registration there is none.
  const bool changesRegistration =
      action != HelperAction::status && action != HelperAction::install;
  const auto interruption = changesRegistration ? Interruption::waits : Interruption::cancels;
  std::optional<std::string> notInstalled;
  auto answer =
      runToAnswer(context, machine, interruption, perform(context, registration, notInstalled));
  if (!notInstalled) return answer;
  return runToAnswer(context, machine, Interruption::waits,
                     fallBack(context, registration, std::move(*notInstalled)));
}

}  // namespace halvercine::app
