#include "speedtest/SpeedCounters.h"

#include <gtest/gtest.h>

namespace halvercine::speedtest {
namespace {

using std::chrono::microseconds;

constexpr SpeedCell cell{SpeedProfile::rnd4kQ1, SpeedDirection::read};

TEST(SpeedCountersTest, ThePercentileIsTheSampleAtTheTruncatedIndex) {
  // Samples of 1 to n microseconds: the value says which index it was, plus one.
  const std::pair<int, double> rows[] = {{1, 1}, {2, 1}, {100, 99}, {101, 100}, {1000, 990}};
  for (const auto& [count, expected] : rows) {
    SpeedCounters counters(1);
    counters.reset(true);
    for (int sample = count; sample >= 1; --sample) {
      counters.lane(0).record(4096, microseconds(sample));
    }
    const auto result = counters.result(cell, microseconds(10));
    EXPECT_EQ(result.p99LatencyUs, expected) << count;
    EXPECT_DOUBLE_EQ(result.avgLatencyUs, (count + 1) / 2.0) << count;
  }
}

TEST(SpeedCountersTest, OnlyTheFirstSamplesAreKept) {
  for (const bool isMore : {false, true}) {
    SpeedCounters counters(2);
    counters.reset(true);
    for (std::size_t sample = 0; sample < SpeedCounters::mostLatencies; ++sample) {
      counters.lane(sample % 2).record(4096, microseconds(10));
    }
    if (isMore) counters.lane(0).record(4096, microseconds(1'000'000));
    const auto result = counters.result(cell, microseconds(10));
    EXPECT_EQ(counters.latenciesCapped(), isMore);
    EXPECT_EQ(result.p99LatencyUs.has_value(), !isMore);
    EXPECT_DOUBLE_EQ(result.avgLatencyUs, 10);
    EXPECT_EQ(counters.ops(), SpeedCounters::mostLatencies + (isMore ? 1 : 0));
  }
}

TEST(SpeedCountersTest, NothingMeasuredIsNoRate) {
  SpeedCounters counters(1);
  counters.reset(true);
  counters.lane(0).pass(4096);  // in the warm-up
  EXPECT_EQ(counters.transferred(), 4096u);
  EXPECT_EQ(counters.result(cell, microseconds(10)),
            (SpeedCellResult{cell.profile, cell.direction, 0, 0, 0, {}}));
  counters.reset(false);
  counters.lane(0).record(1'000'000, microseconds(10));  // 1 ms is the least that counts
  const auto result = counters.result(cell, microseconds(10));
  EXPECT_DOUBLE_EQ(result.mbps, 1000);
  EXPECT_DOUBLE_EQ(result.iops, 1000);
  EXPECT_FALSE(result.p99LatencyUs) << "no samples were asked for";
  EXPECT_FALSE(counters.latenciesCapped());
}

}  // namespace
}  // namespace halvercine::speedtest
