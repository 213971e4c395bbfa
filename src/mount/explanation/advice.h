// What happens next: by itself, and by the user.
#pragma once

#include <vector>

#include "base/LocalizedText.h"
#include "mount/explanation/Explanation.h"

namespace halvercine::mount {

/// What the program does by itself, or that it does nothing.
std::vector<base::LocalizedText> programActions(const VolumeFacts& facts, VolumeState state,
                                                Recovery recovery);

/// What the user can do, the most promising first.
std::vector<Step> nextSteps(const VolumeFacts& facts, VolumeState state, Recovery recovery);

}  // namespace halvercine::mount
