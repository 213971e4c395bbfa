#include "check/CheckOutput.h"

#include <algorithm>
#include <cstddef>
#include <exception>
#include <optional>
#include <string>
#include <utility>

#include <boost/json/monotonic_resource.hpp>

#include "base/Json.h"
#include "base/Text.h"
#include "base/runAsAdministrator.h"
#include "check/Excerpt.h"

namespace halvercine::check {
namespace {

constexpr std::size_t tailLength = 200;  // characters

/// A failure line of the tool; a report has other keys besides.
struct ErrorEnvelope {
  std::optional<std::string> error;
};
BOOST_DESCRIBE_STRUCT(ErrorEnvelope, (), (error))

std::string_view utf8OrNothing(std::string_view bytes) {
  return base::isUtf8(bytes) ? bytes : std::string_view();
}

/// The last line that begins with a brace. Lines end at LF alone here. Looked for from the front:
/// that way round searching is much faster, and the report is nearly all of the text.
std::string_view reportLine(std::string_view output) {
  std::string_view found;
  while (!output.empty()) {
    const auto line = output.substr(0, output.find('\n'));
    if (line.starts_with('{')) found = line;
    output.remove_prefix(std::min(line.size() + 1, output.size()));
  }
  return found;
}

/// Without the marker, which stands on the same line when the tool does not end its own.
std::string_view withoutMarker(std::string_view line) {
  if (line.find(exitMarker) == std::string_view::npos) return line;
  const auto brace = line.rfind('}');
  return brace == std::string_view::npos ? line : line.substr(0, brace + 1);
}

std::string orEmpty(std::string text) { return text.empty() ? "(empty)" : std::move(text); }

/// Nothing when there is nothing to tell.
std::optional<std::string> diagnostic(int exitCode, std::string_view output,
                                      std::string_view errors) {
  auto errorText = onOneLine(errors);
  const auto tail = lastCharacters(output, tailLength);
  auto outputText = onOneLine(tail);
  if (errorText.empty() && outputText.empty()) return std::nullopt;
  auto text = "osascript exit=" + std::to_string(exitCode);
  text += " | stderr: " + orEmpty(std::move(errorText)) + " | stdout tail: ";
  if (tail.size() < output.size()) text += ellipsis;
  return text + orEmpty(std::move(outputText));
}

std::string undecodable(std::string_view line, std::string_view failedText) {
  const auto tail = lastCharacters(line, tailLength);
  std::string shown(tail.size() < line.size() ? ellipsis : "");
  shown += tail;
  return std::string(failedText) + " | JSON decode failed | line tail: " + onOneLine(shown);
}

CheckOutcome failureOf(std::string error) {
  if (error.starts_with(openFailedPrefix)) return CheckNeedsFullDiskAccess();
  return CheckFailed{std::move(error)};
}

CheckOutcome readLine(std::string_view line, std::string_view failedText) {
  // A large report is hundreds of thousands of values, which come and go together.
  const auto value =
      base::parseJson(line, boost::json::make_shared_resource<boost::json::monotonic_resource>());
  if (!value) return CheckFailed{undecodable(line, failedText)};
  if (auto envelope = base::fromJson<ErrorEnvelope>(*value); envelope && envelope->error) {
    return failureOf(std::move(*envelope->error));
  }
  auto report = base::fromJson<CheckReportModel>(*value);
  if (!report) return CheckFailed{undecodable(line, failedText)};
  return CheckSucceeded{std::move(*report)};
}

}  // namespace

CheckOutcome outcomeOf(CheckReportModel report) {
  if (report.cancelled.value_or(false)) return CheckCancelled();
  if (report.error) return failureOf(std::move(*report.error));
  return CheckSucceeded{std::move(report)};
}

CheckOutcome readCheckOutput(const platform::AdministratorResult& result,
                             std::string_view failedText) {
  if (base::isRefused(result)) return CheckCancelled();
  const auto output = utf8OrNothing(result.output);
  const auto line = withoutMarker(reportLine(output));
  try {
    if (!line.empty()) return readLine(line, failedText);
    auto reason = diagnostic(result.exitCode, output, utf8OrNothing(result.errors));
    return CheckFailed{reason ? std::move(*reason) : std::string(failedText)};
  } catch (const std::exception&) {  // no memory for a report
    return CheckFailed{std::string(failedText)};
  }
}

}  // namespace halvercine::check
