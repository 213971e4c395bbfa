#include "check/CheckRate.h"

#include <cmath>

namespace halvercine::check {
namespace {

constexpr std::chrono::seconds window{10};
constexpr std::chrono::seconds shortest{1};
// What takes longer than a week is not told: nobody knows.
constexpr double mostSeconds = 7.0 * 24 * 3600;

}  // namespace

void CheckRate::add(platform::Uptime now, const CheckProgressSnapshot& frame) {
  const Sample sample{now, frame.stage, frame.scanned, frame.total};
  if (!samples_.empty()) {
    const auto& last = samples_.back();
    if (last.stage != sample.stage || sample.scanned < last.scanned) reset();
  }
  samples_.push_back(sample);
  while (samples_.size() > 2 && now - samples_[1].at >= window) samples_.pop_front();
}

std::optional<double> CheckRate::unitsPerSecond() const {
  if (samples_.size() < 2) return std::nullopt;
  const auto& first = samples_.front();
  const auto& last = samples_.back();
  if (last.at - first.at < shortest || last.scanned == first.scanned) return std::nullopt;
  const auto seconds = std::chrono::duration<double>(last.at - first.at).count();
  return static_cast<double>(last.scanned - first.scanned) / seconds;
}

std::optional<std::chrono::seconds> CheckRate::timeLeft() const {
  const auto rate = unitsPerSecond();
  if (!rate || samples_.back().total < samples_.back().scanned) return std::nullopt;
  const auto left = static_cast<double>(samples_.back().total - samples_.back().scanned);
  const auto seconds = std::ceil(left / *rate);
  if (seconds > mostSeconds) return std::nullopt;
  return std::chrono::seconds(static_cast<std::int64_t>(seconds));
}

}  // namespace halvercine::check
