#include "helper/TimeoutGate.h"

#include <array>
#include <atomic>
#include <barrier>
#include <memory>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "helper/XPOnceBox.h"

namespace halvercine::helper {
namespace {

class CountingConnection : public platform::HelperConnection {
 public:
  explicit CountingConnection(std::atomic<int>& invalidations) : invalidations_(invalidations) {}
  platform::HelperProxy* remoteObject(std::function<void(platform::SystemError)>) override {
    return nullptr;
  }
  void invalidate() override { ++invalidations_; }

 private:
  std::atomic<int>& invalidations_;
};

using Gate = TimeoutGate<int>;

TEST(TimeoutGate, OneOfThreePassesAMillionTimes) {
  constexpr std::size_t rounds = 1'000'000;
  constexpr std::size_t atOnce = 1000;  // between two meetings of the threads
  std::atomic<int> invalidations = 0;
  // What a finished call leaves behind is memory that nobody may touch any more.
  std::vector<std::unique_ptr<int>> resumed(atOnce);
  std::vector<std::unique_ptr<Gate>> gates(atOnce);
  std::array<int, 3> passed{};
  int notResumedOnce = 0;
  const auto prepare = [&] {
    for (std::size_t i = 0; i < atOnce; ++i) {
      if (resumed[i] && *resumed[i] != 1) ++notResumedOnce;
      resumed[i] = std::make_unique<int>(0);
      gates[i] = std::make_unique<Gate>(std::make_shared<CountingConnection>(invalidations),
                                        [count = resumed[i].get()](int) { ++*count; });
    }
  };
  prepare();
  std::barrier meeting(3, [&]() noexcept { prepare(); });
  const auto race = [&](std::size_t contender) {
    for (std::size_t round = 0; round < rounds / atOnce; ++round) {
      for (std::size_t i = 0; i < atOnce; ++i) {
        // From different ends, so that all of them are first now and then.
        const auto at = contender == 1 ? atOnce - 1 - i : i;
        if (gates[at]->pass(static_cast<int>(contender))) ++passed[contender];
      }
      meeting.arrive_and_wait();
    }
  };
  std::array<std::thread, 3> contenders;
  for (std::size_t i = 0; i < contenders.size(); ++i) contenders[i] = std::thread(race, i);
  for (auto& contender : contenders) contender.join();
  EXPECT_EQ(passed[0] + passed[1] + passed[2], static_cast<int>(rounds));
  EXPECT_EQ(invalidations, static_cast<int>(rounds));
  EXPECT_EQ(notResumedOnce, 0);
}

TEST(TimeoutGate, KeepsNothingOfAFinishedCall) {
  std::atomic<int> invalidations = 0;
  for (const bool passes : {true, false}) {
    auto connection = std::make_shared<CountingConnection>(invalidations);
    const auto value = std::make_shared<int>(0);
    Gate gate(connection, [value](int outcome) { *value += outcome; });
    EXPECT_TRUE(passes ? gate.pass(7) : gate.close());
    EXPECT_FALSE(gate.pass(8));
    EXPECT_FALSE(gate.close());
    EXPECT_EQ(*value, passes ? 7 : 0);
    EXPECT_EQ(value.use_count(), 1);
    EXPECT_EQ(connection.use_count(), 1);
  }
  EXPECT_EQ(invalidations, 2);
}

TEST(TimeoutGate, MayBeCalledFromWithinItsOwnConnection) {
  // Invalidating a connection tells its error handler, which comes back here.
  struct Telling : platform::HelperConnection {
    platform::HelperProxy* remoteObject(std::function<void(platform::SystemError)>) override {
      return nullptr;
    }
    void invalidate() override { EXPECT_FALSE(gate->pass(2)); }
    Gate* gate = nullptr;
  };
  auto connection = std::make_shared<Telling>();
  int value = 0;
  Gate gate(connection, [&value](int outcome) { value = outcome; });
  connection->gate = &gate;
  connection.reset();
  EXPECT_TRUE(gate.pass(1));
  EXPECT_EQ(value, 1);
}

TEST(XPOnceBox, DeliversOnceWhoeverCalls) {
  std::atomic<int> delivered = 0;
  const XPOnceBox<int> box([&](int) { ++delivered; });
  const auto call = [box] {
    for (int i = 0; i < 1000; ++i) box(i);
  };
  std::thread other(call);
  call();
  other.join();
  EXPECT_EQ(delivered, 1);
}

}  // namespace
}  // namespace halvercine::helper
