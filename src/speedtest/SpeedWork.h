// What the workers of a speed test do.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>

#include "platform/Clock.h"
#include "platform/UncachedFiles.h"
#include "speedtest/CancelFlag.h"
#include "speedtest/IOErrorRegistry.h"
#include "speedtest/SpeedBuffers.h"
#include "speedtest/SpeedCounters.h"
#include "speedtest/SpeedProfile.h"

namespace halvercine::speedtest {

/// What all workers of one run share, and keep alive: a worker that hangs in a dead device outlives
/// the run.
struct SpeedWork {
  SpeedWork(const platform::Clock& runClock, std::unique_ptr<platform::UncachedFile> testFile,
            std::uint64_t size);

  const platform::Clock& clock;
  std::unique_ptr<platform::UncachedFile> file;
  std::uint64_t fileSize;
  SpeedBuffers buffers;
  SpeedCounters counters;
  CancelFlag cancel;
  CancelFlag broken;  ///< a worker has ended by an exception
  IOErrorRegistry ioErrors;

  /// Before each operation: another worker's error ends them all.
  bool goesOn() const { return !cancel.isSet() && !broken.isSet() && !ioErrors.firstErrno(); }
};

/// When a cell is measured, on the monotonic clock.
struct SpeedWindow {
  platform::Uptime begin{};
  platform::Uptime warmup{};  ///< from the beginning; what ends within is not measured
  platform::Uptime length{};  ///< from the beginning, warm-up included; nothing begins later

  /// For how long the cell has been measured when its last worker ended at `now`.
  platform::Uptime measured(platform::Uptime now) const { return now - begin - warmup; }
};

/// Writes the part of the file that is one worker's, front to back. Returns early when the run is
/// cancelled or an operation fails. On a worker's thread.
void fillSlice(SpeedWork& work, std::size_t blockSize, std::size_t workers, std::size_t worker);

/// Waits until the medium has what has been written. On a worker's thread.
void flushFile(SpeedWork& work);

/// Reads or writes as the cell says until the window is over. A transfer that comes short ends this
/// worker, an error ends the run. Nothing is allocated. On a worker's thread.
void measureSlice(SpeedWork& work, const SpeedCell& cell, const SpeedWindow& window,
                  std::size_t worker);

}  // namespace halvercine::speedtest
