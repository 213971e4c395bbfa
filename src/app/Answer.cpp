#include "app/Answer.h"

#include "base/Json.h"

namespace halvercine::app {
namespace {

boost::json::object envelope(const Options& options) {
  return {{"format", jsonFormat}, {"command", commandName(options.command)}};
}

}  // namespace

Answer jsonAnswer(const Options& options, boost::json::object result) {
  auto document = envelope(options);
  document["result"] = std::move(result);
  return {ExitStatus::done, base::prettyJson(document), ""};
}

Answer failure(const Options& options, ExitStatus status, std::string_view id,
               const std::string& message, boost::json::object details) {
  if (!options.json) return {status, "", "halvercine: " + message};
  auto document = envelope(options);
  boost::json::object error = {{"id", id}, {"message", message}};
  for (auto& detail : details) error.emplace(detail.key(), std::move(detail.value()));
  document["error"] = std::move(error);
  return {status, base::prettyJson(document), ""};
}

}  // namespace halvercine::app
