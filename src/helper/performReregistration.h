// Ending a registration and making it anew.
#pragma once

#include <expected>
#include <functional>
#include <optional>
#include <string>

#include "base/Task.h"
#include "base/either.h"
#include "platform/Clock.h"
#include "platform/DaemonServices.h"

namespace halvercine::helper {

/// Why a daemon could not be registered anew. After `timedOut` and `registerStep` it may not be
/// registered at all.
struct ReregistrationError {
  enum class Kind { timedOut, unregisterStep, registerStep } kind = Kind::timedOut;
  platform::SystemError cause;  ///< of a step

  bool operator==(const ReregistrationError&) const = default;
};

/// For the log, in English.
std::string describe(const ReregistrationError& error);

/// One step: calls its argument when it has ended, from any thread.
using DaemonStep = std::function<void(platform::DaemonStepEnd)>;
/// Has a function called on the main actor.
using ScheduleOnMain = std::function<void(std::function<void()>)>;

/// Unregisters, lets the system settle, and registers; a registration that the system refuses
/// because it has not settled yet is tried again. All that takes `timeoutSeconds` at most; a step
/// that ends later is not heard any more. The steps' ends get to the main actor by
/// `scheduleOnMain`. Main actor.
base::Task<std::expected<void, ReregistrationError>> performReregistration(
    platform::Clock& clock, double timeoutSeconds, DaemonStep unregisterStep,
    DaemonStep registerStep, ScheduleOnMain scheduleOnMain);

/// The error of a step that has ended, if it has one.
using StepOutcome = std::expected<std::optional<platform::SystemError>, base::TimedOut>;

/// One step, for at most `limit`. Main actor.
base::Task<StepOutcome> performStep(platform::Clock& clock, platform::Uptime limit, DaemonStep step,
                                    ScheduleOnMain scheduleOnMain);

}  // namespace halvercine::helper
