// Scenarios: any text is read or refused, and one that was read can be built.
#include "platform/simulated/Scenario.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "base/MainActor.h"
#include "platform/simulated/SimulatedMac.h"

using namespace halvercine;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  auto scenario = platform::simulated::readScenario(
      std::string_view(reinterpret_cast<const char*>(data), size));
  if (!scenario) return 0;
  base::MainActor actor;
  platform::simulated::SimulatedMac mac(actor, std::move(*scenario),
                                        platform::simulated::ClockKind::virtualTime);
  const auto platform = mac.takePlatform();
  for (const auto& media : platform.mediaRegistry->allMedia()) media->entryId();
  return 0;
}
