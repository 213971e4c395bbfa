// Failures as the system's frameworks tell them.
#pragma once

#include <cstdint>
#include <string>

namespace halvercine::platform {

/// What an NSError says. The text is in the system's language; domain and code are not.
struct SystemError {
  std::string text;
  std::string domain;
  std::int64_t code = 0;

  bool operator==(const SystemError&) const = default;
};

}  // namespace halvercine::platform
