#include "check/CheckRate.h"

#include <gtest/gtest.h>

namespace halvercine::check {
namespace {

using namespace std::chrono_literals;

CheckProgressSnapshot snapshotOf(std::uint32_t stage, std::uint64_t scanned,
                                 std::uint64_t total = 1000) {
  CheckProgressSnapshot frame;
  frame.stage = stage;
  frame.scanned = scanned;
  frame.total = total;
  return frame;
}

TEST(CheckRateTest, JudgesByTheLastTenSecondsOfTheStage) {
  CheckRate rate;
  rate.add(0s, snapshotOf(1, 0));
  EXPECT_FALSE(rate.unitsPerSecond()) << "one frame is no rate";
  rate.add(500ms, snapshotOf(1, 50));
  EXPECT_FALSE(rate.unitsPerSecond()) << "too soon";
  rate.add(2s, snapshotOf(1, 200));
  EXPECT_EQ(rate.unitsPerSecond(), 100);
  EXPECT_EQ(rate.timeLeft(), 8s);
  for (auto at = 12s; at <= 22s; at += 1s) rate.add(at, snapshotOf(1, 190 + at.count()));
  EXPECT_EQ(rate.unitsPerSecond(), 1) << "it has become slow";
  EXPECT_EQ(rate.timeLeft(), 788s);
  rate.add(23s, snapshotOf(2, 0));
  EXPECT_FALSE(rate.unitsPerSecond()) << "another stage counts something else";
}

TEST(CheckRateTest, TellsNoTimeThatNobodyKnows) {
  CheckRate rate;
  rate.add(0s, snapshotOf(1, 10));
  rate.add(5s, snapshotOf(1, 10));
  EXPECT_FALSE(rate.timeLeft()) << "it gets nowhere";
  rate.add(6s, snapshotOf(1, 20, 15));
  EXPECT_FALSE(rate.timeLeft()) << "more than all";
  rate.add(7s, snapshotOf(1, 21, ~std::uint64_t{0}));
  EXPECT_FALSE(rate.timeLeft()) << "for ever";
  rate.reset();
  EXPECT_FALSE(rate.unitsPerSecond());
}

}  // namespace
}  // namespace halvercine::check
