// The facts behind an explanation, one by one.
#pragma once

#include <vector>

#include "base/LocalizedText.h"
#include "mount/explanation/VolumeFacts.h"
#include "mount/explanation/VolumeState.h"

namespace halvercine::mount {

/// A line for each fact that bears on the state, also for one that is not known.
std::vector<base::LocalizedText> evidence(const VolumeFacts& facts, VolumeState state);

/// A span of time for people, in the largest unit that it fills; what is negative counts as
/// nothing.
base::LocalizedText durationText(double seconds);

}  // namespace halvercine::mount
