#include "mount/takeover/MountRetryQueue.h"

#include <gtest/gtest.h>

namespace halvercine::mount {
namespace {

using namespace std::chrono_literals;

TEST(MountRetryQueueTest, FiveRetriesAfterTheirDelaysThenNone) {
  MountRetryQueue queue;
  platform::Uptime now = 1000s;
  queue.failed("disk4s1", 7, now);
  for (const auto delay : {10s, 30s, 120s, 300s, 600s}) {
    EXPECT_FALSE(queue.begin("disk4s1", 7, now + delay - 1ns));
    EXPECT_EQ(queue.nextDue(now), now + delay);
    now += delay;
    EXPECT_TRUE(queue.begin("disk4s1", 7, now));
    now += 5s;  // the attempt takes its time
    queue.failed("disk4s1", 7, now);
  }
  EXPECT_FALSE(queue.begin("disk4s1", 7, now + 24h));
  EXPECT_EQ(queue.nextDue(now), std::nullopt);
  EXPECT_FALSE(queue.place("disk4s1", false)->hasPendingRetry);
}

TEST(MountRetryQueueTest, MachineThatSleptMakesOneRetry) {
  MountRetryQueue queue;
  queue.failed("disk4s1", 7, 0s);
  ASSERT_TRUE(queue.begin("disk4s1", 7, 8h));
  queue.failed("disk4s1", 7, 8h);
  EXPECT_FALSE(queue.begin("disk4s1", 7, 8h));
  EXPECT_EQ(queue.nextDue(8h), 8h + 30s);
}

TEST(MountRetryQueueTest, EntryOfAnotherDeviceIsIgnored) {
  MountRetryQueue queue;
  queue.failed("disk4s1", 7, 0s);
  ASSERT_TRUE(queue.begin("disk4s1", 7, 10s));
  EXPECT_EQ(queue.find("disk4s1", 8), nullptr);
  EXPECT_FALSE(queue.begin("disk4s1", 8, 1h));
  queue.failed("disk4s1", 8, 1h);
  EXPECT_EQ(queue.find("disk4s1", 8)->count, 0) << "it begins anew";
  EXPECT_EQ(queue.find("disk4s1", 7), nullptr);
}

}  // namespace
}  // namespace halvercine::mount
