// What every watch of a folder must do.
//
// `MachineUnderTest` has `actor()`, `platform()`, `watchedFolder()`, a folder that exists, and
// `change(name)`, which writes and removes a file of this name there.
#pragma once

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "base/MainActor.h"
#include "platform/Platform.h"

namespace halvercine::tests {

template <class MachineUnderTest>
class DirectoryWatchContract : public testing::Test {
 protected:
  /// A watch that counts its calls, which may come on any thread.
  std::unique_ptr<platform::DirectoryWatch> watch(const std::shared_ptr<int>& calls) {
    return machine_.platform().directoryWatcher->watch(
        machine_.watchedFolder(),
        [&actor = machine_.actor(), calls] { actor.post([calls] { ++*calls; }); });
  }

  void waitFor(const std::shared_ptr<int>& calls) {
    machine_.actor().runUntil([&] { return *calls > 0; });
  }

  /// Runs what has been posted, and what that posts.
  void flush() {
    for (int round = 0; round < 2; ++round) {
      bool reached = false;
      machine_.actor().post([&reached] { reached = true; });
      machine_.actor().runUntil([&reached] { return reached; });
    }
  }

  MachineUnderTest machine_;
};

TYPED_TEST_SUITE_P(DirectoryWatchContract);

TYPED_TEST_P(DirectoryWatchContract, everyWatchHearsOfAChangeUntilItsEnd) {
  const auto first = std::make_shared<int>(0);
  const auto second = std::make_shared<int>(0);
  auto ended = this->watch(first);
  const auto staying = this->watch(second);
  ASSERT_TRUE(ended && staying);
  this->machine_.change("one");
  EXPECT_EQ(*first, 0) << "never inside the change";
  this->waitFor(first);
  this->waitFor(second);
  ended.reset();
  this->flush();
  *first = *second = 0;
  this->machine_.change("two");
  this->waitFor(second);
  EXPECT_EQ(*first, 0);
}

REGISTER_TYPED_TEST_SUITE_P(DirectoryWatchContract, everyWatchHearsOfAChangeUntilItsEnd);

}  // namespace halvercine::tests
