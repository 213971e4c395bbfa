// Every situation that `explain` tells apart, with the answer that is expected.
//
// The table drives the tests of the rules and docs/explain.md.
#pragma once

#include <string>
#include <vector>

#include "mount/explanation/Explanation.h"

namespace halvercine::tests {

struct Situation {
  std::string title;  ///< for the reader of the documentation
  mount::VolumeFacts facts;
  mount::VolumeState state;
  mount::Recovery recovery = mount::Recovery::none;
  std::vector<std::string> commands{};  ///< what the user is told to type, in this order
};

std::vector<Situation> catalogue();

/// Facts to start from: an NTFS volume of one minute ago, of which everything is known.
mount::VolumeFacts writableFacts();
mount::VolumeFacts readOnlyFacts(std::optional<mount::ReadOnlyReason> reason);
mount::VolumeFacts unmountedFacts();

}  // namespace halvercine::tests
