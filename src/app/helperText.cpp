#include "app/helperText.h"

#include <boost/json/array.hpp>

#include "base/Json.h"
#include "base/Text.h"

namespace halvercine::app {
namespace {

using helper::HelperState;

std::string_view stateKey(HelperState state) {
  switch (state) {
    case HelperState::ready:
      return "ui.helper.state.ready";
    case HelperState::installedByScript:
      return "ui.helper.state.installed";
    case HelperState::awaitingApproval:
      return "ui.helper.state.approval";
    case HelperState::notRegistered:
      return "ui.helper.state.notregistered";
    case HelperState::unreachable:
      return "ui.helper.state.unreachable";
    case HelperState::notAnswering:
      return "ui.helper.state.notanswering";
    case HelperState::unknownStatus:
      return "ui.helper.status.unknown";
    case HelperState::noService:
      return "ui.helper.state.noservice";
  }
  return "";
}

}  // namespace

std::string helperStateText(const CommandContext& context, const helper::HelperOutcome& outcome) {
  const auto text = context.text(stateKey(outcome.state));
  return outcome.reason.empty() ? text : text + " (" + base::displayText(outcome.reason) + ")";
}

std::vector<std::string> helperNotices(const CommandContext& context,
                                       const helper::HelperOutcome& outcome) {
  std::vector<std::string> texts;
  texts.reserve(outcome.notices.size());
  for (const auto& notice : outcome.notices) texts.push_back(notice.in(context.localization));
  return texts;
}

bool isUsable(const helper::HelperOutcome& outcome) {
  return outcome.formattingAvailable.has_value();  // that is: it has answered
}

ExitStatus helperExitStatus(const helper::HelperOutcome& outcome) {
  if (isUsable(outcome)) return ExitStatus::done;
  return outcome.state == HelperState::awaitingApproval ? ExitStatus::notPermitted
                                                        : ExitStatus::failed;
}

std::string_view helperErrorId(HelperState state) {
  switch (state) {
    case HelperState::awaitingApproval:
      return "helper-awaiting-approval";
    case HelperState::notRegistered:
      return "helper-not-registered";
    case HelperState::unreachable:
      return "helper-unreachable";
    case HelperState::ready:
    case HelperState::installedByScript:
    case HelperState::notAnswering:
      return "helper-not-answering";
    case HelperState::unknownStatus:
      return "helper-status-unknown";
    case HelperState::noService:
      return "no-helper-service";
  }
  return "";
}

boost::json::object helperJson(const CommandContext& context,
                               const helper::HelperOutcome& outcome) {
  boost::json::object json{{"state", base::toJson(outcome.state)}};
  if (outcome.formattingAvailable) json["formattingAvailable"] = *outcome.formattingAvailable;
  if (!outcome.reason.empty()) json["reason"] = outcome.reason;
  boost::json::array notices;
  notices.reserve(outcome.notices.size());
  for (const auto& notice : outcome.notices) {
    notices.push_back({{"key", notice.key}, {"text", notice.in(context.localization)}});
  }
  json["notices"] = std::move(notices);
  return json;
}

}  // namespace halvercine::app
