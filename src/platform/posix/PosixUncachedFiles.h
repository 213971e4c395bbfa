// Temporary files of the kernel's file systems.
#pragma once

#include "platform/UncachedFiles.h"

namespace halvercine::platform::posix {

/// What came of switching the page cache off for an open file.
struct Caching {
  PageCache pageCache = PageCache::on;
  std::size_t bufferAlignment = 1;
};

class PosixUncachedFiles : public UncachedFiles {
 public:
  /// Switches the page cache off for one descriptor, in the way of the system.
  using SwitchOff = Caching (*)(int file);

  explicit PosixUncachedFiles(SwitchOff switchOff) : switchOff_(switchOff) {}

  std::expected<std::unique_ptr<UncachedFile>, int> create(const std::string& folder,
                                                           const std::string& name) override;
  void removeAbandoned(const std::string& folder, const std::string& prefix) override;

 private:
  SwitchOff switchOff_;
};

}  // namespace halvercine::platform::posix
