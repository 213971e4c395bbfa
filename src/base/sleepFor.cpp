#include "base/sleepFor.h"

#include <variant>

#include "base/Completion.h"

namespace halvercine::base {

Task<void> sleepUntil(platform::Clock& clock, platform::Uptime deadline) {
  co_await waitFor<std::monostate>([&clock, deadline](Completion<std::monostate> expired) {
    const auto timer = clock.callAt(deadline, [expired] { expired({}); });
    return [&clock, timer] { clock.cancel(timer); };
  });
}

Task<void> sleepFor(platform::Clock& clock, platform::Uptime duration) {
  co_await sleepUntil(clock, clock.uptime() + duration);
}

}  // namespace halvercine::base
