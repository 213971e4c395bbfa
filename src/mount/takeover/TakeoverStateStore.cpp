#include "mount/takeover/TakeoverStateStore.h"

#include <algorithm>
#include <utility>

#include "mount/takeover/journalTime.h"

namespace halvercine::mount {

TakeoverStateStore::TakeoverStateStore(const platform::Platform& platform)
    : clock_(*platform.clock), journal_(platform) {}

TakeoverState TakeoverStateStore::load() {
  const double now = platform::secondsSince1970(clock_.now());
  const auto record = journal_.read();
  TakeoverState state;
  for (const auto& retry : record.retries) {
    const double wait =
        std::clamp(retry.nextAfter - now, 0.0, secondsOf(MountRetryQueue::delays.back()));
    state.retries[retry.bsdName] = {retry.deviceID, retry.count, clock_.uptime() + uptimeOf(wait)};
  }
  for (const auto& verdict : record.verdicts) state.verdicts[verdict.deviceID] = verdict.cause;
  state.inherited = record.inherited;
  known_ = state;
  return state;
}

void TakeoverStateStore::save(TakeoverState state) {
  if (state == known_) return;
  const double now = platform::secondsSince1970(clock_.now());
  const auto uptime = clock_.uptime();
  const bool isSaved = journal_.update([&](JournalRecord& record) {
    record.retries.clear();
    for (const auto& [bsdName, entry] : state.retries) {
      const double due = now + secondsOf(entry.nextAfter - uptime);
      record.retries.push_back({bsdName, entry.deviceID, entry.count, due});
    }
    record.verdicts.clear();
    for (const auto& [deviceId, cause] : state.verdicts) {
      record.verdicts.push_back({deviceId, cause});
    }
    record.inherited = state.inherited;
  });
  if (isSaved) known_ = std::move(state);
}

void TakeoverStateStore::clear() const {
  journal_.update([](JournalRecord& record) {
    record.retries.clear();
    record.verdicts.clear();
    record.lastFailure.reset();
    record.lastFailureDevice.reset();
  });
}

}  // namespace halvercine::mount
