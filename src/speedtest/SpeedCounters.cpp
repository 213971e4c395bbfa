#include "speedtest/SpeedCounters.h"

#include <algorithm>
#include <numeric>

namespace halvercine::speedtest {

SpeedCounters::SpeedCounters(std::size_t workers) : latencies_(mostLatencies) {
  lanes_.reserve(workers);
  for (std::size_t worker = 0; worker < workers; ++worker) {
    lanes_.push_back(std::make_unique<Lane>(*this));
  }
}

void SpeedCounters::reset(bool collectsLatencies) {
  for (const auto& lane : lanes_) {
    lane->transferred_.store(0, std::memory_order_relaxed);
    lane->bytes_ = 0;
    lane->ops_ = 0;
  }
  capacity_ = collectsLatencies ? mostLatencies : 0;
  sampleCount_.store(0, std::memory_order_relaxed);
  latenciesCapped_.store(false, std::memory_order_relaxed);
}

std::uint64_t SpeedCounters::transferred() const {
  std::uint64_t total = 0;
  for (const auto& lane : lanes_) total += lane->transferred_.load(std::memory_order_relaxed);
  return total;
}

std::uint64_t SpeedCounters::bytes() const {
  std::uint64_t total = 0;
  for (const auto& lane : lanes_) total += lane->bytes_;
  return total;
}

std::uint64_t SpeedCounters::ops() const {
  std::uint64_t total = 0;
  for (const auto& lane : lanes_) total += lane->ops_;
  return total;
}

SpeedCellResult SpeedCounters::result(const SpeedCell& cell, platform::Uptime measured) {
  constexpr double least = 0.001;
  const auto elapsed = std::max(std::chrono::duration<double>(measured).count(), least);
  SpeedCellResult result{cell.profile, cell.direction, 0, 0, 0, std::nullopt};
  result.mbps = static_cast<double>(bytes()) / 1'000'000 / elapsed;
  result.iops = static_cast<double>(ops()) / elapsed;
  const auto count = std::min(sampleCount_.load(std::memory_order_relaxed), capacity_);
  if (count == 0) return result;
  const auto end = latencies_.begin() + static_cast<std::ptrdiff_t>(count);
  result.avgLatencyUs = std::accumulate(latencies_.begin(), end, 0.0) / static_cast<double>(count);
  if (latenciesCapped()) return result;
  const auto index =
      std::min(count - 1, static_cast<std::size_t>(static_cast<double>(count - 1) * 0.99));
  const auto p99 = latencies_.begin() + static_cast<std::ptrdiff_t>(index);
  std::nth_element(latencies_.begin(), p99, end);
  result.p99LatencyUs = *p99;
  return result;
}

}  // namespace halvercine::speedtest
