// Property lists of other programs, XML and binary.
#include "base/PropertyList.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "require.h"

using halvercine::fuzz::require;
namespace base = halvercine::base;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto value = base::parsePropertyList({reinterpret_cast<const char*>(data), size});
  require(!value || size <= base::propertyListLimit, "a large list is refused");
  return 0;
}
