#include "base/spawn.h"

#include <boost/asio/bind_cancellation_slot.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/error.hpp>
#include <boost/system/system_error.hpp>
#include <exception>
#include <fmt/core.h>

namespace halvercine::base {
namespace {

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
      actor_.executor(), std::move(task),
      boost::asio::bind_cancellation_slot(
          child->slot(), [children = children_, child, &log = log_,
                          name = std::move(name)](const std::exception_ptr& failure) {
            children->erase(child);
            logUnlessCancelled(log, name, failure);
          }));
}

void TaskScope::cancelAll() {
  // A child may end, and leave the list, while its signal is being emitted.
  for (auto child = children_->begin(); child != children_->end();) {
    (child++)->emit(boost::asio::cancellation_type::terminal);
  }
}

}  // namespace halvercine::base
