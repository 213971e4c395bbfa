// The surroundings of a test with coroutines: a main actor and virtual time.
#pragma once

#include <chrono>
#include <memory>
#include <utility>

#include <gtest/gtest.h>

#include "base/MainActor.h"
#include "base/VirtualClock.h"
#include "base/spawn.h"
#include "support/RecordingLog.h"
#include "support/runTask.h"

namespace halvercine::tests {

using namespace std::chrono_literals;

class AsyncTest : public testing::Test {
 protected:
  AsyncTest() { clock.attachTo(actor); }

  template <class T>
  T run(base::Task<T> task) {
    return tests::run(actor, std::move(task));
  }

  /// Runs until nothing can happen any more.
  void settle() {
    actor.runUntil([] { return false; });
  }

  RecordingLog log;
  base::MainActor actor;
  base::VirtualClock clock{platform::WallTime{}};
  std::unique_ptr<base::TaskScope> scope = std::make_unique<base::TaskScope>(actor, log);
};

}  // namespace halvercine::tests
