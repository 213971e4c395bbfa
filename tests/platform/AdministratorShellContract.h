// What every administrator's shell must do.
//
// `MachineUnderTest` has `actor()` and `platform()`; `settle()` lets everything happen that can.
// Where it has `whyUnavailable()`, the tests are skipped while that has something to say.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "base/MainActor.h"
#include "platform/Platform.h"

namespace halvercine::tests {

template <class MachineUnderTest>
class AdministratorShellContract : public testing::Test {
 protected:
  using Result = std::optional<platform::AdministratorResult>;

  void SetUp() override {
    if constexpr (requires(MachineUnderTest & machine) { machine.whyUnavailable(); }) {
      if (const auto why = machine_.whyUnavailable(); !why.empty()) GTEST_SKIP() << why;
    }
  }

  std::unique_ptr<platform::AdministratorRun> start(const std::string& command, Result& result) {
    auto run = machine_.platform().administratorShell->run(
        command, "The prompt", [this, &result](platform::AdministratorResult ended) {
          EXPECT_TRUE(machine_.actor().isCurrent());
          EXPECT_FALSE(result) << "told twice";
          result = std::move(ended);
        });
    EXPECT_FALSE(result) << "told from inside the call";
    return run;
  }

  platform::AdministratorResult resultOf(const std::string& command) {
    Result result;
    const auto run = start(command, result);
    machine_.actor().runUntil([&result] { return result.has_value(); });
    machine_.settle();
    return result.value_or(platform::AdministratorResult{-2, {}, {}});
  }

  MachineUnderTest machine_;
};

TYPED_TEST_SUITE_P(AdministratorShellContract);

TYPED_TEST_P(AdministratorShellContract, theShellGetsTheCommandUnchanged) {
  const auto result = this->resultOf(R"(echo 'one  "word"  it'\''s'; echo "status:$?")");
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.output, "one  \"word\"  it's\nstatus:0\n");
  EXPECT_EQ(result.errors, "");
}

TYPED_TEST_P(AdministratorShellContract, whatFailsSaysWhyOnStandardError) {
  const auto result = this->resultOf("/no/such/command 'argument'");
  EXPECT_NE(result.exitCode, 0);
  EXPECT_EQ(result.output, "");
  EXPECT_NE(result.errors.find("/no/such/command"), std::string::npos) << result.errors;
}

TYPED_TEST_P(AdministratorShellContract, runsAreTakenBackOneByOne) {
  typename TestFixture::Result takenBack;
  typename TestFixture::Result kept;
  auto first = this->start("echo first", takenBack);
  const auto second = this->start("echo second", kept);
  first.reset();
  this->machine_.actor().runUntil([&kept] { return kept.has_value(); });
  this->machine_.settle();
  EXPECT_FALSE(takenBack);
  ASSERT_TRUE(kept);
  EXPECT_EQ(kept->output, "second\n");
}

REGISTER_TYPED_TEST_SUITE_P(AdministratorShellContract, theShellGetsTheCommandUnchanged,
                            whatFailsSaysWhyOnStandardError, runsAreTakenBackOneByOne);

}  // namespace halvercine::tests
