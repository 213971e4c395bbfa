#include "helper/performReregistration.h"

#include <algorithm>
#include <chrono>

#include "base/Completion.h"
#include "base/sleepFor.h"

namespace halvercine::helper {
namespace {

using namespace std::chrono_literals;
using platform::SystemError;
using Outcome = std::expected<void, ReregistrationError>;

/// Before the first registration and the further ones: what the system needs after the end of one.
constexpr platform::Uptime settling[] = {500ms, 1s, 2s};

/// "Operation not permitted", the answer to a registration that comes too soon. It has other causes
/// as well, which stay.
bool mayPass(const SystemError& error) {
  return error.domain == "SMAppServiceErrorDomain" && error.code == 1;
}

}  // namespace

std::string describe(const ReregistrationError& error) {
  switch (error.kind) {
    case ReregistrationError::Kind::timedOut:
      return "no answer in time";
    case ReregistrationError::Kind::unregisterStep:
    case ReregistrationError::Kind::registerStep:
      return error.cause.text;
  }
  return "";
}

base::Task<StepOutcome> performStep(platform::Clock& clock, platform::Uptime limit, DaemonStep step,
                                    ScheduleOnMain scheduleOnMain) {
  platform::TimerId timer = 0;
  const auto start = [&](const base::Completion<StepOutcome>& completion) {
    // The limit is what keeps the wait, should the system drop the step's end unheard.
    timer = clock.callAt(clock.uptime() + limit,
                         [completion] { completion(std::unexpected(base::TimedOut())); });
    step([completion, scheduleOnMain](std::optional<SystemError> error) {
      scheduleOnMain([completion, error = std::move(error)] { completion(error); });
    });
    return std::function<void()>([&clock, timer] { clock.cancel(timer); });
  };
  auto outcome = co_await base::waitFor<StepOutcome>(start);
  clock.cancel(timer);
  co_return outcome;
}

base::Task<Outcome> performReregistration(platform::Clock& clock, double timeoutSeconds,
                                          DaemonStep unregisterStep, DaemonStep registerStep,
                                          ScheduleOnMain scheduleOnMain) {
  using Kind = ReregistrationError::Kind;
  const auto deadline = clock.uptime() + std::chrono::duration_cast<platform::Uptime>(
                                             std::chrono::duration<double>(timeoutSeconds));
  auto end = co_await performStep(clock, deadline - clock.uptime(), unregisterStep, scheduleOnMain);
  if (!end) co_return std::unexpected(ReregistrationError{});
  if (*end) co_return std::unexpected(ReregistrationError{Kind::unregisterStep, **end});
  for (const auto wait : settling) {
    co_await base::sleepUntil(clock, std::min(clock.uptime() + wait, deadline));
    end = co_await performStep(clock, deadline - clock.uptime(), registerStep, scheduleOnMain);
    if (!end) co_return std::unexpected(ReregistrationError{});
    if (!*end) co_return Outcome();
    if (!mayPass(**end)) break;
  }
  co_return std::unexpected(ReregistrationError{Kind::registerStep, **end});
}

}  // namespace halvercine::helper
