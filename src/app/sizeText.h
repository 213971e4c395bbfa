// Sizes for people.
#pragma once

#include <cstdint>
#include <string>

namespace halvercine::app {

/// A number of bytes in decimal units with three significant digits, as the Finder counts: "999
/// bytes", "64.2 GB", "1.00 TB". Negative sizes are none and read "0 bytes".
std::string sizeText(std::int64_t bytes);

}  // namespace halvercine::app
