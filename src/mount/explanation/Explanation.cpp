#include "mount/explanation/Explanation.h"

#include "mount/explanation/advice.h"
#include "mount/explanation/evidence.h"
#include "mount/explanation/headline.h"

namespace halvercine::mount {

Explanation explain(const VolumeFacts& facts) {
  const auto state = stateOf(facts);
  const auto recovery = recoveryOf(facts, state);
  return {.state = state,
          .recovery = recovery,
          .headline = headline(facts, state),
          .evidence = evidence(facts, state),
          .program = programActions(facts, state, recovery),
          .next = nextSteps(facts, state, recovery)};
}

}  // namespace halvercine::mount
