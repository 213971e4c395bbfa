#include "app/explanationText.h"

#include <algorithm>

#include <boost/json/array.hpp>

#include "base/Json.h"
#include "base/Text.h"

namespace halvercine::app {
namespace {

/// Lines behind marks, wrapped to the terminal.
class Section {
 public:
  Section(const base::Localization& localization, const Terminal& terminal)
      : localization_(localization), terminal_(terminal) {}

  void title(std::string_view key) {
    lines_ += '\n' + terminal_.tinted(localization_.text(key), Tint::heading) + '\n';
  }

  void item(std::string_view mark, const base::LocalizedText& text) {
    constexpr std::size_t indent = 2;
    constexpr std::size_t fewest = 20;  // narrower, it would read like a list of words
    const auto hanging = indent + base::displayWidth(mark) + 1;
    const auto all = terminal_.columns();
    const auto room = all == 0 ? std::string::npos : std::max(all, hanging + fewest) - hanging;
    const auto shown = base::displayText(text.in(localization_));
    bool isFirst = true;
    for (const auto line : base::wrapped(shown, room)) {
      if (isFirst) {
        lines_.append(indent, ' ').append(mark).append(" ");
      } else {
        lines_.append(hanging, ' ');
      }
      lines_.append(line) += '\n';
      isFirst = false;
    }
  }

  /// Whole, to be copied.
  void command(const std::string& text) {
    lines_.append(6, ' ') += terminal_.tinted(text, Tint::quiet) + '\n';
  }

  std::string take() { return std::move(lines_); }

 private:
  const base::Localization& localization_;
  const Terminal& terminal_;
  std::string lines_;
};

std::string headlineText(const mount::Explanation& explanation,
                         const base::Localization& localization, const Terminal& terminal) {
  const auto text = base::displayText(explanation.headline.in(localization));
  const auto room = terminal.columns() == 0 ? std::string::npos : terminal.columns();
  std::string lines;
  for (const auto line : base::wrapped(text, room)) {
    lines += terminal.tinted(line, Tint::heading);
    lines += '\n';
  }
  return lines;
}

boost::json::object keyed(const base::LocalizedText& text, const base::Localization& localization) {
  return {{"key", text.key}, {"text", text.in(localization)}};
}

}  // namespace

std::string explanationText(const mount::Explanation& explanation,
                            const base::Localization& localization, const Terminal& terminal) {
  Section section(localization, terminal);
  if (!explanation.evidence.empty()) section.title("ui.explain.evidence");
  for (const auto& fact : explanation.evidence) section.item("-", fact);
  if (!explanation.program.empty()) section.title("ui.explain.program");
  for (const auto& action : explanation.program) section.item("-", action);
  if (!explanation.next.empty()) section.title("ui.explain.next");
  int number = 0;
  for (const auto& step : explanation.next) {
    section.item(std::to_string(++number) + ".", step.text);
    if (step.command) section.command(*step.command);
  }
  return headlineText(explanation, localization, terminal) + section.take();
}

boost::json::object explanationJson(const std::string& bsdName,
                                    const mount::Explanation& explanation,
                                    const base::Localization& localization) {
  boost::json::array evidence;
  for (const auto& fact : explanation.evidence) evidence.push_back(keyed(fact, localization));
  boost::json::array program;
  for (const auto& action : explanation.program) program.push_back(keyed(action, localization));
  boost::json::array next;
  for (const auto& step : explanation.next) {
    auto entry = keyed(step.text, localization);
    if (step.command) entry["command"] = *step.command;
    next.push_back(std::move(entry));
  }
  return {{"disk", bsdName},
          {"state", base::toJson(explanation.state)},
          {"recovery", base::toJson(explanation.recovery)},
          {"headline", keyed(explanation.headline, localization)},
          {"evidence", std::move(evidence)},
          {"program", std::move(program)},
          {"next", std::move(next)}};
}

}  // namespace halvercine::app
