// What a real Mac says of a device that is attached in one of the usual ways.
//
// The devices given here are complete (completeDevice.h).
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/PropertyValue.h"
#include "platform/simulated/Scenario.h"

namespace halvercine::platform::simulated {

/// What changes while a medium is there.
struct MediaState {
  bool writable = true;
  std::optional<std::string> mountPath;
};

/// The disk arbitration description of the whole disk or of one of its volumes, before overrides.
PropertyDictionary presetDescription(const ScenarioDevice& device, const ScenarioMedia& media,
                                     const MediaState& state);

/// The properties of its media object in the registry, before overrides.
PropertyDictionary presetMediaProperties(const ScenarioDevice& device, const ScenarioMedia& media,
                                         const MediaState& state);

/// The entries above the whole disk's media object, the nearest first.
std::vector<ScenarioChainLink> presetChain(const ScenarioDevice& device);

/// The class of the entry between the whole disk and its volumes.
std::string partitionSchemeClass(const ScenarioDevice& device);

}  // namespace halvercine::platform::simulated
