#include "platform/linux/BoundedStatvfs.h"

#include <chrono>
#include <future>
#include <thread>
#include <utility>

namespace halvercine::platform::gnulinux {
namespace {

// A server that is alive answers within milliseconds, a disk that has to spin up is asked again anyway.
constexpr std::chrono::milliseconds patience{250};

}  // namespace

std::optional<struct statvfs> BoundedStatvfs::operator()(const std::string& path) {
  {
    const std::lock_guard lock(stuck_->mutex);
    if (!stuck_->paths.insert(path).second) return std::nullopt;
  }
  std::promise<std::optional<struct statvfs>> promise;
  auto answer = promise.get_future();
  std::thread([path, stuck = stuck_, promise = std::move(promise)]() mutable {
    struct statvfs status {};
    const bool succeeded = ::statvfs(path.c_str(), &status) == 0;
    {
      const std::lock_guard lock(stuck->mutex);
      stuck->paths.erase(path);
    }
    promise.set_value(succeeded ? std::optional(status) : std::nullopt);
  }).detach();
  if (answer.wait_for(patience) != std::future_status::ready) return std::nullopt;
  return answer.get();
}

}  // namespace halvercine::platform::gnulinux
