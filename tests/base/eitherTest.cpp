#include "base/either.h"

#include <functional>
#include <string>

#include "support/AsyncTest.h"

namespace halvercine::base {
namespace {

using namespace std::chrono_literals;
using tests::AsyncTest;

/// What one of the two does: it ends after a time (at once without a wait, when negative).
struct Job {
  std::chrono::milliseconds lasts;
  bool isFaulty = false;
};

/// How many coroutines have begun, and how many of them are left, in whichever way.
struct Count {
  int begun = 0;
  int ended = 0;
};

struct Counted {
  Count& count;
  explicit Counted(Count& counts) : count(counts) { ++count.begun; }
  ~Counted() { ++count.ended; }
};

Task<int> perform(platform::Clock& clock, Job job, int number, Count& count) {
  const Counted counted(count);
  if (job.lasts >= 0ms) co_await sleepFor(clock, job.lasts);
  if (job.isFaulty) throw std::runtime_error("job " + std::to_string(number));
  co_return number;
}

class EitherTest : public AsyncTest {
 protected:
  /// `work` yields this number, or an exception of this text, after `duration`.
  void expect(const std::string& outcome, std::chrono::milliseconds duration,
              const std::function<int(Count&)>& work) {
    const auto began = clock.uptime();
    Count count;
    std::string found;
    try {
      found = std::to_string(work(count));
    } catch (const std::exception& exception) {
      found = exception.what();
    }
    EXPECT_EQ(found, outcome);
    EXPECT_EQ(count.ended, count.begun) << "all have ended when the result is there";
    EXPECT_EQ(clock.uptime() - began, duration);
    settle();
    EXPECT_EQ(clock.uptime() - began, duration) << "the loser left a timer behind";
  }
};

constexpr auto atOnce = -1ms;
constexpr bool faulty = true;

TEST_F(EitherTest, endsWithTheFirstOfTheTwo) {
  struct Row {
    Job first;
    Job second;
    const char* outcome;
    std::chrono::milliseconds duration;
  };
  const Row rows[] = {{{10ms}, {20ms}, "1", 10ms},
                      {{20ms}, {10ms}, "2", 10ms},
                      {{10ms, faulty}, {20ms}, "job 1", 10ms},
                      {{20ms}, {10ms, faulty}, "job 2", 10ms},
                      {{10ms}, {20ms, faulty}, "1", 10ms},  // the loser would fail
                      {{10ms}, {10ms, faulty}, "1", 10ms},
                      {{atOnce}, {10ms}, "1", 0ms},
                      {{10ms}, {atOnce}, "2", 0ms},
                      {{atOnce}, {atOnce}, "1", 0ms},
                      {{atOnce, faulty}, {5ms}, "job 1", 0ms}};
  for (const auto& row : rows) {
    SCOPED_TRACE(&row - rows);
    expect(row.outcome, row.duration, [&](Count& count) {
      const auto result =
          run(either(perform(clock, row.first, 1, count), perform(clock, row.second, 2, count)));
      return result.index() == 0 ? std::get<0>(result) : std::get<1>(result);
    });
  }
}

TEST_F(EitherTest, aTimeoutBoundsTheWait) {
  struct Row {
    Job job;
    std::chrono::milliseconds limit;
    const char* outcome;  // -1 when none came in time
    std::chrono::milliseconds duration;
  };
  const Row rows[] = {{{10ms}, 20ms, "1", 10ms},  {{10ms, faulty}, 20ms, "job 1", 10ms},
                      {{600s}, 20ms, "-1", 20ms}, {{20ms}, 20ms, "1", 20ms},
                      {{1ms}, 0ms, "-1", 0ms},    {{atOnce}, 0ms, "1", 0ms}};
  for (const auto& row : rows) {
    SCOPED_TRACE(&row - rows);
    expect(row.outcome, row.duration, [&](Count& count) {
      return run(withTimeout(clock, row.limit, perform(clock, row.job, 1, count))).value_or(-1);
    });
  }
}

Task<void> noteSurvival(Task<int> task, bool& survived) {
  co_await std::move(task);
  survived = true;
}

Task<int> eitherNumber(Task<int> first, Task<int> second) {
  const auto result = co_await either(std::move(first), std::move(second));
  co_return result.index() == 0 ? 1 : 2;
}

TEST_F(EitherTest, cancelledFromOutsideEndsBothAndNothingAfterIt) {
  Count count;
  bool survived = false;
  // One of the two has ended in the very turn of the cancellation.
  for (const auto firstLasts : {600s, 5s}) {
    scope->spawn("nested", noteSurvival(eitherNumber(perform(clock, {firstLasts}, 1, count),
                                                     perform(clock, {600s}, 2, count)),
                                        survived));
  }
  clock.callAt(5s, [this] { scope->cancelAll(); });
  actor.runUntil([this] { return scope->running() == 0; });
  settle();
  EXPECT_EQ(count.begun, 4);
  EXPECT_EQ(count.ended, 4);
  EXPECT_FALSE(survived);
  EXPECT_EQ(clock.uptime(), 5s);
  EXPECT_TRUE(log.lines().empty());
}

Task<int> cancelAndSleep(TaskScope& scope, platform::Clock& clock) {
  scope.cancelAll();
  co_await sleepFor(clock, 600s);
  co_return 1;
}

TEST_F(EitherTest, aMemberThatCancelsTheWholeAtOnceEndsIt) {
  Count count;
  bool survived = false;
  scope->spawn("nested", noteSurvival(eitherNumber(cancelAndSleep(*scope, clock),
                                                   perform(clock, {600s}, 2, count)),
                                      survived));
  settle();
  EXPECT_FALSE(survived);
  EXPECT_EQ(scope->running(), 0U);
  EXPECT_EQ(clock.uptime(), 0s);
}

Task<int> swallowCancellation(platform::Clock& clock) {
  try {
    co_await sleepFor(clock, 600s);
  } catch (const boost::system::system_error&) {
  }
  co_return 7;
}

TEST_F(EitherTest, aTaskThatSwallowsItsCancellationHasTimedOutAllTheSame) {
  EXPECT_FALSE(run(withTimeout(clock, 1s, swallowCancellation(clock))));
}

TEST_F(EitherTest, voidTasksHaveOutcomesToo) {
  EXPECT_TRUE(run(withTimeout(clock, 2s, sleepFor(clock, 1s))));
  EXPECT_FALSE(run(withTimeout(clock, 1s, sleepFor(clock, 2s))));
  EXPECT_EQ(run(either(sleepFor(clock, 2s), sleepFor(clock, 1s))).index(), 1U);
}

TEST_F(EitherTest, limitsNest) {
  Count count;
  auto inner = withTimeout(clock, 10s, perform(clock, {600s}, 1, count));
  EXPECT_FALSE(run(withTimeout(clock, 3s, std::move(inner))));
  EXPECT_EQ(clock.uptime(), 3s);
  EXPECT_EQ(count.ended, 1);
}

}  // namespace
}  // namespace halvercine::base
