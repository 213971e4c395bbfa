#include "app/CheckDisplay.h"

#include <algorithm>
#include <utility>

#include <boost/json/object.hpp>
#include <fmt/format.h>

#include "app/Answer.h"
#include "base/Json.h"

namespace halvercine::app {
namespace {

constexpr std::uint32_t lastStage = 4;

/// The done part of the stage, 0 to 1.
double partOf(const check::CheckProgressSnapshot& frame) {
  if (frame.total == 0) return 0;
  return std::min(1.0, static_cast<double>(frame.scanned) / static_cast<double>(frame.total));
}

std::string stageKey(std::uint32_t stage) {
  return "check.progress.stage." + std::to_string(std::min(stage, lastStage));
}

std::string_view pathName(check::CheckSession::Path path) {
  return boost::describe::enum_to_string(path, "");
}

}  // namespace

std::string durationText(std::chrono::seconds duration) {
  const auto seconds = duration.count();
  if (seconds < 3600) return fmt::format("{}:{:02}", seconds / 60, seconds % 60);
  return fmt::format("{}:{:02}:{:02}", seconds / 3600, seconds / 60 % 60, seconds % 60);
}

CheckDisplay::CheckDisplay(const CommandContext& context, const check::CheckSession& session)
    : context_(context), session_(session), line_(context.options.noColor), state_(stateNow()) {}

void CheckDisplay::update() {
  if (hasEnded_) return;
  const auto now = stateNow();
  if (isFirst_ || now != state_) tellChanges(now);
  state_ = now;
  isFirst_ = false;
  if (context_.options.json) {
    printFrame();
  } else {
    draw();
  }
}

CheckDisplay::State CheckDisplay::stateNow() const {
  return {session_.path(),         session_.cliFallback(), session_.isPaused(),
          session_.isCancelling(), session_.isStopping(),  session_.isRecovering()};
}

void CheckDisplay::tellChanges(const State& now) {
  if (context_.options.json) {
    printEvent({{"event", "state"},
                {"path", pathName(now.path)},
                {"cliFallback", now.cliFallback},
                {"paused", now.isPaused},
                {"cancelling", now.isCancelling},
                {"stopping", now.isStopping},
                {"recovering", now.isRecovering}});
    return;
  }
  if (now.cliFallback && !state_.cliFallback) say(context_.text("ui.check.fallback"));
  if (now.isStopping && !state_.isStopping) say(context_.text("ui.check.stopping"));
  if (now.isRecovering && !state_.isRecovering) say(context_.text("ui.check.recovering"));
  if (state_.isPaused && !now.isPaused && now.isRecovering) {
    say(context_.text("ui.check.pauseover"));
  }
}

void CheckDisplay::printEvent(boost::json::object event) {
  if (nobodyListens_) return;
  boost::json::object line{{"format", jsonFormat}};
  for (auto& member : event) line.emplace(member.key(), std::move(member.value()));
  nobodyListens_ = writeOutput(base::serializeJson(line) + '\n') != Written::all;
}

void CheckDisplay::printFrame() {
  const auto& frame = session_.progress();
  if (!frame || frame == frame_) return;
  frame_ = frame;
  boost::json::object event{{"event", "progress"}};
  auto record = base::toJson(*frame);
  for (auto& member : record.as_object()) event.emplace(member.key(), std::move(member.value()));
  if (const auto rate = session_.rate().unitsPerSecond()) event["unitsPerSecond"] = *rate;
  if (const auto left = session_.rate().timeLeft()) event["secondsLeft"] = left->count();
  printEvent(std::move(event));
}

void CheckDisplay::say(const std::string& line) {
  line_.clear();
  writeDiagnostic("halvercine: " + line);
  if (!context_.options.json) draw();
}

void CheckDisplay::draw() {
  if (!line_.isShown() || hasEnded_ || session_.outcome()) return;
  line_.draw(progressText());
}

std::string CheckDisplay::progressText() const {
  const auto& frame = session_.progress();
  if (!frame) {
    const bool isDirect = session_.path() == check::CheckSession::Path::direct;
    return fittingLine({context_.text(isDirect ? "ui.check.direct" : "ui.check.waiting")},
                       line_.columns());
  }
  const auto part = partOf(*frame);
  std::vector<std::string> pieces{context_.text(stageKey(frame->stage)), progressBar(part),
                                  percentText(part)};
  if (session_.isPaused()) pieces.push_back(context_.text("ui.check.paused"));
  if (const auto left = session_.rate().timeLeft()) {
    pieces.push_back(context_.text("ui.check.timeleft", {durationText(*left)}));
  }
  if (const auto rate = session_.rate().unitsPerSecond()) {
    pieces.push_back(context_.text("ui.check.speed", {fmt::format("{:.0f}", *rate)}));
  }
  return fittingLine(pieces, line_.columns());
}

void CheckDisplay::end() {
  line_.clear();
  hasEnded_ = true;
}

}  // namespace halvercine::app
