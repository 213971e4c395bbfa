#include "app/Answer.h"

#include <sstream>

#include "base/Json.h"
#include "base/Text.h"

namespace halvercine::app {
namespace {

/// A document without its result or error.
boost::json::object envelope(std::string_view command) {
  boost::json::object document = {{"format", jsonFormat}};
  if (!command.empty()) document["command"] = command;
  return document;
}

/// A document's text. Names and paths can hold bytes that are no UTF-8; the document cannot.
std::string documentText(const boost::json::object& document) {
  return base::repairedUtf8(base::prettyJson(document));
}

std::string errorDocument(std::string_view command, std::string_view id, const std::string& message,
                          boost::json::object details) {
  auto document = envelope(command);
  boost::json::object error = {{"id", id}, {"message", message}};
  for (auto& detail : details) error.emplace(detail.key(), std::move(detail.value()));
  document["error"] = std::move(error);
  return documentText(document);
}

/// The lines of a text, each harmless on a terminal.
std::string displayLines(std::string_view text) {
  std::string shown;
  std::istringstream lines{std::string(text)};
  for (std::string line; std::getline(lines, line);) {
    if (!shown.empty()) shown += '\n';
    shown += base::displayText(line);
  }
  return shown;
}

}  // namespace

Answer jsonAnswer(const Options& options, boost::json::object result) {
  auto document = envelope(commandName(options.command));
  document["result"] = std::move(result);
  return {ExitStatus::done, documentText(document), ""};
}

Answer failure(const Options& options, ExitStatus status, std::string_view id,
               const std::string& message, boost::json::object details) {
  if (!options.json) return {status, "", "halvercine: " + message};
  return {status, errorDocument(commandName(options.command), id, message, std::move(details)), ""};
}

Answer misuse(const NothingToRun& nothing) {
  if (nothing.status == ExitStatus::done) return {nothing.status, nothing.text, ""};
  const auto message = displayLines(base::trimmed(nothing.text));
  if (!nothing.json) return {nothing.status, "", message};
  return {nothing.status, errorDocument(nothing.command, "usage", message, {}), ""};
}

}  // namespace halvercine::app
