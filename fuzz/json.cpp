// JSON of other processes: parsing, writing back, and reading a record.
#include "base/Json.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "mount/MountAccessReport.h"
#include "require.h"

using halvercine::fuzz::require;
using halvercine::mount::MountAccessReport;
namespace base = halvercine::base;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto value = base::parseJson({reinterpret_cast<const char*>(data), size});
  if (!value) {
    require(!value.error().message.empty(), "an error has a reason");
    return 0;
  }
  for (const auto& text : {base::serializeJson(*value), base::prettyJson(*value)}) {
    const auto again = base::parseJson(text);
    require(again && *again == *value, "what is written reads back as the same value");
  }
  if (const auto report = base::fromJson<MountAccessReport>(*value)) {
    const auto again = base::decodeJson<MountAccessReport>(base::encodeJson(*report));
    require(again && *again == *report, "a record reads back as it was");
  }
  return 0;
}
