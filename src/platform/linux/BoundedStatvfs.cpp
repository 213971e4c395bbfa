#include "platform/linux/BoundedStatvfs.h"

#include <chrono>
#include <system_error>
#include <thread>
#include <utility>

namespace halvercine::platform::gnulinux {
namespace {

// A server that is alive answers within milliseconds, a disk that has to spin up is asked again
// anyway.
constexpr std::chrono::milliseconds patience{250};

}  // namespace

BoundedStatvfs::Answer BoundedStatvfs::ask(const std::string& path) {
  std::promise<std::optional<struct statvfs>> promise;
  Answer answer = promise.get_future().share();
  calls_->running[path] = {answer};
  std::thread([path, calls = calls_, promise = std::move(promise)]() mutable {
    struct statvfs status {};
    const bool succeeded = ::statvfs(path.c_str(), &status) == 0;
    {
      const std::lock_guard lock(calls->mutex);
      calls->running.erase(path);
    }
    promise.set_value(succeeded ? std::optional(status) : std::nullopt);
  }).detach();
  return answer;
}

std::optional<struct statvfs> BoundedStatvfs::operator()(const std::string& path) {
  Answer answer;
  try {
    const std::lock_guard lock(calls_->mutex);
    const auto running = calls_->running.find(path);
    if (running != calls_->running.end() && running->second.isStuck) return std::nullopt;
    answer = running != calls_->running.end() ? running->second.answer : ask(path);
  } catch (const std::system_error&) {  // no further thread to be had
    const std::lock_guard lock(calls_->mutex);
    calls_->running.erase(path);
    return std::nullopt;
  }
  if (answer.wait_for(patience) == std::future_status::ready) return answer.get();
  const std::lock_guard lock(calls_->mutex);
  const auto running = calls_->running.find(path);
  if (running != calls_->running.end()) running->second.isStuck = true;
  return std::nullopt;
}

}  // namespace halvercine::platform::gnulinux
