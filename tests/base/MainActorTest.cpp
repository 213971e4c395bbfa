#include "base/MainActor.h"

#include <future>
#include <latch>
#include <stdexcept>
#include <thread>

#include "base/OwnedPost.h"
#include "base/RepeatingTimer.h"
#include "base/either.h"
#include "base/runInBackground.h"
#include "support/AsyncTest.h"

namespace halvercine::base {
namespace {

using namespace std::chrono_literals;
using tests::AsyncTest;

using MainActorTest = AsyncTest;

TEST_F(MainActorTest, runAnswersFalseWhenNothingCanHappenAnyMore) {
  bool rang = false;
  clock.callAt(5s, [&rang] { rang = true; });
  EXPECT_FALSE(actor.run());
  EXPECT_TRUE(rang);
  EXPECT_FALSE(actor.runUntil([] { return false; }));
}

TEST(MainActorOnRealTimeTest, stopFromAnotherThreadWakesAWaitingRun) {
  MainActor actor;
  std::thread stopper;
  actor.post([&] { stopper = std::thread([&actor] { actor.stop(); }); });
  EXPECT_TRUE(actor.run());
  stopper.join();
}

TEST_F(MainActorTest, actionsRunInOrderAndNeverInsideThePost) {
  std::string order;
  actor.post([&] {
    actor.post([&] { order += 'c'; });
    order += 'a';
  });
  actor.post([&] { order += 'b'; });
  settle();
  EXPECT_EQ(order, "abc");
}

TEST_F(MainActorTest, exceptionOfAnActionComesOutAndTheActorGoesOn) {
  bool ran = false;
  actor.post([] { throw std::runtime_error("posted"); });
  actor.post([&ran] { ran = true; });
  EXPECT_THROW(actor.run(), std::runtime_error);
  settle();
  EXPECT_TRUE(ran);
}

TEST_F(MainActorTest, knowsItsThread) {
  EXPECT_TRUE(actor.isCurrent());
  EXPECT_FALSE(run(runInBackground(actor, [this] { return actor.isCurrent(); })));
}

TEST_F(MainActorTest, virtualTimeStandsStillWhileBackgroundWorkIsUnderWay) {
  std::latch release(1);
  auto work = runInBackground(actor, [&] {
    release.wait();
    return clock.uptime();
  });
  // A few turns with nothing to do lie between the start of the work and its end.
  actor.post([&] { actor.post([&] { actor.post([&] { release.count_down(); }); }); });
  const auto result = run(withTimeout(clock, 1ms, std::move(work)));
  ASSERT_TRUE(result) << "time moved on while the work was running";
  EXPECT_EQ(*result, 0s);
  EXPECT_EQ(clock.uptime(), 0s);
}

TEST_F(MainActorTest, backgroundWorkYieldsValuesExceptionsAndNothing) {
  EXPECT_EQ(*run(runInBackground(actor, [] { return std::make_unique<int>(5); })), 5);
  bool ran = false;
  run(runInBackground(actor, [&ran] { ran = true; }));
  EXPECT_TRUE(ran);
  EXPECT_THROW(run(runInBackground(actor, []() -> int { throw std::range_error("work"); })),
               std::range_error);
}

Task<void> awaitWork(MainActor& actor, std::shared_future<void> released, bool& resumed) {
  const auto work = [released] { released.wait(); };
  co_await runInBackground(actor, work);
  resumed = true;
}

TEST_F(MainActorTest, cancelledWaitForBackgroundWorkEndsAtOnce) {
  std::promise<void> release;
  bool resumed = false;
  scope->spawn("work", awaitWork(actor, release.get_future().share(), resumed));
  actor.post([this] { actor.post([this] { scope->cancelAll(); }); });
  actor.runUntil([this] { return scope->running() == 0; });
  release.set_value();  // only now can the work end
  settle();
  EXPECT_FALSE(resumed);
}

TEST_F(MainActorTest, ownedPostsDieWithTheirOwner) {
  int calls = 0;
  auto owned = std::make_unique<OwnedPost>(actor);
  const auto add = owned->wrap([&calls](int number) { calls += number; });
  std::thread([&add] { add(2); }).join();
  settle();
  EXPECT_EQ(calls, 2);
  add(5);
  owned.reset();
  add(7);
  settle();
  EXPECT_EQ(calls, 2);
}

TEST_F(MainActorTest, repeatingTimerKeepsItsIntervalUntilItsActionDestroysIt) {
  std::vector<platform::Uptime> beats;
  auto timer = std::make_unique<RepeatingTimer>(clock);
  timer->start(10s, [&] {
    beats.push_back(clock.uptime());
    if (beats.size() == 3) timer.reset();
  });
  settle();
  EXPECT_EQ(beats, (std::vector<platform::Uptime>{10s, 20s, 30s}));
  EXPECT_EQ(clock.uptime(), 30s);
}

}  // namespace
}  // namespace halvercine::base
