// What stands between the system's objects and the program, without the system.
#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "platform/macos/CallbackGate.h"
#include "platform/macos/ScopedRef.h"

namespace halvercine::platform::macos {
namespace {

/// Objects that are numbers, and how many references each has.
struct CountingTraits {
  using Element = int;
  static constexpr int none() { return 0; }
  static void retain(int object) { ++counts[object]; }
  static void release(int object) {
    ASSERT_GT(counts[object], 0) << "over-released";
    --counts[object];
  }
  inline static std::map<int, int> counts;
};
using Owner = ScopedRef<CountingTraits>;

/// As a function with "Create" in its name.
int created(int object) {
  CountingTraits::counts[object] = 1;
  return object;
}

int countOf(int object) { return CountingTraits::counts[object]; }

TEST(ScopedRef, WhatWasCopiedIsAdoptedAndWhatWasGotIsRetained) {
  {
    const auto copied = Owner::adopt(created(1));
    EXPECT_EQ(countOf(1), 1);
    const auto got = Owner::retain(copied.get());
    EXPECT_EQ(countOf(1), 2);
    const auto shared = got;
    EXPECT_EQ(countOf(shared.get()), 3);
  }
  EXPECT_EQ(countOf(1), 0);
  {
    const auto nothing = Owner::adopt(CountingTraits::none());
    const auto neither = Owner::retain(nothing.get());
    EXPECT_FALSE(neither);
  }
  EXPECT_EQ(countOf(0), 0) << "null is never counted";
}

TEST(ScopedRef, MovingAssigningAndResettingKeepTheCount) {
  auto first = Owner::adopt(created(1));
  auto second = Owner::adopt(created(2));
  second = std::move(first);
  EXPECT_EQ(countOf(2), 0);
  EXPECT_EQ(countOf(1), 1);
  EXPECT_FALSE(first);  // NOLINT(bugprone-use-after-move)
  auto& itself = second;
  second = itself;
  EXPECT_EQ(countOf(1), 1);
  *second.out() = created(3);
  EXPECT_EQ(countOf(1), 0) << "what was held goes before the function is called";
  EXPECT_EQ(second.get(), 3);
  const int consumed = second.release();
  EXPECT_EQ(countOf(consumed), 1) << "now the caller's";
  EXPECT_FALSE(second);
  second = Owner::adopt(consumed);
  second.reset();
  EXPECT_EQ(countOf(3), 0);
}

struct Target {
  std::function<void(int)> called;
};
using Gate = CallbackGate<Target>;

/// A function as the system calls it.
void callback(int value, void* context) {
  CallbackContext<Target>::pass(context, [value](const Target& target) { target.called(value); });
}

TEST(CallbackGate, PassesNothingOnceItsOwnerHasGone) {
  std::vector<int> values;
  const auto used = std::make_shared<int>();
  auto gate =
      std::make_shared<Gate>(Target{[&values, used](int value) { values.push_back(value); }});
  const auto context = std::make_unique<CallbackContext<Target>>(gate);
  callback(1, context->pointer());
  gate->close();
  gate.reset();
  EXPECT_EQ(used.use_count(), 1) << "what the owner's functions hold goes with the owner";
  callback(2, context->pointer());
  EXPECT_EQ(values, std::vector{1});
}

TEST(CallbackGate, MayBeClosedByWhatItCalls) {
  int calls = 0;
  std::shared_ptr<Gate> gate;
  gate = std::make_shared<Gate>(Target{[&](int) {
    gate->close();
    ++calls;  // what was captured still stands
  }});
  CallbackContext<Target> context(gate);
  callback(1, context.pointer());
  callback(2, context.pointer());
  EXPECT_EQ(calls, 1);
}

TEST(CallbackGate, ClosingWaitsForTheCallUnderWay) {
  std::atomic<bool> hasBegun{false};
  std::atomic<bool> mayEnd{false};
  bool hasEnded = false;
  const auto gate = std::make_shared<Gate>(Target{[&](int) {
    hasBegun = true;
    hasBegun.notify_one();
    mayEnd.wait(false);
    hasEnded = true;
  }});
  CallbackContext<Target> context(gate);
  std::thread system([&] { callback(1, context.pointer()); });
  hasBegun.wait(false);
  std::thread releaser([&] {
    mayEnd = true;
    mayEnd.notify_one();
  });
  gate->close();
  EXPECT_TRUE(hasEnded);
  system.join();
  releaser.join();
}

}  // namespace
}  // namespace halvercine::platform::macos
