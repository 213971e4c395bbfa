// Folder watches by file-system events of the kernel.
#pragma once

#include "platform/DirectoryWatch.h"

namespace halvercine::platform::macos {

/// The kernel tells when the folder's list of entries changes: entries made, renamed (a file that
/// is replaced in one step) and deleted, but not what is written into one. A folder that is moved
/// away or deleted is watched again when there is one at the path. Calls come on a queue of the
/// watch.
class MacDirectoryWatcher : public DirectoryWatcher {
 public:
  std::unique_ptr<DirectoryWatch> watch(const std::filesystem::path& directory,
                                        std::function<void()> changed) override;
};

}  // namespace halvercine::platform::macos
