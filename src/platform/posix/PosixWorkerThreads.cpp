#include "platform/posix/PosixWorkerThreads.h"

#include <latch>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>
#ifdef __APPLE__
#include <pthread/qos.h>
#endif

#include "base/OwnedPost.h"

namespace halvercine::platform::posix {
namespace {

void enterUtilityClass() {
#ifdef __APPLE__
  pthread_set_qos_class_self_np(QOS_CLASS_UTILITY, 0);
#endif
}

/// Runs them all on the calling thread's behalf and answers the first exception. They begin when
/// all are there: fewer would measure something else.
std::exception_ptr runAll(std::size_t count, const std::function<void(std::size_t)>& work) {
  std::mutex mutex;
  std::exception_ptr failure;
  const auto keep = [&](std::exception_ptr thrown) {
    const std::lock_guard lock(mutex);
    if (!failure) failure = std::move(thrown);
  };
  std::latch decided(1);
  bool areAll = false;  // read behind the latch
  std::vector<std::thread> threads;
  try {
    threads.reserve(count);
    for (std::size_t worker = 0; worker < count; ++worker) {
      threads.emplace_back([&, worker] {
        enterUtilityClass();
        decided.wait();
        try {
          if (areAll) work(worker);
        } catch (...) {
          keep(std::current_exception());
        }
      });
    }
    areAll = true;
  } catch (...) {  // no further thread to be had
    keep(std::current_exception());
  }
  decided.count_down();
  for (auto& thread : threads) thread.join();
  return failure;
}

class PosixWorkerGroup : public WorkerGroup {
 public:
  PosixWorkerGroup(base::MainActor& actor, std::size_t count, std::function<void(std::size_t)> work,
                   std::function<void(std::exception_ptr)> ended)
      : post_(actor) {
    actor.postToBackground([count, work = std::move(work), tell = post_.wrap(std::move(ended))] {
      tell(runAll(count, work));
    });
  }

 private:
  base::OwnedPost post_;
};

}  // namespace

std::unique_ptr<WorkerGroup> PosixWorkerThreads::start(
    std::size_t count, std::function<void(std::size_t)> work,
    std::function<void(std::exception_ptr)> ended) {
  return std::make_unique<PosixWorkerGroup>(actor_, count, std::move(work), std::move(ended));
}

}  // namespace halvercine::platform::posix
