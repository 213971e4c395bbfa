// What every runner of command-line tools must do.
//
// `MachineUnderTest` has `actor()` and `platform()`, and as invocations `printingTool()`, which
// prints something and exits with 0, `failingTool()`, which exits with 1, and `endlessTool()`,
// which ends only by a signal. `settle()` lets everything happen that can.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "base/MainActor.h"
#include "platform/Platform.h"

namespace halvercine::tests {

/// What a run has reported. Events may come on any thread: they post.
struct ToolRecord {
  std::string output;
  int ends = 0;
  std::optional<platform::ToolExit> exit;
  int exits = 0;

  static platform::ToolEvents events(base::MainActor& actor,
                                     const std::shared_ptr<ToolRecord>& record) {
    const auto append = [&actor, record](std::string_view bytes) {
      actor.post([record, text = std::string(bytes)] { record->output += text; });
    };
    return {append, append, [&actor, record] { actor.post([record] { ++record->ends; }); },
            [&actor, record](platform::ToolExit exit) {
              actor.post([record, exit] {
                record->exit = exit;
                ++record->exits;
              });
            }};
  }
};

template <class MachineUnderTest>
class ToolRunnerContract : public testing::Test {
 protected:
  /// The process of a run that records into `record_`, or null.
  std::unique_ptr<platform::ToolProcess> start(const platform::ToolInvocation& invocation) {
    auto started = machine_.platform().toolRunner->start(
        invocation, ToolRecord::events(machine_.actor(), record_));
    if (!started) return nullptr;
    return std::move(*started);
  }

  void waitForTheEnd() {
    machine_.actor().runUntil([this] { return record_->exits > 0 && record_->ends > 0; });
  }

  MachineUnderTest machine_;
  std::shared_ptr<ToolRecord> record_ = std::make_shared<ToolRecord>();
};

TYPED_TEST_SUITE_P(ToolRunnerContract);

TYPED_TEST_P(ToolRunnerContract, outputThenBothEndsOnceAndNothingInsideStart) {
  for (const bool succeeds : {true, false}) {
    this->record_ = std::make_shared<ToolRecord>();
    const auto process =
        this->start(succeeds ? this->machine_.printingTool() : this->machine_.failingTool());
    ASSERT_TRUE(process);
    EXPECT_FALSE(this->record_->exit);
    this->waitForTheEnd();
    this->machine_.settle();
    if (succeeds) {
      EXPECT_FALSE(this->record_->output.empty());
    }
    EXPECT_EQ(this->record_->ends, 1);
    EXPECT_EQ(this->record_->exits, 1);
    ASSERT_TRUE(this->record_->exit);
    EXPECT_FALSE(this->record_->exit->bySignal);
    EXPECT_EQ(this->record_->exit->status, succeeds ? 0 : 1);
  }
}

TYPED_TEST_P(ToolRunnerContract, whatIsNotThereCannotBeStarted) {
  const auto started = this->machine_.platform().toolRunner->start(
      {"/no/such/tool", {}}, ToolRecord::events(this->machine_.actor(), this->record_));
  ASSERT_FALSE(started);
  EXPECT_FALSE(started.error().empty());
  this->machine_.settle();
  EXPECT_EQ(this->record_->exits, 0);
}

TYPED_TEST_P(ToolRunnerContract, signalsEndIt) {
  for (const int signal : {15, 9}) {
    this->record_ = std::make_shared<ToolRecord>();
    const auto process = this->start(this->machine_.endlessTool());
    ASSERT_TRUE(process);
    signal == 15 ? process->terminate() : process->kill();
    this->waitForTheEnd();
    process->kill();  // too late
    this->machine_.settle();
    EXPECT_EQ(this->record_->exits, 1);
    ASSERT_TRUE(this->record_->exit);
    EXPECT_TRUE(this->record_->exit->bySignal);
    EXPECT_EQ(this->record_->exit->status, signal);
  }
}

TYPED_TEST_P(ToolRunnerContract, aDestroyedProcessReportsNothing) {
  for (const auto& invocation : {this->machine_.printingTool(), this->machine_.endlessTool()}) {
    this->machine_.platform().toolRunner->start(
        invocation, ToolRecord::events(this->machine_.actor(), this->record_));
  }
  this->machine_.settle();
  EXPECT_EQ(this->record_->exits + this->record_->ends, 0);
}

REGISTER_TYPED_TEST_SUITE_P(ToolRunnerContract, outputThenBothEndsOnceAndNothingInsideStart,
                            whatIsNotThereCannotBeStarted, signalsEndIt,
                            aDestroyedProcessReportsNothing);

}  // namespace halvercine::tests
