#include "base/spawn.h"

#include <exception>
#include <functional>

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/error.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/system/system_error.hpp>
#include <fmt/core.h>

namespace halvercine::base {
namespace {

// `bind_cancellation_slot` names an executor as well, and Boost 1.81 then defers a signal that
// comes from outside the event loop, past the end of the child that owns it.
struct Ended {
  // Asio looks for these names. NOLINTBEGIN(readability-identifier-naming)
  using cancellation_slot_type = boost::asio::cancellation_slot;
  cancellation_slot_type get_cancellation_slot() const noexcept { return slot; }
  // NOLINTEND(readability-identifier-naming)
  void operator()(const std::exception_ptr& failure) { action(failure); }

  cancellation_slot_type slot;
  std::function<void(const std::exception_ptr&)> action;
};

void logUnlessCancelled(platform::SystemLog& log, const std::string& name,
                        const std::exception_ptr& failure) {
  if (!failure) return;
  try {
    std::rethrow_exception(failure);
  } catch (const boost::system::system_error& error) {
    if (error.code() == boost::asio::error::operation_aborted) return;
    log.write(platform::LogLevel::error, fmt::format("Halvercine: {}: {}", name, error.what()));
  } catch (const std::exception& error) {
    log.write(platform::LogLevel::error, fmt::format("Halvercine: {}: {}", name, error.what()));
  } catch (...) {
    log.write(platform::LogLevel::error, fmt::format("Halvercine: {}: unknown error", name));
  }
}

}  // namespace

TaskScope::TaskScope(MainActor& actor, platform::SystemLog& log)
    : actor_(actor), log_(log), children_(std::make_shared<Children>()) {}

TaskScope::~TaskScope() { cancelAll(); }

void TaskScope::spawn(std::string name, Task<void> task) {
  const auto child = children_->emplace(children_->end());
  boost::asio::co_spawn(
      actor_.executor(), startLater(*child, std::move(task)),
      Ended{child->signal.slot(), [children = children_, child, &log = log_,
                                   name = std::move(name)](const std::exception_ptr& failure) {
              children->erase(child);
              logUnlessCancelled(log, name, failure);
            }});
}

void TaskScope::cancelAll() {
  // A child may end, and leave the list, while its signal is being emitted.
  for (auto child = children_->begin(); child != children_->end();) {
    const auto cancelled = child++;
    cancelled->isCancelled = true;
    if (cancelled->isStarted) cancelled->signal.emit(boost::asio::cancellation_type::terminal);
  }
}

// Boost 1.81 throws out of the event loop when a spawned coroutine is cancelled before its first
// wait, so that one is made here, and a cancellation that comes earlier is kept until it is over.
Task<void> TaskScope::startLater(Child& child, Task<void> task) {
  co_await boost::asio::post(co_await boost::asio::this_coro::executor, boost::asio::use_awaitable);
  child.isStarted = true;
  if (child.isCancelled) {
    throw boost::system::system_error(boost::asio::error::operation_aborted);
  }
  co_await std::move(task);
}

}  // namespace halvercine::base
