// What the automatic takeover has to know again after a crash.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "mount/takeover/MountRetryQueue.h"
#include "mount/takeover/TakeoverJournal.h"
#include "platform/Clock.h"

namespace halvercine::mount {

/// Plain values. Times are those of the monotonic clock.
struct TakeoverState {
  std::map<std::string, MountRetryQueue::Entry> retries;  ///< by BSD name
  std::map<std::uint64_t, ReadOnlyCause> verdicts;        ///< by device ID
  std::vector<JournalRecord::Recovery> inherited;

  bool operator==(const TakeoverState&) const = default;
};

/// Keeps the state in the journal, where times are those of the wall clock: the monotonic one means
/// nothing to another process. Main actor; the platform outlives it.
class TakeoverStateStore {
 public:
  explicit TakeoverStateStore(const platform::Platform& platform);

  /// What a run left that did not end in the orderly way. No retry is further off than the longest
  /// delay, whatever has happened to the wall clock.
  TakeoverState load();

  /// Writes the state, if it is another than the one loaded or saved last; what cannot be written
  /// now is written by the next call.
  void save(TakeoverState state);

  /// At an orderly end: retries, verdicts and the failure shown are this run's affair. What was
  /// inherited stays for the next one.
  void clear() const;

 private:
  const platform::Clock& clock_;
  TakeoverJournal journal_;
  TakeoverState known_;
};

}  // namespace halvercine::mount
