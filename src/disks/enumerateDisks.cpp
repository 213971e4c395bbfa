#include "disks/enumerateDisks.h"

#include <algorithm>

#include "base/BsdName.h"
#include "base/Properties.h"

namespace halvercine::disks {

std::vector<std::string> mediaNames(platform::MediaRegistry& registry) {
  std::vector<std::string> names;
  for (const auto& media : registry.allMedia()) {
    const auto value = media->property(platform::registry_key::bsdName);
    auto name = value ? base::trimmedTextValue(*value) : std::nullopt;
    if (name) names.push_back(std::move(*name));
  }
  std::sort(names.begin(), names.end(), base::comesBefore);
  names.erase(std::unique(names.begin(), names.end()), names.end());
  return names;
}

std::vector<Disk> enumerateDisks(const DiskDescriptor& descriptor,
                                 platform::DiskArbitrationSession& session,
                                 platform::MediaRegistry& registry) {
  std::vector<Disk> disks;
  for (const auto& name : mediaNames(registry)) {
    if (auto disk = descriptor.describe(session, name, std::nullopt)) {
      disks.push_back(std::move(*disk));
    }
  }
  return disks;
}

}  // namespace halvercine::disks
