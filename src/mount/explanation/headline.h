// The answer in one sentence.
#pragma once

#include "base/LocalizedText.h"
#include "mount/explanation/VolumeFacts.h"
#include "mount/explanation/VolumeState.h"

namespace halvercine::mount {

/// The first argument is the volume's name, or its BSD name where it has none.
base::LocalizedText headline(const VolumeFacts& facts, VolumeState state);

}  // namespace halvercine::mount
