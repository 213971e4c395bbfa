#include "mount/takeover/MountRetryQueue.h"

#include <gtest/gtest.h>

namespace halvercine::mount {
namespace {

using namespace std::chrono_literals;

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
