#include "helper/performReregistration.h"

#include <chrono>
#include <optional>

#include "base/Completion.h"
#include "base/either.h"
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

base::Task<Outcome> reregister(platform::Clock& clock, DaemonStep unregister, DaemonStep register_,
                               ScheduleOnMain scheduleOnMain) {
  using Kind = ReregistrationError::Kind;
  auto error = co_await performStep(unregister, scheduleOnMain);
  if (error) co_return std::unexpected(ReregistrationError{Kind::unregisterStep, *error});
  for (const auto wait : settling) {
    co_await base::sleepFor(clock, wait);
    error = co_await performStep(register_, scheduleOnMain);
    if (!error) co_return Outcome();
    if (!mayPass(*error)) break;
  }
  co_return std::unexpected(ReregistrationError{Kind::registerStep, *error});
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

base::Task<std::optional<SystemError>> performStep(DaemonStep step, ScheduleOnMain scheduleOnMain) {
  using End = std::optional<SystemError>;
  const auto start = [&](const base::Completion<End>& completion) {
    step([completion, scheduleOnMain](End end) {
      scheduleOnMain([completion, end = std::move(end)] { completion(end); });
    });
    return std::function<void()>();
  };
  co_return co_await base::waitFor<End>(start);
}

base::Task<Outcome> performReregistration(platform::Clock& clock, double timeoutSeconds,
                                          DaemonStep unregister, DaemonStep register_,
                                          ScheduleOnMain scheduleOnMain) {
  const auto limit =
      std::chrono::duration_cast<platform::Uptime>(std::chrono::duration<double>(timeoutSeconds));
  auto steps =
      reregister(clock, std::move(unregister), std::move(register_), std::move(scheduleOnMain));
  auto outcome = co_await base::withTimeout(clock, limit, std::move(steps));
  if (!outcome) co_return std::unexpected(ReregistrationError{});
  co_return std::move(*outcome);
}

}  // namespace halvercine::helper
