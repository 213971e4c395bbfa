#include "speedtest/SpeedTestRunner.h"

#include <algorithm>
#include <exception>
#include <utility>

#include <boost/asio/error.hpp>
#include <boost/system/system_error.hpp>

#include "base/Completion.h"
#include "base/runInBackground.h"
#include "speedtest/prepareTestFile.h"

namespace halvercine::speedtest {
namespace {

// Often enough for a figure that is looked at; a point of the curve is one of these intervals.
constexpr std::chrono::milliseconds liveTickPeriod{250};

// File systems without holes fill what is skipped with zeros first: several that begin in the
// middle would make the medium write everything twice.
constexpr std::size_t fillWorkers = 1;

constexpr std::size_t fillBlockSize = mebibyte;

double seconds(platform::Uptime duration) {
  return std::chrono::duration<double>(duration).count();
}

bool isCancellation(const boost::system::system_error& error) {
  return error.code() == boost::asio::error::operation_aborted;
}

}  // namespace

/// Deletes the file in the background should the run not come to its end. The last of its owners
/// closes it, which gives its space back and can take as long as writing: never the main actor.
class SpeedTestRunner::TestFile {
 public:
  explicit TestFile(base::MainActor& actor) : actor_(actor) {}
  ~TestFile() {
    if (work_) actor_.postToBackground([work = std::move(work_)] { work->file->remove(); });
  }
  TestFile(const TestFile&) = delete;
  TestFile& operator=(const TestFile&) = delete;

  void hold(std::shared_ptr<SpeedWork> work) { work_ = std::move(work); }
  bool isHeld() const { return work_ != nullptr; }

  /// On a background thread. Answers 0 or an errno value.
  int remove() {
    const auto work = std::exchange(work_, nullptr);
    return work->file->remove();
  }

