// Storage media and the devices above them, as the I/O registry has them.
#pragma once

#include <memory>

#include "platform/MediaRegistry.h"
#include "platform/linux/Storage.h"

namespace halvercine::platform::gnulinux {

/// The medium's object, whether it is still there or not. Any thread.
std::unique_ptr<RegistryEntry> mediaEntry(std::shared_ptr<Storage> storage, MediumId id);

/// The chain of a medium: the partition's "IOMedia", the disk's, "IOBlockStorageDevice", then those
/// devices of the kernel's tree that have a counterpart, from the nearest to the root. Only media
/// have entry IDs. Any thread.
class LinuxMediaRegistry : public MediaRegistry {
 public:
  explicit LinuxMediaRegistry(std::shared_ptr<Storage> storage) : storage_(std::move(storage)) {}

  std::vector<std::unique_ptr<RegistryEntry>> allMedia() override;
  std::unique_ptr<RegistryEntry> media(const std::string& bsdName) override;

 private:
  std::shared_ptr<Storage> storage_;
};

}  // namespace halvercine::platform::gnulinux
