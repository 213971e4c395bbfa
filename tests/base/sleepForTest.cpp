#include "base/sleepFor.h"

#include "support/AsyncTest.h"

namespace halvercine::base {
namespace {

using namespace std::chrono_literals;
using tests::AsyncTest;

using SleepForTest = AsyncTest;

Task<void> note(platform::Clock& clock, platform::Uptime duration, char letter,
                std::string& trail) {
  co_await sleepFor(clock, duration);
  trail += letter;
}

TEST_F(SleepForTest, sleepersWakeInTheOrderOfTheirDeadlines) {
  std::string trail;
  scope->spawn("c", note(clock, 30s, 'c', trail));
  scope->spawn("a", note(clock, 10s, 'a', trail));
  scope->spawn("b", note(clock, 20s, 'b', trail));
  scope->spawn("d", note(clock, 30s, 'd', trail));  // of one deadline: in the order of the calls
  scope->spawn("0", note(clock, -5s, '0', trail));  // the past: at the next turn
  settle();
  EXPECT_EQ(trail, "0abcd");
  EXPECT_EQ(clock.uptime(), 30s);
  EXPECT_EQ(clock.now(), platform::WallTime{} + 30s);
}

TEST_F(SleepForTest, cancelledSleepTakesItsTimerBack) {
  std::string trail;
  scope->spawn("a", note(clock, 600s, 'a', trail));
  clock.callAt(1s, [this] { scope->cancelAll(); });
  settle();
  EXPECT_EQ(trail, "");
  EXPECT_EQ(clock.uptime(), 1s);
}

TEST(VirtualClockTest, advanceByRunsWhatFallsDueOnTheWay) {
  VirtualClock clock{platform::WallTime{}};
  std::vector<platform::Uptime> calls;
  const auto record = [&] { calls.push_back(clock.uptime()); };
  clock.callAt(2s, record);
  clock.callAt(1s, [&] {
    record();
    clock.callAt(3s, record);
  });
  clock.callAt(5s, record);
  clock.cancel(clock.callAt(1s, record));
  clock.advanceBy(4s);
  EXPECT_EQ(calls, (std::vector<platform::Uptime>{1s, 2s, 3s}));
  EXPECT_EQ(clock.uptime(), 4s);
}

}  // namespace
}  // namespace halvercine::base
