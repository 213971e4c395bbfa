// Looking for values that a scenario's shape allows but a machine could not have.
#pragma once

#include <cstdint>
#include <set>
#include <string>

#include "platform/simulated/Scenario.h"
#include "platform/simulated/strictJson.h"

namespace halvercine::platform::simulated {

/// Names and numbers that may be there only once at a time.
struct TakenNames {
  std::set<std::string> disks;
  std::set<std::uint64_t> entryIds;
};

Fault checkMount(const ScenarioMount& mount, const std::string& place);
Fault checkReport(const ScenarioReport& report, const std::string& place);

Fault checkProcess(const ScenarioProcess& process, const std::string& place);
Fault checkOpen(const std::vector<std::string>& files, const std::vector<std::string>& devices,
                const std::string& place);

/// Seconds from 0 to a year: far beyond any demonstration, and far from the end of the clock.
Fault checkSeconds(double seconds, const std::string& place);

/// The scripted behaviour of tools, and the files.
Fault checkTools(const Scenario& scenario);

/// The program's bundle and the helper.
Fault checkHelper(const Scenario& scenario);

/// Adds the device's names to `taken`, or finds one that is there already.
Fault checkDevice(const ScenarioDevice& device, const std::string& place, TakenNames& taken);

/// Plays the timeline through, without a machine: every event must have the keys of its kind, name
/// a known disk and meet it in a state in which the event can happen.
Fault checkTimeline(const Scenario& scenario);

}  // namespace halvercine::platform::simulated