 private:
  base::MainActor& actor_;
  std::shared_ptr<SpeedWork> work_;
};

SpeedTestRunner::SpeedTestRunner(base::MainActor& actor, const platform::Platform& platform)
    : actor_(actor),
      platform_(platform),
      liveTick_(*platform.clock),
      workerTask_(actor, *platform.systemLog) {}

SpeedTestRunner::~SpeedTestRunner() {
  if (work_) work_->cancel.set();
}

bool SpeedTestRunner::start(std::string folder, SpeedPlan plan, std::string mountedFrom) {
  if (isRunning()) return false;
  ++runGeneration_;
  isStopping_ = false;
  isSettled_ = false;
  wasStopped_ = false;
  failure_.reset();
  prepareProgress_ = 0;
  results_.clear();
  writeCurve_.clear();
  pageCache_.reset();
  isFileLeft_ = false;
  bytesWritten_ = 0;
  environment_ = {platform_.systemInfo->onBattery(), platform_.systemInfo->thermalState()};
  setPhase(Phase::preparing);
  workerTask_.spawn("speed test", run(std::move(folder), plan, std::move(mountedFrom)));
  return true;
}

void SpeedTestRunner::stop() {
  if (!isRunning() || isStopping_ || isSettled_) return;
  isStopping_ = true;
  if (work_) work_->cancel.set();
  changed();
}

void SpeedTestRunner::abandon() {
  if (!isRunning()) return;
  if (work_) work_->cancel.set();
  ++runGeneration_;
  workerTask_.cancelAll();
  if (!isSettled_) {
    isStopping_ = true;
    settle(std::nullopt);
  }
  isFileLeft_ = true;  // for all that anybody knows: it may be about to be made, or deleted
  finish();
}

base::Task<void> SpeedTestRunner::run(std::string folder, SpeedPlan plan, std::string mountedFrom) {
  const auto generation = runGeneration_;
  const auto assertion =
      platform_.sleepAssertions->take("PreventUserIdleSystemSleep", "Halvercine Speed Test");
  auto file = std::make_shared<TestFile>(actor_);
  std::optional<SpeedTestFailure> failure;
  try {
    failure = co_await measure(std::move(folder), plan, std::move(mountedFrom), file);
  } catch (const boost::system::system_error& error) {
    if (isCancellation(error)) throw;
    failure = SpeedTestFailure::generic();
  } catch (const std::exception&) {  // no memory, no threads
    failure = SpeedTestFailure::generic();
  }
  settle(std::move(failure));
  if (file->isHeld()) {
    const auto remove = [file] { return file->remove(); };
    isFileLeft_ = co_await base::runInBackground(actor_, remove) != 0;
  }
  if (generation == runGeneration_) finish();
}

base::Task<std::optional<SpeedTestFailure>> SpeedTestRunner::measure(
    std::string folder, SpeedPlan plan, std::string mountedFrom, std::shared_ptr<TestFile> file) {
  auto made = co_await prepareTestFile(actor_, platform_, std::move(folder), std::move(mountedFrom),
                                       plan.fileSize);
  if (!made) co_return std::move(made.error());
  pageCache_ = (*made)->pageCache();
  work_ = std::make_shared<SpeedWork>(*platform_.clock, std::move(*made), plan.fileSize);
  file->hold(work_);
  const auto work = work_;
  if (isStopping_) work->cancel.set();
  changed();
  bool isWhole = co_await fillFile(work);
  for (const auto& cell : speedCells) {
    if (!isWhole || !work->goesOn()) break;
    isWhole = co_await runWindow(work, cell, plan);
  }
  if (work->cancel.isSet()) co_return std::nullopt;
  if (const auto error = work->ioErrors.firstErrno()) co_return SpeedTestFailure::ioFailed(*error);
  co_return isWhole ? std::nullopt : std::optional(SpeedTestFailure::generic());
}

/// False when the file has not become whole.
base::Task<bool> SpeedTestRunner::fillFile(std::shared_ptr<SpeedWork> work) {
  work->counters.reset(false);
  startLiveTick([this, work] { tickFill(*work); });
  const auto fill = [work](std::size_t worker) {
    fillSlice(*work, fillBlockSize, fillWorkers, worker);
  };
  const bool isDone = co_await runWorkers(work, fillWorkers, fill);
  tickFill(*work);
  bytesWritten_ += work->counters.transferred();
  if (!isDone || !work->goesOn() || work->counters.transferred() != work->fileSize) co_return false;
  // What a cache still held would be written during the first cells.
  const auto flush = [work](std::size_t) { flushFile(*work); };
  co_return co_await runWorkers(work, 1, flush);
}

base::Task<bool> SpeedTestRunner::runWindow(std::shared_ptr<SpeedWork> work, SpeedCell cell,
                                            SpeedPlan plan) {
  const SpeedWindow window{platform_.clock->uptime(), plan.warmup, plan.windowOf(cell)};
  work->counters.reset(true);
  cell_ = cell;
  liveCurve_.clear();
  startLiveTick([this, work, begin = window.begin] { tickCell(*work, begin); });
  setPhase(Phase::running);
  const auto measure = [work, cell, window](std::size_t worker) {
    measureSlice(*work, cell, window, worker);
  };
  bool isDone = co_await runWorkers(work, accessPattern(cell.profile).queueDepth, measure);
  const auto measured = window.measured(platform_.clock->uptime());
  liveTick_.stop();
  if (cell.direction == SpeedDirection::write) bytesWritten_ += work->counters.transferred();
  // All of them gave up before the end, with transfers that came short: that is no speed of 0.
  const bool isCutShort = measured < window.length - window.warmup;
  if (isCutShort && work->counters.ops() == 0) isDone = false;
  if (isDone && work->goesOn()) {
    if (cell == curveCell) writeCurve_ = liveCurve_;
    results_.push_back(work->counters.result(cell, measured));
  }
  cell_.reset();
  changed();
  co_return isDone;
}

/// False when one of them ended by an exception.
base::Task<bool> SpeedTestRunner::runWorkers(std::shared_ptr<SpeedWork> work, std::size_t count,
                                             std::function<void(std::size_t)> body) {
  std::shared_ptr<platform::WorkerGroup> group;
  const auto guarded = [work, body](std::size_t worker) {
    try {
      body(worker);
    } catch (...) {
      work->broken.set();  // the others need not go on for a result that is none
      throw;
    }
  };
  auto begin = [&](base::Completion<std::exception_ptr> completion) {
    group = platform_.workerThreads->start(count, guarded, completion);
    return std::function<void()>();
  };
  const auto failure = co_await base::waitFor<std::exception_ptr>(begin);
  co_return !failure;
}

void SpeedTestRunner::startLiveTick(std::function<void()> tick) {
  liveMBps_ = 0;
  liveBytes_ = 0;
  liveWindowStart_ = platform_.clock->uptime();
  liveTick_.start(liveTickPeriod, std::move(tick));
}

/// False when it is too early for one: a beat that comes late is followed by the next at once.
bool SpeedTestRunner::updateLiveRate(const SpeedWork& work) {
  const auto now = platform_.clock->uptime();
  const auto passed = now - liveWindowStart_;
  if (passed < liveTickPeriod / 2) return false;
  const auto bytes = work.counters.transferred();
  liveMBps_ = static_cast<double>(bytes - liveBytes_) / 1'000'000 / seconds(passed);
  liveBytes_ = bytes;
  liveWindowStart_ = now;
  return true;
}

void SpeedTestRunner::tickFill(const SpeedWork& work) {
  updateLiveRate(work);
  prepareProgress_ =
      static_cast<double>(work.counters.transferred()) / static_cast<double>(work.fileSize);
  changed();
}

void SpeedTestRunner::tickCell(const SpeedWork& work, platform::Uptime begin) {
  if (!updateLiveRate(work)) return;
  liveCurve_.push_back({seconds(liveWindowStart_ - begin), liveMBps_});
  changed();
}

/// How the run ended, before its file is deleted, which changes nothing about it.
void SpeedTestRunner::settle(std::optional<SpeedTestFailure> failure) {
  isSettled_ = true;
  wasStopped_ = isStopping_ && !failure;
  failure_ = std::move(failure);
  liveTick_.stop();
  work_.reset();
  cell_.reset();
  liveMBps_ = 0;
}

void SpeedTestRunner::finish() {
  isStopping_ = false;
  setPhase(failure_ ? Phase::failed : Phase::idle);
  if (finishHandler) finishHandler();
}

void SpeedTestRunner::setPhase(Phase phase) {
  phase_ = phase;
  changed();
}

}  // namespace halvercine::speedtest
