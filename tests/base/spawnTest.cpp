#include "base/spawn.h"

#include <functional>
#include <stdexcept>

#include <boost/asio/error.hpp>
#include <boost/system/system_error.hpp>
#include <gmock/gmock.h>

#include "base/sleepFor.h"
#include "support/AsyncTest.h"

namespace halvercine::base {
namespace {

using namespace std::chrono_literals;
using tests::AsyncTest;

/// Calls `before`, sleeps, calls `after`; holds `frame` while it exists.
Task<void> sleeper(platform::Clock& clock, std::function<void()> before,
                   std::function<void()> after, [[maybe_unused]] std::shared_ptr<int> frame) {
  before();
  co_await sleepFor(clock, 10s);
  after();
}

void nothing() {}

class TaskScopeTest : public AsyncTest {
 protected:
  void spawn(std::function<void()> before, std::function<void()> after = nothing,
             std::shared_ptr<int> frame = nullptr) {
    scope->spawn("sleeper", sleeper(clock, std::move(before), std::move(after), std::move(frame)));
  }
};

TEST_F(TaskScopeTest, startsLaterEvenOnTheMainActor) {
  std::string order;
  actor.post([&] {
    spawn([&order] { order += 'b'; });
    order += 'a';
  });
  settle();
  EXPECT_EQ(order, "ab");
  EXPECT_EQ(scope->running(), 0U);
}

TEST_F(TaskScopeTest, destructionCancelsAndFreesWhatWaits) {
  bool resumed = false;
  std::weak_ptr<int> frame;
  {
    auto held = std::make_shared<int>();
    frame = held;
    spawn(
        nothing, [&] { resumed = true; }, std::move(held));
  }
  actor.post([this] { actor.post([this] { scope.reset(); }); });
  settle();
  EXPECT_FALSE(resumed);
  EXPECT_TRUE(frame.expired());
  EXPECT_EQ(clock.uptime(), 0s);
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(TaskScopeTest, whatIsCancelledBeforeItStartsNeverRuns) {
  bool ran = false;
  spawn([&] { ran = true; });
  scope->cancelAll();
  EXPECT_NO_THROW(settle());
  EXPECT_FALSE(ran);
  EXPECT_EQ(scope->running(), 0U);

  actor.post([&] {  // and when it begins on the actor itself
    spawn([&] { ran = true; });
    scope.reset();
  });
  EXPECT_NO_THROW(settle());
  EXPECT_FALSE(ran);
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(TaskScopeTest, timeThatIsUpInTheTurnOfTheCancellationDoesNotResumeTheDeadOwner) {
  bool started = false;
  bool resumed = false;
  spawn([&] { started = true; }, [&] { resumed = true; });
  actor.runUntil([&started] { return started; });
  clock.advanceBy(10s);  // the wait is over, but the actor has not come round to it
  scope.reset();
  settle();
  EXPECT_FALSE(resumed);
}

Task<void> endAtOnce(std::function<void()> action) {
  action();
  co_return;
}

TEST_F(TaskScopeTest, aTaskMayCancelOrDestroyItsOwnOwnerAndReturnWithoutWaiting) {
  scope->spawn("cancels", endAtOnce([this] { scope->cancelAll(); }));
  EXPECT_NO_THROW(settle());
  EXPECT_EQ(scope->running(), 0U);
  scope->spawn("destroys", endAtOnce([this] { scope.reset(); }));
  EXPECT_NO_THROW(settle());
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(TaskScopeTest, aTaskThatDestroysItsOwnerEndsAtTheNextWait) {
  bool resumed = false;
  spawn([this] { scope.reset(); }, [&] { resumed = true; });
  settle();
  EXPECT_FALSE(resumed);
  EXPECT_EQ(clock.uptime(), 0s);
}

TEST_F(TaskScopeTest, cancelledScopeTakesNewTasks) {
  bool ended = false;
  scope->cancelAll();
  spawn(nothing, [&] { ended = true; });
  settle();
  EXPECT_TRUE(ended);
}

TEST_F(TaskScopeTest, failuresAreLoggedByNameAndCancellationsAreNot) {
  namespace error = boost::asio::error;
  using boost::system::system_error;
  scope->spawn("first", endAtOnce([] { throw std::runtime_error("out of paper"); }));
  scope->spawn("second", endAtOnce([] { throw system_error(error::connection_refused); }));
  scope->spawn("third", endAtOnce([] { throw system_error(error::operation_aborted); }));
  scope->spawn("fourth", endAtOnce([] { throw 4; }));
  settle();
  EXPECT_THAT(log.lines(), testing::ElementsAre("Halvercine: first: out of paper",
                                                testing::StartsWith("Halvercine: second: "),
                                                "Halvercine: fourth: unknown error"));
}

}  // namespace
}  // namespace halvercine::base
