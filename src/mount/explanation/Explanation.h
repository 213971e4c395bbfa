// Why a volume is in the state that it is in, what the program does about it, and what the user can
// do.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/LocalizedText.h"
#include "mount/explanation/VolumeFacts.h"
#include "mount/explanation/VolumeState.h"

namespace halvercine::mount {

/// Something that the user can do.
struct Step {
  base::LocalizedText text;
  std::optional<std::string> command{};  ///< what to type for it, where there is such a command
};

struct Explanation {
  VolumeState state = VolumeState::gone;
  Recovery recovery = Recovery::none;
  base::LocalizedText headline;
  std::vector<base::LocalizedText> evidence;  ///< fact by fact
  std::vector<base::LocalizedText> program;   ///< what happens by itself, or that nothing does
  std::vector<Step> next;                     ///< the most promising first; none: nothing is to do
};

/// Pure, any thread.
Explanation explain(const VolumeFacts& facts);

}  // namespace halvercine::mount
