// Storage media and what stands above them, from the I/O registry.
#pragma once

#include "platform/MediaRegistry.h"
#include "platform/macos/ScopedIOObject.h"

namespace halvercine::platform::macos {

/// The object as the port has it; null for none. Any thread.
std::unique_ptr<RegistryEntry> registryEntry(ScopedIOObject object);

/// Any thread.
class MacMediaRegistry : public MediaRegistry {
 public:
  std::vector<std::unique_ptr<RegistryEntry>> allMedia() override;
  std::unique_ptr<RegistryEntry> media(const std::string& bsdName) override;
};

}  // namespace halvercine::platform::macos
