#include "base/MainActor.h"

namespace halvercine::base {
namespace {

// Blocking calls are few and mostly wait on a device or a child; a stuck one must not stop the
// rest.
constexpr int backgroundThreads = 8;

}  // namespace

MainActor::MainActor()
    : guard_(boost::asio::make_work_guard(context_)), thread_(std::this_thread::get_id()) {}

MainActor::~MainActor() { joinBackground(); }

void MainActor::joinBackground() {
  if (background_) background_->join();
}

bool MainActor::settleBackground(std::chrono::milliseconds limit) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  do {
    // What is ready may be about to start some.
    while (std::chrono::steady_clock::now() < deadline && context_.poll_one() > 0) {
    }
  } while (backgroundWork_ > 0 && context_.run_one_until(deadline) > 0);
  return backgroundWork_ == 0;
}

void MainActor::postToBackground(std::function<void()> action) {
  std::call_once(backgroundMade_,
                 [this] { background_ = std::make_unique<BackgroundThreads>(backgroundThreads); });
  ++backgroundWork_;
  background_->post([this, action = std::move(action)]() mutable {
    action();
    action = nullptr;
    // Counted down behind whatever the action posted, so that "idle" never overlooks a result.
    post([this] { --backgroundWork_; });
  });
}

bool MainActor::step() {
  if (context_.poll_one() > 0) return true;
  if (idleHandler_ && backgroundWork_ == 0) {
    // Something may have been posted between the poll and the count.
    if (context_.poll_one() > 0) return true;
    return idleHandler_();
  }
  return context_.run_one() > 0;
}

bool MainActor::run() {
  thread_ = std::this_thread::get_id();
  stopped_ = false;
  while (!stopped_) {
    if (!step()) return false;
  }
  return true;
}

bool MainActor::runUntil(const std::function<bool()>& done) {
  thread_ = std::this_thread::get_id();
  while (!done()) {
    if (!step()) return done();
  }
  return true;
}

void MainActor::stop() {
  stopped_ = true;
  post([] {});  // wakes a waiting `run`
}

}  // namespace halvercine::base
