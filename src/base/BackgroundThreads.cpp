#include "base/BackgroundThreads.h"

#include <system_error>
#include <utility>

#include <boost/asio/post.hpp>

namespace halvercine::base {

BackgroundThreads::BackgroundThreads(int wanted)
    : context_(wanted), guard_(boost::asio::make_work_guard(context_)) {
  threads_.reserve(static_cast<std::size_t>(wanted));
  try {
    for (int made = 0; made < wanted; ++made) threads_.emplace_back([this] { context_.run(); });
  } catch (const std::system_error&) {
    if (threads_.empty()) throw;
  }
}

void BackgroundThreads::post(std::function<void()> action) {
  boost::asio::post(context_, std::move(action));
}

void BackgroundThreads::join() {
  guard_.reset();
  for (auto& thread : threads_) thread.join();
  threads_.clear();
}

}  // namespace halvercine::base
