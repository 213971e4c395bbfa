#include "base/either.h"

#include <string>

#include "support/AsyncTest.h"

namespace halvercine::base {
namespace {

using namespace std::chrono_literals;
using tests::AsyncTest;

enum class Ending { value, exception };

/// What one of the two does: it ends after a time (at once without a wait, when negative).
struct Job {
  std::chrono::milliseconds lasts;
  Ending ending = Ending::value;
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
  if (job.ending == Ending::exception) throw std::runtime_error("job " + std::to_string(number));
  co_return number;
}

struct EitherCase {
  const char* name;
  Job first;
  Job second;
  std::string outcome;
  std::chrono::milliseconds duration;
};

class EitherTest : public AsyncTest, public testing::WithParamInterface<EitherCase> {};

TEST_P(EitherTest, endsWithTheFirstOfTheTwo) {
  const auto& param = GetParam();
  Count count;
  std::string outcome;
  try {
    const auto result =
        run(either(perform(clock, param.first, 1, count), perform(clock, param.second, 2, count)));
    outcome = result.index() == 0 ? std::to_string(std::get<0>(result))
                                  : std::to_string(std::get<1>(result));
  } catch (const std::exception& exception) {
    outcome = exception.what();
  }
  EXPECT_EQ(outcome, param.outcome);
  EXPECT_EQ(count.ended, count.begun) << "both have ended when the result is there";
  EXPECT_EQ(clock.uptime(), param.duration);
  settle();
  EXPECT_EQ(clock.uptime(), param.duration) << "the loser left a timer behind";
}

constexpr auto atOnce = -1ms;
INSTANTIATE_TEST_SUITE_P(
    Cases, EitherTest,
    testing::Values(EitherCase{"firstValue", {10ms}, {20ms}, "1", 10ms},
                    EitherCase{"secondValue", {20ms}, {10ms}, "2", 10ms},
                    EitherCase{"firstFails", {10ms, Ending::exception}, {20ms}, "job 1", 10ms},
                    EitherCase{"secondFails", {20ms}, {10ms, Ending::exception}, "job 2", 10ms},
                    EitherCase{"loserWouldFail", {10ms}, {20ms, Ending::exception}, "1", 10ms},
                    EitherCase{"tie", {10ms}, {10ms, Ending::exception}, "1", 10ms},
                    EitherCase{"firstAtOnce", {atOnce}, {10ms}, "1", 0ms},
                    EitherCase{"secondAtOnce", {10ms}, {atOnce}, "2", 0ms},
                    EitherCase{"bothAtOnce", {atOnce}, {atOnce}, "1", 0ms},
                    EitherCase{"failsAtOnce", {atOnce, Ending::exception}, {5ms}, "job 1", 0ms}),
    [](const auto& testCase) { return testCase.param.name; });

struct TimeoutCase {
  const char* name;
  Job job;
  std::chrono::milliseconds limit;
  std::string outcome;
  std::chrono::milliseconds duration;
};

class WithTimeoutTest : public AsyncTest, public testing::WithParamInterface<TimeoutCase> {};

TEST_P(WithTimeoutTest, boundsTheWait) {
  const auto& param = GetParam();
  Count count;
  std::string outcome;
  try {
    const auto result = run(withTimeout(clock, param.limit, perform(clock, param.job, 1, count)));
    outcome = result ? std::to_string(*result) : "timed out";
  } catch (const std::exception& exception) {
    outcome = exception.what();
  }
  EXPECT_EQ(outcome, param.outcome);
  EXPECT_EQ(count.ended, 1);
  settle();
  EXPECT_EQ(clock.uptime(), param.duration);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, WithTimeoutTest,
    testing::Values(TimeoutCase{"value", {10ms}, 20ms, "1", 10ms},
                    TimeoutCase{"exception", {10ms, Ending::exception}, 20ms, "job 1", 10ms},
                    TimeoutCase{"tooLong", {600s}, 20ms, "timed out", 20ms},
                    TimeoutCase{"justInTime", {20ms}, 20ms, "1", 20ms},
                    TimeoutCase{"noTimeAtAll", {1ms}, 0ms, "timed out", 0ms},
                    TimeoutCase{"atOnce", {atOnce}, 0ms, "1", 0ms}),
    [](const auto& testCase) { return testCase.param.name; });

using EitherAsyncTest = AsyncTest;

Task<void> noteSurvival(Task<int> task, bool& survived) {
  co_await std::move(task);
  survived = true;
}

Task<int> eitherNumber(Task<int> first, Task<int> second) {
  const auto result = co_await either(std::move(first), std::move(second));
  co_return result.index() == 0 ? 1 : 2;
}

TEST_F(EitherAsyncTest, cancelledFromOutsideEndsBothAndNothingAfterIt) {
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

TEST_F(EitherAsyncTest, aMemberThatCancelsTheWholeAtOnceEndsIt) {
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

TEST_F(EitherAsyncTest, aTaskThatSwallowsItsCancellationHasTimedOutAllTheSame) {
  EXPECT_FALSE(run(withTimeout(clock, 1s, swallowCancellation(clock))));
}

TEST_F(EitherAsyncTest, voidTasksHaveOutcomesToo) {
  EXPECT_TRUE(run(withTimeout(clock, 2s, sleepFor(clock, 1s))));
  EXPECT_FALSE(run(withTimeout(clock, 1s, sleepFor(clock, 2s))));
  EXPECT_EQ(run(either(sleepFor(clock, 2s), sleepFor(clock, 1s))).index(), 1U);
}

struct NoDefault {
  explicit NoDefault(int number) : value(std::make_unique<int>(number)) {}
  std::unique_ptr<int> value;
};

Task<NoDefault> makeNoDefault() { co_return NoDefault(3); }

TEST_F(EitherAsyncTest, valuesNeedNoDefaultAndNoCopy) {
  EXPECT_EQ(*run(withTimeout(clock, 1s, makeNoDefault()))->value, 3);
}

TEST_F(EitherAsyncTest, limitsNest) {
  Count count;
  auto inner = withTimeout(clock, 10s, perform(clock, {600s}, 1, count));
  EXPECT_FALSE(run(withTimeout(clock, 3s, std::move(inner))));
  EXPECT_EQ(clock.uptime(), 3s);
  EXPECT_EQ(count.ended, 1);
}

}  // namespace
}  // namespace halvercine::base
