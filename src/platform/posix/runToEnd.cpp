#include "platform/posix/runToEnd.h"

#include <mutex>
#include <optional>
#include <string_view>
#include <utility>

#include "platform/posix/OutputTail.h"

namespace halvercine::platform::posix {
namespace {

constexpr std::size_t outputLimit = std::size_t{128} * 1024 * 1024;
constexpr std::size_t errorLimit = std::size_t{1} * 1024 * 1024;

/// What has come of one tool. Its events share it; whatever reaches the actor holds it weakly, so
/// that it ends with the run.
class Gathering : public std::enable_shared_from_this<Gathering> {
 public:
  Gathering(base::MainActor& actor, Clock& clock, std::function<void(AdministratorResult)> ended)
      : actor_(actor), clock_(clock), ended_(std::move(ended)) {}

  ToolEvents events() {
    const auto self = shared_from_this();
    return {[self](std::string_view bytes) { self->add(self->output_, bytes); },
            [self](std::string_view bytes) { self->add(self->errors_, bytes); },
            [self] { self->onActor([](Gathering& gathering) { gathering.outputEnded(); }); },
            [self](ToolExit exit) {
              self->onActor([exit](Gathering& gathering) { gathering.exited(exit); });
            }};
  }

  void couldNotStart(std::string reason) {
    onActor([reason = std::move(reason)](Gathering& gathering) {
      gathering.end({-1, {}, reason});
    });
  }

  void abandon() {
    ended_ = nullptr;
    clock_.cancel(timer_);
  }

 private:
  template <class Action>
  void onActor(Action action) {
    actor_.post([weak = weak_from_this(), action = std::move(action)] {
      if (const auto self = weak.lock()) action(*self);
    });
  }

  void add(OutputTail& tail, std::string_view bytes) {
    const std::lock_guard lock(mutex_);
    tail.add(bytes);
  }

  void outputEnded() {
    isOutputOver_ = true;
    finish();
  }

  void exited(ToolExit exit) {
    exit_ = exit;
    timer_ = clock_.callAt(clock_.uptime() + outputGrace, [weak = weak_from_this()] {
      if (const auto self = weak.lock()) self->outputEnded();
    });
    finish();
  }

  void finish() {
    if (!exit_ || !isOutputOver_ || !ended_) return;
    AdministratorResult result;
    result.exitCode = exit_->status;
    {
      const std::lock_guard lock(mutex_);
      result.output = output_.take();
      result.errors = errors_.take();
    }
    end(std::move(result));
  }

  void end(AdministratorResult result) {
    clock_.cancel(timer_);
    if (const auto ended = std::exchange(ended_, nullptr)) ended(std::move(result));
  }

  base::MainActor& actor_;
  Clock& clock_;
  std::function<void(AdministratorResult)> ended_;  // none: it has been told, or is not wanted
  std::optional<ToolExit> exit_;
  bool isOutputOver_ = false;
  TimerId timer_ = 0;

  std::mutex mutex_;  // for the two below
  OutputTail output_{outputLimit};
  OutputTail errors_{errorLimit};
};

class GatheredRun : public AdministratorRun {
 public:
  explicit GatheredRun(std::shared_ptr<Gathering> gathering) : gathering_(std::move(gathering)) {}
  ~GatheredRun() override { gathering_->abandon(); }

  void keep(std::unique_ptr<ToolProcess> process) { process_ = std::move(process); }

 private:
  std::shared_ptr<Gathering> gathering_;
  std::unique_ptr<ToolProcess> process_;
};

}  // namespace

std::unique_ptr<AdministratorRun> runToEnd(base::MainActor& actor, Clock& clock, ToolRunner& runner,
                                           ToolInvocation invocation,
                                           std::function<void(AdministratorResult)> ended) {
  const auto gathering = std::make_shared<Gathering>(actor, clock, std::move(ended));
  auto run = std::make_unique<GatheredRun>(gathering);
  invocation.errors = ToolInvocation::Errors::apart;
  auto started = runner.start(invocation, gathering->events());
  if (started) {
    run->keep(std::move(*started));
  } else {
    gathering->couldNotStart(std::move(started.error()));
  }
  return run;
}

}  // namespace halvercine::platform::posix
