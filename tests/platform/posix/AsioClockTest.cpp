#include "platform/posix/AsioClock.h"

#include <memory>
#include <string>

#include <gtest/gtest.h>

namespace halvercine::platform::posix {
namespace {

using namespace std::chrono_literals;

class AsioClockTest : public testing::Test {
 protected:
  /// An action that notes its letter; the last one ends the test.
  std::function<void()> note(char letter) {
    return [this, letter] { trail += letter; };
  }
  void runUntilLast() {
    ASSERT_TRUE(actor.runUntil([this] { return trail.ends_with('z'); }));
  }

  base::MainActor actor;
  AsioClock clock{actor};
  std::string trail;
};

TEST_F(AsioClockTest, callsInTheOrderOfTheDeadlines) {
  const auto start = clock.uptime();
  clock.callAt(start + 3ms, note('z'));
  clock.callAt(start + 1ms, note('b'));
  clock.callAt(start + 2ms, note('c'));
  clock.callAt(start + 1ms, note('B'));
  clock.callAt(start - 1s, note('a'));
  EXPECT_EQ(trail, "") << "never from inside the call";
  runUntilLast();
  EXPECT_EQ(trail, "abBcz");
  EXPECT_GE(clock.uptime(), start + 3ms);
}

TEST_F(AsioClockTest, cancelledActionsAreDestroyedAndNotCalled) {
  const auto start = clock.uptime();
  const auto held = std::make_shared<int>();
  const auto earliest = clock.callAt(start + 1ms, [held] {});
  TimerId second = 0;
  clock.callAt(start + 1ms, [&] { clock.cancel(second); });
  second = clock.callAt(start + 1ms, note('x'));
  clock.callAt(start + 2ms, note('z'));
  clock.cancel(earliest);
  EXPECT_EQ(held.use_count(), 1);
  runUntilLast();
  EXPECT_EQ(trail, "z");
  clock.cancel(second);
}

TEST_F(AsioClockTest, anActionThatFilesThePastLetsTheOthersRunFirst) {
  const auto start = clock.uptime();
  clock.callAt(start - 2s, [&] { clock.callAt(start - 2s, note('z')); });
  clock.callAt(start - 1s, note('a'));
  runUntilLast();
  EXPECT_EQ(trail, "az");
}

TEST_F(AsioClockTest, clockThatIsGoneCallsNothing) {
  auto gone = std::make_unique<AsioClock>(actor);
  const auto due = gone->uptime() - 1s;
  gone->callAt(due, note('x'));
  clock.callAt(due, [&] { gone.reset(); });
  clock.callAt(clock.uptime() + 2ms, note('z'));
  runUntilLast();
  EXPECT_TRUE(trail == "xz" || trail == "z");
}

}  // namespace
}  // namespace halvercine::platform::posix
