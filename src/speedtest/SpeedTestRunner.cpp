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

constexpr std::size_t fillBlockSize = 1'048'576;

double seconds(platform::Uptime duration) {
  return std::chrono::duration<double>(duration).count();
}

bool isCancellation(const boost::system::system_error& error) {
  return error.code() == boost::asio::error::operation_aborted;
}

}  // namespace

/// Deletes the file in the background should the run not come to its end.
class SpeedTestRunner::TestFile {
 public:
  explicit TestFile(base::MainActor& actor) : actor_(actor) {}
  ~TestFile() {
    if (work_) actor_.postToBackground([work = std::move(work_)] { work->file->remove(); });
  }
  TestFile(const TestFile&) = delete;
  TestFile& operator=(const TestFile&) = delete;

  void hold(std::shared_ptr<SpeedWork> work) { work_ = std::move(work); }
  std::shared_ptr<SpeedWork> release() { return std::exchange(work_, nullptr); }

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

bool SpeedTestRunner::start(std::string folder, SpeedPlan plan) {
  if (isRunning()) return false;
  ++runGeneration_;
  isStopping_ = false;
  wasStopped_ = false;
  failure_.reset();
  prepareProgress_ = 0;
  results_.clear();
  writeCurve_.clear();
  isUncached_.reset();
  isFileLeft_ = false;
  bytesWritten_ = 0;
  environment_ = {platform_.systemInfo->onBattery(), platform_.systemInfo->thermalState()};
  setPhase(Phase::preparing);
  workerTask_.spawn("speed test", run(std::move(folder), plan));
  return true;
}

void SpeedTestRunner::stop() {
  if (!isRunning() || isStopping_) return;
  isStopping_ = true;
  if (work_) work_->cancel.set();
  changed();
}

void SpeedTestRunner::abandon() {
  if (!isRunning()) return;
  isStopping_ = true;
  if (work_) work_->cancel.set();
  ++runGeneration_;
  isFileLeft_ = work_ != nullptr;  // as far as anybody knows by then
  workerTask_.cancelAll();
  finish(std::nullopt);
}

base::Task<void> SpeedTestRunner::run(std::string folder, SpeedPlan plan) {
  const auto generation = runGeneration_;
  const auto assertion =
      platform_.sleepAssertions->take("PreventUserIdleSystemSleep", "Halvercine Speed Test");
  auto file = std::make_shared<TestFile>(actor_);
  std::optional<SpeedTestFailure> failure;
  try {
    failure = co_await measure(std::move(folder), plan, file);
  } catch (const boost::system::system_error& error) {
    if (isCancellation(error)) throw;
    failure = SpeedTestFailure::generic();
  } catch (const std::exception&) {  // no memory, no threads
    failure = SpeedTestFailure::generic();
  }
  liveTick_.stop();
  if (auto work = file->release()) {
    work_.reset();
    auto remove = [work] { return work->file->remove(); };
    work.reset();
    isFileLeft_ = co_await base::runInBackground(actor_, remove) != 0;
  }
  if (generation == runGeneration_) finish(std::move(failure));
}

base::Task<std::optional<SpeedTestFailure>> SpeedTestRunner::measure(
    std::string folder, SpeedPlan plan, std::shared_ptr<TestFile> file) {
  auto made = co_await prepareTestFile(actor_, platform_, std::move(folder), plan.fileSize);
  if (!made) co_return std::move(made.error());
  isUncached_ = (*made)->isUncached();
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
  work->counters.reset(true, window.begin);
  cell_ = cell;
  liveCurve_.clear();
  startLiveTick([this, work, begin = window.begin] { tickCell(*work, begin); });
  setPhase(Phase::running);
  const auto measure = [work, cell, window](std::size_t worker) {
    measureSlice(*work, cell, window, worker);
  };
  const bool isDone = co_await runWorkers(work, accessPattern(cell.profile).queueDepth, measure);
  liveTick_.stop();
  if (cell.direction == SpeedDirection::write) bytesWritten_ += work->counters.transferred();
  if (isDone && work->goesOn()) {
    if (cell == curveCell) writeCurve_ = liveCurve_;
    results_.push_back(work->counters.result(cell));
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

void SpeedTestRunner::updateLiveRate(const SpeedWork& work) {
  const auto now = platform_.clock->uptime();
  const auto bytes = work.counters.transferred();
  const auto passed = seconds(now - liveWindowStart_);
  if (passed > 0) liveMBps_ = static_cast<double>(bytes - liveBytes_) / 1'000'000 / passed;
  liveBytes_ = bytes;
  liveWindowStart_ = now;
}

void SpeedTestRunner::tickFill(const SpeedWork& work) {
  updateLiveRate(work);
  prepareProgress_ =
      static_cast<double>(work.counters.transferred()) / static_cast<double>(work.fileSize);
  changed();
}

void SpeedTestRunner::tickCell(const SpeedWork& work, platform::Uptime begin) {
  updateLiveRate(work);
  liveCurve_.push_back({seconds(liveWindowStart_ - begin), liveMBps_});
  changed();
}

void SpeedTestRunner::finish(std::optional<SpeedTestFailure> failure) {
  liveTick_.stop();
  work_.reset();
  cell_.reset();
  liveMBps_ = 0;
  wasStopped_ = isStopping_ && !failure;
  isStopping_ = false;
  failure_ = std::move(failure);
  setPhase(failure_ ? Phase::failed : Phase::idle);
  if (finishHandler) finishHandler();
}

void SpeedTestRunner::setPhase(Phase phase) {
  phase_ = phase;
  changed();
}

}  // namespace halvercine::speedtest
