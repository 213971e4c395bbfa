#include "platform/simulated/VirtualWorkerThreads.h"

#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

#include "base/OwnedPost.h"

namespace halvercine::platform::simulated {

class VirtualWorkerThreads::Worker : public std::enable_shared_from_this<Worker> {
 public:
  Worker(base::VirtualClock& clock, std::function<void()> work)
      : clock_(clock), work_(std::move(work)) {}
  ~Worker() { abandon(); }
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;

  static thread_local Worker* current;

  /// Main actor: runs on at `deadline` until the next sleep, or the end.
  void resumeAt(Uptime deadline) {
    clock_.callAt(deadline, [self = shared_from_this()] { self->resume(); });
  }

  bool hasEnded() const { return turn_ == Turn::nobodys; }

  /// On the worker's own thread, while the main actor waits.
  bool sleepUntil(Uptime deadline) {
    std::unique_lock lock(mutex_);
    if (isAbandoned_) return false;
    resumeAt(deadline);
    turn_ = Turn::actors;
    turned_.notify_all();
    turned_.wait(lock, [this] { return turn_ == Turn::workers || isAbandoned_; });
    return !isAbandoned_;
  }

  void abandon() {
    {
      const std::lock_guard lock(mutex_);
      isAbandoned_ = true;
      turned_.notify_all();
    }
    if (thread_.joinable()) thread_.join();
  }

 private:
  enum class Turn { actors, workers, nobodys };

  void resume() {
    std::unique_lock lock(mutex_);
    if (isAbandoned_ || turn_ == Turn::nobodys) return;
    turn_ = Turn::workers;
    if (!thread_.joinable()) thread_ = std::thread([this] { run(); });
    turned_.notify_all();
    turned_.wait(lock, [this] { return turn_ != Turn::workers; });
  }

  void run() {
    current = this;
    work_();
    work_ = nullptr;  // and what it owns
    const std::lock_guard lock(mutex_);
    turn_ = Turn::nobodys;
    turned_.notify_all();
  }

  base::VirtualClock& clock_;
  std::function<void()> work_;
  std::mutex mutex_;
  std::condition_variable turned_;
  Turn turn_ = Turn::actors;
  bool isAbandoned_ = false;
  std::thread thread_;
};

thread_local VirtualWorkerThreads::Worker* VirtualWorkerThreads::Worker::current = nullptr;

namespace {

/// What the workers of one group share. One of them runs at a time.
struct Group {
  std::size_t left = 0;
  std::exception_ptr failure;
  std::function<void(std::exception_ptr)> ended;
};

class VirtualWorkerGroup : public WorkerGroup {
 public:
  VirtualWorkerGroup(base::MainActor& actor, const std::shared_ptr<Group>& group,
                     std::function<void(std::exception_ptr)> ended)
      : post_(actor) {
    group->ended = post_.wrap(std::move(ended));
  }

 private:
  base::OwnedPost post_;
};

}  // namespace

VirtualWorkerThreads::VirtualWorkerThreads(base::MainActor& actor,
                                           std::shared_ptr<base::VirtualClock> clock)
    : actor_(actor), clock_(std::move(clock)) {}

VirtualWorkerThreads::~VirtualWorkerThreads() {
  for (const auto& worker : workers_) worker->abandon();
}

std::unique_ptr<WorkerGroup> VirtualWorkerThreads::start(
    std::size_t count, std::function<void(std::size_t)> work,
    std::function<void(std::exception_ptr)> ended) {
  std::erase_if(workers_, [](const auto& worker) { return worker->hasEnded(); });
  const auto group = std::make_shared<Group>();
  group->left = count;
  auto handle = std::make_unique<VirtualWorkerGroup>(actor_, group, std::move(ended));
  for (std::size_t number = 0; number < count; ++number) {
    auto run = [group, work, number] {
      try {
        work(number);
      } catch (...) {
        if (!group->failure) group->failure = std::current_exception();
      }
      if (--group->left == 0) group->ended(group->failure);
    };
    workers_.push_back(std::make_shared<Worker>(*clock_, std::move(run)));
    workers_.back()->resumeAt(clock_->uptime());
  }
  return handle;
}

bool VirtualWorkerThreads::sleepUntil(Uptime deadline) {
  return Worker::current != nullptr && Worker::current->sleepUntil(deadline);
}

}  // namespace halvercine::platform::simulated
