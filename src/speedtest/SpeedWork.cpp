#include "speedtest/SpeedWork.h"

#include <algorithm>
#include <utility>

#include "speedtest/SpeedOffsets.h"

namespace halvercine::speedtest {
namespace {

std::size_t mostWorkers() {
  std::size_t most = 0;
  for (const auto& cell : speedCells) {
    most = std::max(most, accessPattern(cell.profile).queueDepth);
  }
  return most;
}

/// The loop of one worker. The clock is read twice for each operation, right before and after it:
/// what the loop itself costs is in no latency.
template <class Offsets, class Transfer>
void measure(SpeedWork& work, const SpeedWindow& window, std::size_t blockSize, std::size_t worker,
             Offsets offsets, Transfer transfer) {
  if (offsets.isEmpty()) return;
  auto& lane = work.counters.lane(worker);
  const auto measuredFrom = window.begin + window.warmup;
  const auto windowEnd = window.begin + window.length;
  while (work.goesOn()) {
    const auto offset = offsets();
    const auto begin = work.clock.uptime();
    if (begin >= windowEnd) return;
    const std::int64_t count = transfer(offset);
    const auto end = work.clock.uptime();
    if (count != static_cast<std::int64_t>(blockSize)) {
      if (count < 0) work.ioErrors.record(static_cast<std::int32_t>(-count));
      return;
    }
    if (end <= measuredFrom) {
      lane.pass(blockSize);
    } else {
      lane.record(blockSize, end - begin);
    }
  }
}

template <class Offsets>
void measure(SpeedWork& work, const SpeedCell& cell, const SpeedWindow& window, std::size_t worker,
             Offsets offsets) {
  const auto blockSize = accessPattern(cell.profile).blockSize;
  auto& file = *work.file;
  switch (cell.direction) {
    case SpeedDirection::write:
      return measure(work, window, blockSize, worker, offsets,
                     [&file, data = work.buffers.data(blockSize)](std::uint64_t offset) {
                       return file.write(data, offset);
                     });
    case SpeedDirection::read:
      return measure(work, window, blockSize, worker, offsets,
                     [&file, target = work.buffers.target(blockSize, worker)](
                         std::uint64_t offset) { return file.read(target, offset); });
  }
}

}  // namespace

SpeedWork::SpeedWork(const platform::Clock& runClock,
                     std::unique_ptr<platform::UncachedFile> testFile, std::uint64_t size)
    : clock(runClock),
      file(std::move(testFile)),
      fileSize(size),
      buffers(file->bufferAlignment()),
      counters(mostWorkers()) {}

void fillSlice(SpeedWork& work, std::size_t blockSize, std::size_t workers, std::size_t worker) {
  const auto slice = SpeedSlice::of(work.fileSize, blockSize, workers, worker);
  const auto data = work.buffers.data(blockSize);
  // Past the cache, only whole units can be written behind a write that came short.
  const std::int64_t unit = work.file->pageCache() == platform::PageCache::on ? 1 : 4096;
  auto& lane = work.counters.lane(worker);
  for (auto offset = slice.begin; offset < slice.end && work.goesOn();) {
    const auto rest = data.subspan(offset % blockSize);  // all of it, unless a write came short
    const auto count = work.file->write(rest, offset);
    if (count < 0) work.ioErrors.record(static_cast<std::int32_t>(-count));
    const auto kept = count / unit * unit;
    if (kept <= 0) return;
    lane.record(static_cast<std::size_t>(kept), {});
    offset += static_cast<std::uint64_t>(kept);
  }
}

void flushFile(SpeedWork& work) {
  if (const int error = work.file->flush()) work.ioErrors.record(error);
}

void measureSlice(SpeedWork& work, const SpeedCell& cell, const SpeedWindow& window,
                  std::size_t worker) {
  const auto pattern = accessPattern(cell.profile);
  if (pattern.isRandom) {
    measure(work, cell, window, worker, RandomOffsets(work.fileSize, pattern.blockSize, worker));
  } else {
    const auto slice = SpeedSlice::of(work.fileSize, pattern.blockSize, pattern.queueDepth, worker);
    measure(work, cell, window, worker, SequentialOffsets(slice, pattern.blockSize));
  }
}

}  // namespace halvercine::speedtest
