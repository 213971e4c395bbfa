#include "platform/simulated/SimulatedMac.h"

#include <algorithm>
#include <utility>

#include "platform/posix/AsioClock.h"
#include "platform/simulated/ports.h"
#include "platform/simulated/scenarioTexts.h"

namespace halvercine::platform::simulated {
namespace {

Uptime offsetOf(const ScenarioEvent& event) { return uptimeOf(event.at); }

std::string subjectOf(const ScenarioEvent& event) {
  if (!event.disk.empty()) return event.disk;
  return "process " + std::to_string(event.process ? event.process->pid : event.pid.value_or(0));
}

}  // namespace

SimulatedMac::SimulatedMac(base::MainActor& actor, Scenario scenario, ClockKind clockKind)
    : actor_(actor), timeline_(std::move(scenario.timeline)) {
  switch (clockKind) {
    case ClockKind::virtualTime:
      virtualClock_ = std::make_shared<base::VirtualClock>(
          wallTimeFromText(scenario.system.now).value_or(WallTime{}));
      virtualClock_->attachTo(actor_);
      clock_ = virtualClock_;
      break;
    case ClockKind::realTime:
      clock_ = std::make_shared<posix::AsioClock>(actor_);
      break;
  }
  start_ = clock_->uptime();
  std::ranges::stable_sort(timeline_, {}, &ScenarioEvent::at);
  scenario.timeline = timeline_;
  machine_ = std::make_shared<SimulatedMachine>(actor_, clock_, scenario);
  armTimeline();
}

SimulatedMac::~SimulatedMac() {
  clock_->cancel(timer_);
  if (virtualClock_) actor_.setIdleHandler(nullptr);
}

Platform SimulatedMac::takePlatform() { return makePlatform(machine_, clock_); }

void SimulatedMac::advance(Uptime duration) {
  if (virtualClock_) {
    bool reached = false;
    virtualClock_->callAt(virtualClock_->uptime() + duration, [&] { reached = true; });
    actor_.runUntil([&] { return reached; });
    return;
  }
  start_ -= duration;
  clock_->cancel(timer_);
  playDueEvents();
}

void SimulatedMac::armTimeline() {
  if (played_ == timeline_.size()) return;
  timer_ = clock_->callAt(start_ + offsetOf(timeline_[played_]), [this] { playDueEvents(); });
}

void SimulatedMac::playDueEvents() {
  while (played_ < timeline_.size() && start_ + offsetOf(timeline_[played_]) <= clock_->uptime()) {
    const auto& event = timeline_[played_++];
    // The program itself may have changed the disk meanwhile: unmounted what was to be unmounted.
    if (!playEvent(event, *machine_)) {
      machine_->log().write(LogLevel::info, "simulation: the event at " + std::to_string(event.at) +
                                                " s has no effect on " + subjectOf(event));
    }
  }
  armTimeline();
}

}  // namespace halvercine::platform::simulated
