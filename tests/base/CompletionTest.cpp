#include "base/Completion.h"

#include <optional>
#include <thread>
#include <vector>

#include "support/AsyncTest.h"

namespace halvercine::base {
namespace {

using tests::AsyncTest;

const auto nothingToUndo = std::function<void()>();

/// A wait whose completion is kept outside, as a system callback would.
struct Pending {
  std::optional<Completion<int>> completion;
  int undone = 0;
  bool resumed = false;
};

Task<void> waitOn(std::shared_ptr<Pending> pending) {
  const auto start = [pending](Completion<int> completion) {
    pending->completion = completion;
    return [raw = pending.get()] { ++raw->undone; };
  };
  co_await waitFor<int>(start);
  pending->resumed = true;
}

class CompletionTest : public AsyncTest {
 protected:
  /// A wait that is under way.
  std::shared_ptr<Pending> begin() {
    auto pending = std::make_shared<Pending>();
    scope->spawn("wait", waitOn(pending));
    settle();
    EXPECT_TRUE(pending->completion);
    return pending;
  }
};

TEST_F(CompletionTest, firstCallWinsAndLaterOnesAreDropped) {
  EXPECT_EQ(run(waitFor<int>([](Completion<int> completion) {
              completion(1);  // even from inside the start
              completion(2);
              return nothingToUndo;
            })),
            1);
  settle();
}

TEST_F(CompletionTest, callsMayComeFromSeveralThreads) {
  actor.setIdleHandler(nullptr);  // the actor knows nothing of these threads
  std::vector<std::thread> threads;
  const int winner = run(waitFor<int>([&threads](Completion<int> completion) {
    for (int number = 0; number < 4; ++number) {
      threads.emplace_back([completion, number] { completion(number); });
    }
    return nothingToUndo;
  }));
  for (auto& thread : threads) thread.join();
  clock.attachTo(actor);
  settle();
  EXPECT_GE(winner, 0);
  EXPECT_LT(winner, 4);
}

TEST_F(CompletionTest, cancelledWaitIsUndoneOnceAndLateCallsAreDropped) {
  const auto pending = begin();
  scope->cancelAll();
  scope->cancelAll();
  settle();
  (*pending->completion)(1);
  settle();
  EXPECT_EQ(pending->undone, 1);
  EXPECT_FALSE(pending->resumed);
  EXPECT_EQ(scope->running(), 0U);
}

TEST_F(CompletionTest, ownerThatDiesAfterTheCallIsNotResumed) {
  const auto pending = begin();
  (*pending->completion)(1);
  scope.reset();
  settle();
  EXPECT_FALSE(pending->resumed);
  EXPECT_EQ(pending->undone, 0) << "what has happened cannot be taken back";
}

TEST_F(CompletionTest, callFromAThreadAfterTheOwnerDiedIsHarmless) {
  const auto pending = begin();
  std::thread late([completion = *pending->completion] { completion(1); });
  scope.reset();
  late.join();
  settle();
  EXPECT_FALSE(pending->resumed);
}

TEST_F(CompletionTest, exceptionOfTheStartComesOut) {
  const auto failing = [](Completion<int>) -> std::function<void()> {
    throw std::runtime_error("cannot begin");
  };
  EXPECT_THROW(run(waitFor<int>(failing)), std::runtime_error);
}

TEST_F(CompletionTest, waitsThatNobodyEndsAreFreedWithTheActor) {
  std::weak_ptr<Pending> watched;
  {
    MainActor shortLived;
    TaskScope owner(shortLived, log);
    const auto pending = std::make_shared<Pending>();
    watched = pending;
    shortLived.setIdleHandler([] { return false; });
    owner.spawn("wait", waitOn(pending));
    shortLived.runUntil([] { return false; });
    ASSERT_TRUE(pending->completion);
    pending->completion.reset();
  }
  EXPECT_TRUE(watched.expired());
}

}  // namespace
}  // namespace halvercine::base
