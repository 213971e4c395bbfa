// Calls about files that may not come back.
#pragma once

#include <chrono>
#include <future>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

namespace halvercine::base {

/// A mount that is served by a process hangs when the process does, and macOS holds a program that
/// reads the files of another one until the user has allowed it. A call about a thing, which its
/// key names, goes on in a thread of its own, nobody waits for it longer than a moment, and none
/// about the same thing begins until it has come back. Any thread; callers of one key share a call.
template <class Answer>
class BoundedCalls {
 public:
  /// A server that is alive answers within milliseconds, a disk that has to spin up is asked again
  /// anyway.
  static constexpr std::chrono::milliseconds usualPatience{250};

  /// With `kept`, for what may be so old, the last answer stands for one that comes too late:
  /// nothing flickers where answers are late now and then.
  explicit BoundedCalls(std::chrono::milliseconds patience = usualPatience,
                        std::chrono::seconds kept = {})
      : patience_(patience), kept_(kept) {}

  /// What `ask` answers, a function that owns what it uses and throws nothing. Nothing when it has
  /// not come back in time.
  template <class Ask>
  std::optional<Answer> operator()(const std::string& key, Ask ask) {
    Pending pending;
    try {
      const std::lock_guard lock(calls_->mutex);
      const auto running = calls_->running.find(key);
      if (running != calls_->running.end() && running->second.isStuck) return last(key);
      pending =
          running != calls_->running.end() ? running->second.pending : start(key, std::move(ask));
    } catch (const std::system_error&) {  // no further thread to be had
      const std::lock_guard lock(calls_->mutex);
      calls_->running.erase(key);
      return std::nullopt;
    }
    if (pending.wait_for(patience_) == std::future_status::ready) return pending.get();
    const std::lock_guard lock(calls_->mutex);
    const auto running = calls_->running.find(key);
    if (running != calls_->running.end()) running->second.isStuck = true;
    return last(key);
  }

 private:
  using Pending = std::shared_future<Answer>;
  struct Call {
    Pending pending;
    bool isStuck = false;
  };
  struct Last {
    Answer answer;
    std::chrono::steady_clock::time_point end;
  };
  struct Calls {
    std::mutex mutex;
    std::map<std::string, Call> running;
    std::map<std::string, Last> last;
  };

  /// With the mutex.
  std::optional<Answer> last(const std::string& key) const {
    const auto found = calls_->last.find(key);
    if (found == calls_->last.end()) return std::nullopt;
    if (found->second.end > std::chrono::steady_clock::now()) return found->second.answer;
    calls_->last.erase(found);
    return std::nullopt;
  }

  template <class Ask>
  Pending start(const std::string& key, Ask ask) {
    std::promise<Answer> promise;
    Pending pending = promise.get_future().share();
    calls_->running[key] = {pending, false};
    std::thread([key, ask = std::move(ask), calls = calls_, kept = kept_,
                 promise = std::move(promise)]() mutable {
      auto answer = ask();
      {
        const std::lock_guard lock(calls->mutex);
        calls->running.erase(key);
        if (kept.count() > 0) {
          const auto end = std::chrono::steady_clock::now() + kept;
          calls->last.insert_or_assign(key, Last{answer, end});
        }
      }
      promise.set_value(std::move(answer));
    }).detach();
    return pending;
  }

  std::chrono::milliseconds patience_;
  std::chrono::seconds kept_;
  std::shared_ptr<Calls> calls_ = std::make_shared<Calls>();  // outlived by abandoned calls
};

}  // namespace halvercine::base
