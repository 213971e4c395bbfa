#include "mount/MountAccessHeartbeat.h"

#include <chrono>
#include <mutex>
#include <optional>
#include <utility>

#include "mount/MountAccessReportStore.h"

namespace halvercine::mount {
namespace {

// Four beats may be missed before a report goes stale.
constexpr auto interval = std::chrono::seconds(60);

}  // namespace

struct MountAccessHeartbeat::State : std::enable_shared_from_this<State> {
  struct Target {
    std::string bsdName;
    std::string ownerId;
  };

  State(base::MainActor& mainActor, platform::Clock& realClock, platform::Containers& allContainers)
      : actor(mainActor), clock(realClock), containers(allContainers) {}

  /// Files the next beat of `beatGeneration`, on the main actor.
  void arm(int beatGeneration) {
    const std::scoped_lock guard(lock);
    if (generation != beatGeneration) return;
    timer = clock.callAt(clock.uptime() + interval, [weak = weak_from_this(), beatGeneration] {
      if (const auto self = weak.lock()) self->beat(beatGeneration);
    });
  }

  void beat(int beatGeneration) {
    // Held over the look at the generation and the refresh: a stop that comes meanwhile waits, and
    // then takes away what was refreshed.
    const std::scoped_lock fileGuard(file);
    std::optional<Target> current;
    {
      const std::scoped_lock guard(lock);
      timer.reset();
      if (generation == beatGeneration) current = target;
    }
    if (!current) return;
    if (const auto store = MountAccessReportStore::locate(containers, current->bsdName)) {
      store->refreshOwned(current->ownerId, platform::secondsSince1970(clock.now()));
    }
    arm(beatGeneration);
  }

  /// Puts another target, or none, in the place of the present one and ends its report.
  void aimAt(std::optional<Target> next) {
    std::optional<Target> former;
    {
      const std::scoped_lock guard(lock);
      ++generation;
      if (const auto armed = std::exchange(timer, std::nullopt)) {
        actor.post([self = shared_from_this(), armed] { self->clock.cancel(*armed); });
      }
      if (next) {
        actor.post([self = shared_from_this(), started = generation] { self->arm(started); });
      }
      former = std::exchange(target, std::move(next));
    }
    if (!former) return;
    const std::scoped_lock fileGuard(file);
    if (const auto store = MountAccessReportStore::locate(containers, former->bsdName)) {
      store->removeOwned(former->ownerId);
    }
  }

  base::MainActor& actor;
  platform::Clock& clock;
  platform::Containers& containers;

  std::mutex file;  // one of us at a time has the report in hand; taken before `lock`
  std::mutex lock;  // guards what follows
  std::optional<platform::TimerId> timer;
  std::optional<Target> target;
  int generation = 0;
};

MountAccessHeartbeat::MountAccessHeartbeat(base::MainActor& actor, platform::Clock& clock,
                                           platform::Containers& containers)
    : state_(std::make_shared<State>(actor, clock, containers)) {}

MountAccessHeartbeat::~MountAccessHeartbeat() { stop(); }

void MountAccessHeartbeat::start(std::string bsdName, std::string ownerId) {
  state_->aimAt(State::Target{std::move(bsdName), std::move(ownerId)});
}

void MountAccessHeartbeat::stop() { state_->aimAt(std::nullopt); }

}  // namespace halvercine::mount
