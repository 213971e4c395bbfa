#include "check/ModuleCheckSequence.h"

#include <gtest/gtest.h>

namespace halvercine::check {
namespace {

using namespace std::chrono_literals;
using Action = ModuleCheckAction;

constexpr platform::Uptime start = 1000s;

/// A round `at` seconds after the start; everything else as in a check that nobody has taken yet.
ModuleCheckRound round(double at) {
  ModuleCheckRound round;
  round.now =
      start + std::chrono::duration_cast<platform::Uptime>(std::chrono::duration<double>(at));
  round.requestWaits = true;
  return round;
}

ModuleCheckRound taken(double at, std::optional<CheckProgressSnapshot> frame = {}) {
  auto found = round(at);
  found.requestWaits = false;
  found.frame = frame;
  return found;
}

CheckProgressSnapshot frame(double ts, std::uint64_t scanned,
                            std::optional<std::int32_t> pid = {}) {
  return {.stage = 1,
          .scanned = scanned,
          .total = 100,
          .warnings = {},
          .errors = {},
          .ts = ts,
          .pid = pid};
}

/// The round after as many as the time before it takes, in which nothing new is found.
ModuleCheckStep reach(ModuleCheckSequence& sequence, double from, const ModuleCheckRound& target) {
  for (auto at = round(from).now + 2s; at < target.now; at += 2s) {
    auto quiet = target;
    quiet.now = at;
    quiet.frame.reset();
    quiet.reportAccepted = false;
    quiet.holder = MountHolder::nobody;
    if (quiet.cancelWritten > at) quiet.cancelWritten.reset();
    sequence.next(quiet);
  }
  return sequence.next(target);
}

TEST(ModuleCheckSequenceTest, TheSleepOfTheMachineCountsForNoDeadline) {
  ModuleCheckSequence sequence(start);
  EXPECT_EQ(sequence.next(round(5000)).action, Action::poll) << "unclaimed";
  EXPECT_EQ(sequence.next(taken(5001, frame(1, 50))).action, Action::poll);
  EXPECT_EQ(sequence.next(taken(9000)).action, Action::poll) << "no stall";
  auto cancelled = taken(9001);
  cancelled.cancelWritten = start + 9000500ms;
  EXPECT_EQ(sequence.next(cancelled).action, Action::poll);
  cancelled.now = start + 20000s;
  EXPECT_EQ(sequence.next(cancelled).action, Action::poll);
  EXPECT_EQ(reach(sequence, 20000,
                  [&] {
                    auto r = cancelled;
                    r.now += 56s;
                    return r;
                  }())
                .action,
            Action::poll);
  cancelled.now += 59s;
  EXPECT_EQ(reach(sequence, 20056, cancelled).action, Action::leave);
}

TEST(ModuleCheckSequenceTest, WaitsForTheRequestToBeTaken) {
  struct Row {
    double at;
    MountHolder holder;
    Action action;
    const char* line;
  };
  const Row rows[] = {
      {14.9, MountHolder::system, Action::poll, ""},
      {15, MountHolder::system, Action::bypass,
       "Halvercine: 深检标志未被认领（挂载被原生驱动接管），引导恢复扩展授权"},
      {15, MountHolder::another, Action::poll, ""},
      {15, MountHolder::module, Action::poll, ""},
      {89.9, MountHolder::nobody, Action::poll, ""},
      {90, MountHolder::another, Action::bypass,
       "Halvercine: 深检超 90s 未认领且挂载已完成（原生接管），引导恢复授权"},
      {90, MountHolder::module, Action::fallBack,
       "Halvercine: 深检超 90s 无信箱无进度（扩展未认领），降级内嵌 fsck CLI"},
      {90, MountHolder::nobody, Action::fallBack,
       "Halvercine: 深检超 90s 无信箱无进度（扩展未认领），降级内嵌 fsck CLI"},
  };
  for (const auto& row : rows) {
    ModuleCheckSequence sequence(start);
    auto found = round(row.at);
    found.holder = row.holder;
    const auto step = reach(sequence, 0, found);
    EXPECT_EQ(step.action, row.action) << row.at;
    EXPECT_EQ(step.logLine, row.line);
    // A request that was taken, or answered by a frame, is the module's.
    found.requestWaits = false;
    EXPECT_EQ(ModuleCheckSequence(start).next(found).action, Action::poll) << row.at;
    found.requestWaits = true;
    found.frame = frame(1, 1);
    EXPECT_EQ(ModuleCheckSequence(start).next(found).action, Action::poll) << row.at;
    // A report in the same round comes first.
    found.reportAccepted = true;
    EXPECT_EQ(ModuleCheckSequence(start).next(found).action, Action::finish) << row.at;
  }
}

TEST(ModuleCheckSequenceTest, OnlyALaterTimeStampMakesAFrameNew) {
  ModuleCheckSequence sequence(start);
  EXPECT_TRUE(sequence.isNew(frame(-5, 1))) << "the first always is";
  sequence.next(taken(1, frame(10, 1)));
  EXPECT_FALSE(sequence.isNew(frame(10, 2)));
  EXPECT_FALSE(sequence.isNew(frame(9, 2)));
  EXPECT_TRUE(sequence.isNew(frame(10.001, 1)));
  auto unstamped = frame(0, 1);
  unstamped.ts.reset();
  EXPECT_TRUE(sequence.isNew(unstamped));
  sequence.next(taken(2, unstamped));
  EXPECT_FALSE(sequence.isNew(unstamped));
}

TEST(ModuleCheckSequenceTest, StallsWhenNothingButTimeStampsChanges) {
  ModuleCheckSequence sequence(start);
  EXPECT_EQ(reach(sequence, 0, taken(100, frame(1, 50))).action, Action::poll);
  // Alive, but getting nowhere; and then a frame that is not new, although it says more.
  EXPECT_EQ(reach(sequence, 100, taken(600, frame(2, 50))).action, Action::poll);
  EXPECT_EQ(reach(sequence, 600, taken(690, frame(2, 51))).action, Action::poll);
  EXPECT_EQ(reach(sequence, 690, taken(700, frame(3, 50))).action, Action::poll)
      << "not more than 600 s";
  const auto step = sequence.next(taken(700.75, frame(4, 50)));
  EXPECT_EQ(step.action, Action::stall);
  EXPECT_EQ(step.logLine,
            "Halvercine: 深检连续 10 分钟无进展（停滞/扩展异常），写取消标志安全中止");
  // It is said once, and the end is waited for; not for ever by one that goes on as before.
  double at = 701.5;
  for (; at <= 760.75; at += 0.75) {
    auto stopping = taken(at, frame(at, 50));
    stopping.cancelWritten = start + 700750ms;
    EXPECT_EQ(sequence.next(stopping).action, Action::poll) << at;
  }
  auto stopping = taken(at, frame(at, 50));
  stopping.cancelWritten = start + 700750ms;
  EXPECT_EQ(sequence.next(stopping).action, Action::leave);
}

TEST(ModuleCheckSequenceTest, ProgressHoldsTheStallOff) {
  ModuleCheckSequence sequence(start);
  for (int minute = 1; minute <= 60; minute += 9) {
    const auto at = minute * 60.0;
    const auto step =
        reach(sequence, at - 540, taken(at, frame(at, static_cast<std::uint64_t>(minute))));
    EXPECT_EQ(step.action, Action::poll);
  }
}

TEST(ModuleCheckSequenceTest, PausedTimeDoesNotCount) {
  ModuleCheckSequence sequence(start);
  sequence.next(taken(0, frame(1, 50)));
  reach(sequence, 0, taken(400));
  for (double at = 401; at < 5000; at += 100) {
    auto paused = taken(at);
    paused.isPaused = true;
    EXPECT_EQ(sequence.next(paused).action, Action::poll) << at;
  }
  // The last pause ended with the round at 4901 s; 400 s had been counted before it began.
  EXPECT_EQ(reach(sequence, 4901, taken(5100)).action, Action::poll);
  EXPECT_EQ(reach(sequence, 5100, taken(5102)).action, Action::stall);

  ModuleCheckSequence unclaimed(start);
  auto paused = round(200);
  paused.isPaused = true;
  EXPECT_EQ(unclaimed.next(paused).action, Action::poll);
  EXPECT_EQ(reach(unclaimed, 200, round(289)).action, Action::poll);
  EXPECT_EQ(unclaimed.next(round(290)).action, Action::fallBack);
}

TEST(ModuleCheckSequenceTest, CancelWaitsSixtySecondsFromTheLastNewFrame) {
  ModuleCheckSequence sequence(start);
  const auto cancelled = [](double at, std::optional<CheckProgressSnapshot> seen = {}) {
    auto found = taken(at, seen);
    found.cancelWritten = start + 10s;
    return found;
  };
  reach(sequence, 0, taken(9, frame(1, 1)));
  EXPECT_EQ(reach(sequence, 9, cancelled(40, frame(2, 2))).action, Action::poll);
  EXPECT_EQ(reach(sequence, 40, cancelled(99, frame(2, 3))).action, Action::poll)
      << "equal ts: not new";
  EXPECT_EQ(sequence.next(cancelled(100)).action, Action::poll);
  const auto step = sequence.next(cancelled(100.75));
  EXPECT_EQ(step.action, Action::leave);
  EXPECT_EQ(step.logLine,
            "Halvercine: 深检取消旗落盘后连续 60s 无新帧（执行实例已死亡），fail-safe 退出轮询");
  // The flag was written later than the last frame came.
  ModuleCheckSequence quiet(start);
  EXPECT_EQ(reach(quiet, 0, cancelled(70)).action, Action::poll);
  EXPECT_EQ(quiet.next(cancelled(70.75)).action, Action::leave);
  // Nobody has taken the request: it can simply be taken back.
  auto waiting = round(11);
  waiting.cancelWritten = start + 10s;
  EXPECT_EQ(ModuleCheckSequence(start).next(waiting).action, Action::takeBack);
}

TEST(ModuleCheckSequenceTest, HandsADeadExecutorOver) {
  struct Row {
    std::optional<std::int32_t> pid;
    std::optional<std::int32_t> gone;
    Action action;
  };
  const Row rows[] = {{501, 501, Action::handOver}, {501, {}, Action::poll},
                      {501, 400, Action::poll},  // an earlier executor
                      {0, 0, Action::poll},         {-1, -1, Action::poll},
                      {{}, {}, Action::poll}};
  for (const auto& row : rows) {
    ModuleCheckSequence sequence(start);
    auto found = taken(1, frame(1, 1, row.pid));
    found.goneExecutor = row.gone;
    const auto step = sequence.next(found);
    EXPECT_EQ(step.action, row.action) << row.pid.value_or(-99);
    if (row.action != Action::handOver) continue;
    EXPECT_EQ(step.logLine, "Halvercine: 深检执行实例已死亡（pid=501不存在），交自动恢复");
    found.reportAccepted = true;
    EXPECT_EQ(ModuleCheckSequence(start).next(found).action, Action::finish) << "it had finished";
  }
}

}  // namespace
}  // namespace halvercine::check
