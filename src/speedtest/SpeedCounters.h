// What the workers of a cell count.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "platform/Clock.h"
#include "speedtest/SpeedCellResult.h"

namespace halvercine::speedtest {

/// Shared by the workers of one cell after another, allocated once. Each worker has a lane of its
/// own, so that none waits for another; only the place of a latency sample is taken from a common
/// number, which makes the samples that are kept the first ones of all workers together.
class SpeedCounters {
 public:
  /// Of a fast device's window; more would only cost memory.
  static constexpr std::size_t mostLatencies = 200'000;

  class Lane;

  /// Room for so many workers.
  explicit SpeedCounters(std::size_t workers);

  /// Begins anew. No worker is under way.
  void reset(bool collectsLatencies);

  Lane& lane(std::size_t worker) { return *lanes_[worker]; }

  /// Bytes so far, those that are not measured included. Any thread, also while the workers count.
  std::uint64_t transferred() const;

  // Of the measured part. No worker is under way.
  std::uint64_t bytes() const;
  std::uint64_t ops() const;
  bool latenciesCapped() const { return latenciesCapped_.load(std::memory_order_relaxed); }

  /// The result of a cell that was measured for so long, at least 1 ms; reorders the samples. No
  /// worker is under way.
  SpeedCellResult result(const SpeedCell& cell, platform::Uptime measured);

 private:
  void sample(platform::Uptime latency) {
    if (sampleCount_.load(std::memory_order_relaxed) < capacity_) {
      const auto place = sampleCount_.fetch_add(1, std::memory_order_relaxed);
      if (place < capacity_) {
        latencies_[place] = std::chrono::duration<double, std::micro>(latency).count();
        return;
      }
    }
    // Stored once: each store would take the line from all the others.
    if (capacity_ > 0 && !latenciesCapped())
      latenciesCapped_.store(true, std::memory_order_relaxed);
  }

  std::vector<std::unique_ptr<Lane>> lanes_;
  std::vector<double> latencies_;  // microseconds
  std::size_t capacity_ = 0;
  alignas(128) std::atomic<std::size_t> sampleCount_{0};
  alignas(128) std::atomic<bool> latenciesCapped_{false};
};

/// One worker's own counts, on cache lines that no other worker writes. Written by that worker
/// alone.
class alignas(128) SpeedCounters::Lane {
 public:
  explicit Lane(SpeedCounters& counters) : counters_(counters) {}

  /// An operation that is not measured.
  void pass(std::size_t bytes) { add(transferred_, bytes); }

  /// A measured one.
  void record(std::size_t bytes, platform::Uptime latency) {
    add(transferred_, bytes);
    bytes_ += bytes;
    ++ops_;
    counters_.sample(latency);
  }

 private:
  friend SpeedCounters;

  /// There is one writer: no read-modify-write is needed.
  static void add(std::atomic<std::uint64_t>& count, std::uint64_t more) {
    count.store(count.load(std::memory_order_relaxed) + more, std::memory_order_relaxed);
  }

  SpeedCounters& counters_;
  std::atomic<std::uint64_t> transferred_{0};
  std::uint64_t bytes_ = 0;
  std::uint64_t ops_ = 0;
};

}  // namespace halvercine::speedtest
