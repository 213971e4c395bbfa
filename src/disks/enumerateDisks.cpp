#include "disks/enumerateDisks.h"

#include <algorithm>
#include <utility>

#include "base/BsdName.h"
#include "base/Properties.h"

namespace halvercine::disks {

std::vector<Medium> allMedia(platform::MediaRegistry& registry) {
  std::vector<Medium> media;
  for (const auto& entry : registry.allMedia()) {
    const auto value = entry->property(platform::registry_key::bsdName);
    auto name = value ? base::trimmedTextValue(*value) : std::nullopt;
    if (name) media.push_back({std::move(*name), entry->entryId()});
  }
  std::sort(media.begin(), media.end(), [](const Medium& left, const Medium& right) {
    return base::comesBefore(left.bsdName, right.bsdName);
  });
  const auto repeated = std::unique(
      media.begin(), media.end(),
      [](const Medium& left, const Medium& right) { return left.bsdName == right.bsdName; });
  media.erase(repeated, media.end());
  return media;
}

std::vector<Disk> describeDisks(const DiskDescriptor& descriptor,
                                platform::DiskArbitrationSession& session,
                                const std::vector<Medium>& media, const BitLockerStates& states) {
  std::vector<Disk> disks;
  for (const auto& medium : media) {
    auto disk =
        descriptor.describe(session, medium.bsdName, states.of(medium.bsdName, medium.deviceId));
    if (disk) disks.push_back(std::move(*disk));
  }
  return disks;
}

}  // namespace halvercine::disks
