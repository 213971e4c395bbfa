#include "base/BoundedCalls.h"

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <optional>
#include <string>

#include <gtest/gtest.h>

namespace halvercine::base {
namespace {

TEST(BoundedCalls, AStuckCallKeepsNobodyAndIsNotRepeated) {
  BoundedCalls<std::string> calls(std::chrono::milliseconds(1));
  const auto server = std::make_shared<std::promise<void>>();
  const auto asked = std::make_shared<std::atomic<int>>(0);
  const auto hang = [answer = server->get_future().share(), asked] {
    ++*asked;
    answer.wait();
    return std::string("late");
  };
  EXPECT_EQ(calls("/stuck", hang), std::nullopt);
  EXPECT_EQ(calls("/stuck", hang), std::nullopt);

  BoundedCalls<std::string> patient(std::chrono::minutes(1));
  const auto answer = [] { return std::string("prompt"); };
  EXPECT_EQ(patient("/other", answer), "prompt");
  EXPECT_EQ(patient("/other", answer), "prompt") << "one that has come back is asked again";

  server->set_value();
  std::optional<std::string> again;
  while (!again) again = calls("/stuck", answer);
  EXPECT_TRUE(again == "prompt" || again == "late") << "from the call under way";
  EXPECT_EQ(*asked, 1);
}

TEST(BoundedCalls, TheLastAnswerStandsForOneThatIsLate) {
  BoundedCalls<std::string> calls(std::chrono::milliseconds(1), std::chrono::hours(1));
  const auto ask = [&calls](const std::string& answer) {
    const auto server = std::make_shared<std::promise<void>>();
    const auto wait = [answer, answered = server->get_future().share()] {
      answered.wait();
      return answer;
    };
    const auto now = calls("/slow", wait);
    server->set_value();
    return now;
  };
  EXPECT_EQ(ask("first"), std::nullopt);
  std::optional<std::string> later;
  while (!later) later = ask("second");
  EXPECT_EQ(later, "first");

  BoundedCalls<int> punctual(std::chrono::minutes(1), std::chrono::hours(1));
  EXPECT_EQ(punctual("/quick", [] { return 1; }), 1);
  EXPECT_EQ(punctual("/quick", [] { return 2; }), 2) << "asked anew all the same";
}

}  // namespace
}  // namespace halvercine::base
