// The system's list of enabled modules, which anybody in the user's account can write.
#include "mount/EnabledModules.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "mount/ThirdPartyDriver.h"

using namespace halvercine;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  for (const auto& identifier : mount::enabledModules(bytes)) {
    if (identifier.empty() || mount::moduleLabel(identifier).empty()) std::abort();
  }
  return 0;
}
