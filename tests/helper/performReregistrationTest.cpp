#include "helper/performReregistration.h"

#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "support/AsyncTest.h"

namespace halvercine::helper {
namespace {

using namespace std::chrono_literals;
using platform::SystemError;
using Kind = ReregistrationError::Kind;

const SystemError notPermitted{"Operation not permitted", "SMAppServiceErrorDomain", 1};
const SystemError badSignature{"Codesigning failure", "SMAppServiceErrorDomain", 3};

class PerformReregistrationTest : public tests::AsyncTest {
 protected:
  /// A step that ends as `ends` say, time by time, and never ends after the last.
  DaemonStep step(std::string name, std::vector<std::optional<SystemError>> ends) {
    const auto next = std::make_shared<std::size_t>(0);  // the function is copied
    return [this, name, ends, next](platform::DaemonStepEnd ended) {
      done.push_back(name);
      if (*next == ends.size()) {
        late = std::move(ended);
        return;
      }
      // As the system does it: on a thread of its own.
      std::thread([end = ends[(*next)++], ended = std::move(ended)] { ended(end); }).join();
    };
  }

  auto reregister(DaemonStep unregister, DaemonStep register_) {
    const ScheduleOnMain schedule = [this](std::function<void()> action) {
      actor.post(std::move(action));
    };
    begun = clock.uptime();
    return run(
        performReregistration(clock, 30, std::move(unregister), std::move(register_), schedule));
  }

  platform::Uptime taken() const { return clock.uptime() - begun; }

  std::vector<std::string> done;
  platform::DaemonStepEnd late;
  platform::Uptime begun{};
};

TEST_F(PerformReregistrationTest, Outcomes) {
  const std::optional<SystemError> none;
  struct Case {
    std::vector<std::optional<SystemError>> unregister;
    std::vector<std::optional<SystemError>> register_;
    std::optional<ReregistrationError> error;
    std::size_t steps;
    platform::Uptime taken;
  };
  const Case cases[] = {
      {{none}, {none}, std::nullopt, 2, 500ms},
      // Too soon for the system, twice.
      {{none}, {notPermitted, notPermitted, none}, std::nullopt, 4, 3500ms},
      {{none},
       {notPermitted, notPermitted, notPermitted},
       ReregistrationError{Kind::registerStep, notPermitted},
       4,
       3500ms},
      // What waiting does not help is not tried again.
      {{none}, {badSignature}, ReregistrationError{Kind::registerStep, badSignature}, 2, 500ms},
      // Without the first step there is no second.
      {{notPermitted}, {}, ReregistrationError{Kind::unregisterStep, notPermitted}, 1, 0s},
      {{}, {}, ReregistrationError{}, 1, 30s},
      {{none}, {}, ReregistrationError{}, 2, 30s},
  };
  for (const auto& [unregister, register_, error, steps, time] : cases) {
    done.clear();
    const auto result = reregister(step("unregister", unregister), step("register", register_));
    EXPECT_EQ(result ? std::nullopt : std::optional(result.error()), error);
    EXPECT_EQ(done.size(), steps);
    EXPECT_EQ(taken(), time);
  }
}

TEST_F(PerformReregistrationTest, AStepThatEndsLateIsNotHeard) {
  const auto result = reregister(step("unregister", {}), step("register", {std::nullopt}));
  ASSERT_FALSE(result);
  EXPECT_EQ(result.error().kind, Kind::timedOut);
  late(std::nullopt);
  late(std::nullopt);
  settle();
  EXPECT_EQ(done, std::vector<std::string>{"unregister"});
}

}  // namespace
}  // namespace halvercine::helper
