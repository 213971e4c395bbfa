// Folder watches by inotify.
#pragma once

#include "base/MainActor.h"
#include "platform/DirectoryWatch.h"

namespace halvercine::platform::gnulinux {

/// Each watch has a descriptor of its own on the main actor, where its calls come.
class InotifyDirectoryWatcher : public DirectoryWatcher {
 public:
  explicit InotifyDirectoryWatcher(base::MainActor& actor) : actor_(actor) {}

  std::unique_ptr<DirectoryWatch> watch(const std::filesystem::path& directory,
                                        std::function<void()> changed) override;

 private:
  base::MainActor& actor_;
};

}  // namespace halvercine::platform::gnulinux
