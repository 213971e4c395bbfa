// Storage media and what stands above them, from the I/O registry.
#pragma once

#include "platform/MediaRegistry.h"

namespace halvercine::platform::macos {

/// Any thread.
class MacMediaRegistry : public MediaRegistry {
 public:
  std::vector<std::unique_ptr<RegistryEntry>> allMedia() override;
  std::unique_ptr<RegistryEntry> media(const std::string& bsdName) override;
};

}  // namespace halvercine::platform::macos
