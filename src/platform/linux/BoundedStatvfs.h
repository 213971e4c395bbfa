// statvfs(2) on file systems whose server may not answer.
#pragma once

#include <future>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <sys/statvfs.h>

namespace halvercine::platform::gnulinux {

/// A mount that is served by a process hangs when the process does. The call then goes on in a
/// thread of its own, nobody waits for it any longer, and the path is not asked again until it has
/// come back. Any thread; callers of one path share a call.
class BoundedStatvfs {
 public:
  /// What the call says, or nothing: it failed, or has not come back in time.
  std::optional<struct statvfs> operator()(const std::string& path);

 private:
  using Answer = std::shared_future<std::optional<struct statvfs>>;
  struct Call {
    Answer answer;
    bool isStuck = false;
  };
  struct Calls {
    std::mutex mutex;
    std::map<std::string, Call> running;
  };

  Answer ask(const std::string& path);

  std::shared_ptr<Calls> calls_ = std::make_shared<Calls>();  // outlived by abandoned calls
};

}  // namespace halvercine::platform::gnulinux
