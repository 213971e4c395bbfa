#include "platform/macos/runBesideMainLoop.h"

#include <pthread.h>
#include <utility>

#include <CoreFoundation/CoreFoundation.h>

#include "platform/macos/ScopedCF.h"

namespace halvercine::platform::macos {
namespace {

// Other threads get 512 KiB, which is little for what a main thread may do.
constexpr std::size_t stackSize = std::size_t{8} * 1024 * 1024;

/// The program and the main run loop, which waits for it. A source that has been signalled stays so
/// until it is served: the end is not missed, even when it comes before the loop runs.
class Beside {
 public:
  explicit Beside(std::function<int()> program)
      : program_(std::move(program)), loop_(CFRunLoopGetMain()) {
    CFRunLoopSourceContext context{};
    context.info = this;
    context.perform = [](void* self) { static_cast<Beside*>(self)->programEnded(); };
    end_ = ScopedCF<CFRunLoopSourceRef>::adopt(
        CFRunLoopSourceCreate(kCFAllocatorDefault, 0, &context));
    CFRunLoopAddSource(loop_, end_.get(), kCFRunLoopCommonModes);
  }

  ~Beside() { CFRunLoopSourceInvalidate(end_.get()); }
  Beside(const Beside&) = delete;
  Beside& operator=(const Beside&) = delete;

  int run() {
    pthread_t thread{};
    if (!start(thread)) return program_();  // better without the system's callbacks than not at all
    // Whatever else stops the loop does not end the program.
    while (!hasEnded_) CFRunLoopRun();
    ::pthread_join(thread, nullptr);
    return status_;
  }

 private:
  bool start(pthread_t& thread) {
    pthread_attr_t attributes;
    if (::pthread_attr_init(&attributes) != 0) return false;
    ::pthread_attr_setstacksize(&attributes, stackSize);
    ::pthread_attr_set_qos_class_np(&attributes, QOS_CLASS_USER_INITIATED, 0);
    const auto body = [](void* self) -> void* {
      static_cast<Beside*>(self)->runProgram();
      return nullptr;
    };
    const bool hasStarted = ::pthread_create(&thread, &attributes, body, this) == 0;
    ::pthread_attr_destroy(&attributes);
    return hasStarted;
  }

  void runProgram() {
    status_ = program_();
    CFRunLoopSourceSignal(end_.get());
    CFRunLoopWakeUp(loop_);
  }

  void programEnded() {
    hasEnded_ = true;
    CFRunLoopStop(loop_);
  }

  std::function<int()> program_;
  CFRunLoopRef loop_;  // not ours
  ScopedCF<CFRunLoopSourceRef> end_;
  int status_ = 0;         // the program's thread writes, the main thread reads after joining it
  bool hasEnded_ = false;  // the main thread's
};

}  // namespace

int runBesideMainLoop(std::function<int()> program) { return Beside(std::move(program)).run(); }

}  // namespace halvercine::platform::macos
