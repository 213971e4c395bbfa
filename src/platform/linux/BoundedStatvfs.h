// statvfs(2) on file systems whose server may not answer.
#pragma once

#include <sys/statvfs.h>

#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>

namespace halvercine::platform::gnulinux {

/// A mount that is served by a process hangs when the process does. The call then goes on in a thread of
/// its own, nobody waits for it any longer, and the path is not asked again until it has come back. Any
/// thread.
class BoundedStatvfs {
 public:
  /// What the call says, or nothing: it failed, did not come back in time, or has not yet come back from
  /// an earlier time.
  std::optional<struct statvfs> operator()(const std::string& path);

 private:
  struct Stuck {
    std::mutex mutex;
    std::set<std::string> paths;
  };
  std::shared_ptr<Stuck> stuck_ = std::make_shared<Stuck>();  // outlived by abandoned calls
};

}  // namespace halvercine::platform::gnulinux
