// Calls to the helper, without a helper: what opening, gating and ending a call costs, beside the
// least that a coroutine can wait for. A real call adds the system's own message passing.
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include <benchmark/benchmark.h>

#include "base/Completion.h"
#include "base/MainActor.h"
#include "base/spawn.h"
#include "helper/HelperClient.h"
#include "platform/posix/AsioClock.h"
#include "platform/posix/SyslogSystemLog.h"

namespace {

using namespace halvercine;

/// Replies from inside the call, and then fails as an invalidated connection does.
class InstantTransport : public platform::HelperTransport {
 public:
  std::expected<std::unique_ptr<platform::HelperConnection>, platform::SystemError> open(
      const std::string&) override {
    return std::make_unique<Connection>();
  }

 private:
  class Connection : public platform::HelperConnection, public platform::HelperProxy {
   public:
    platform::HelperProxy* remoteObject(
        std::function<void(platform::SystemError)> failed) override {
      failed_ = std::move(failed);
      return this;
    }
    void send(const platform::HelperMessage&,
              std::function<void(const platform::HelperReply&)> replied) override {
      replied(true);
    }
    void invalidate() override {
      if (const auto failed = std::exchange(failed_, nullptr)) failed({});
    }

   private:
    std::function<void(platform::SystemError)> failed_;
  };
};

void run(benchmark::State& state, const std::function<base::Task<void>(std::int64_t)>& calls,
         base::MainActor& actor, platform::SystemLog& log) {
  constexpr std::int64_t atOnce = 1000;
  base::TaskScope scope(actor, log);
  for (auto _ : state) {
    scope.spawn("calls", calls(atOnce));
    actor.runUntil([&scope] { return scope.running() == 0; });
  }
  state.SetItemsProcessed(state.iterations() * atOnce);
}

void gatedHelperCalls(benchmark::State& state) {
  base::MainActor actor;
  platform::Platform platform;
  platform.clock = std::make_unique<platform::posix::AsioClock>(actor);
  platform.systemLog = std::make_unique<platform::posix::SyslogSystemLog>();
  platform.helperTransport = std::make_unique<InstantTransport>();
  helper::HelperClient client(platform);
  const auto calls = [&client](std::int64_t count) -> base::Task<void> {
    for (; count > 0; --count) benchmark::DoNotOptimize(co_await client.formattingAvailable());
  };
  run(state, calls, actor, *platform.systemLog);
}

void waitsForACallback(benchmark::State& state) {
  base::MainActor actor;
  platform::posix::SyslogSystemLog log;
  const auto calls = [](std::int64_t count) -> base::Task<void> {
    const auto start = [](const base::Completion<bool>& completion) {
      completion(true);
      return std::function<void()>();
    };
    for (; count > 0; --count) benchmark::DoNotOptimize(co_await base::waitFor<bool>(start));
  };
  run(state, calls, actor, log);
}

BENCHMARK(waitsForACallback)->Unit(benchmark::kMillisecond);
BENCHMARK(gatedHelperCalls)->Unit(benchmark::kMillisecond);

}  // namespace
