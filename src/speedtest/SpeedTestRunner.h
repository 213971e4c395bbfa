// One speed test of one volume after another.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <boost/describe.hpp>
#include <boost/signals2/dummy_mutex.hpp>
#include <boost/signals2/signal_type.hpp>

#include "base/MainActor.h"
#include "base/RepeatingTimer.h"
#include "base/Task.h"
#include "base/spawn.h"
#include "platform/Platform.h"
#include "speedtest/SpeedCellResult.h"
#include "speedtest/SpeedPlan.h"
#include "speedtest/SpeedTestFailure.h"
#include "speedtest/SpeedWork.h"

namespace halvercine::speedtest {

/// Main actor. Destroying it under way ends the run; the test file is deleted all the same.
class SpeedTestRunner {
 public:
  enum class Phase { idle, preparing, running, failed };
  BOOST_DESCRIBE_NESTED_ENUM(Phase, idle, preparing, running, failed)

  template <class Signature>
  using Signal = typename boost::signals2::signal_type<
      Signature, boost::signals2::keywords::mutex_type<boost::signals2::dummy_mutex>>::type;

  SpeedTestRunner(base::MainActor& actor, const platform::Platform& platform);
  ~SpeedTestRunner();
  SpeedTestRunner(const SpeedTestRunner&) = delete;
  SpeedTestRunner& operator=(const SpeedTestRunner&) = delete;

  /// Measures the volume that `folder` is on, with a test file in that folder. False when a run is
  /// under way. `mountedFrom`, unless it is empty, is what the volume has to be mounted from, as
  /// the statistics of its file system say it: nothing is written when another one is there.
  bool start(std::string folder, SpeedPlan plan, std::string mountedFrom = "");

  /// Asks for the end: each worker ends after the operation that it is in. The results so far stay.
  /// Too late once all is measured and the file is being deleted.
  void stop();

  /// Ends a run whose operations do not come back: nobody waits for them any more, and the file is
  /// deleted behind everybody's back, if that works. What has been found by then stays.
  void abandon();

  Phase phase() const { return phase_; }
  bool isRunning() const { return phase_ == Phase::preparing || phase_ == Phase::running; }
  bool isStopping() const { return isStopping_; }
  /// The last run was stopped before its end.
  bool wasStopped() const { return wasStopped_; }
  /// With phase `failed`.
  const std::optional<SpeedTestFailure>& failure() const { return failure_; }

  double prepareProgress() const { return prepareProgress_; }  ///< 0 to 1
  double liveMBps() const { return liveMBps_; }
  /// The cell that is measured now.
  const std::optional<SpeedCell>& cell() const { return cell_; }
  /// Of the cell that is measured now, as it grows.
  const std::vector<SpeedSample>& liveCurve() const { return liveCurve_; }

  const std::vector<SpeedCellResult>& results() const { return results_; }
  /// Of `curveCell`, once it has been measured.
  const std::vector<SpeedSample>& writeCurve() const { return writeCurve_; }
  const std::optional<SpeedTestEnvironment>& environment() const { return environment_; }
  /// Nothing before the file was made.
  const std::optional<platform::PageCache>& pageCache() const { return pageCache_; }
  /// The test file could not be deleted, or nobody waited to know whether there is one and it goes;
  /// the next run in its folder deletes it, if it is there.
  bool isFileLeft() const { return isFileLeft_; }
  /// What the run has written, warm-ups included.
  std::uint64_t bytesWritten() const { return bytesWritten_; }

  /// After every change of what this class tells; also once the file is there, before it is
  /// written.
  Signal<void()> changed;

  /// Called when a run has ended; see `isFileLeft`.
  std::function<void()> finishHandler;

 private:
  class TestFile;

  base::Task<void> run(std::string folder, SpeedPlan plan, std::string mountedFrom);
  base::Task<std::optional<SpeedTestFailure>> measure(std::string folder, SpeedPlan plan,
                                                      std::string mountedFrom,
                                                      std::shared_ptr<TestFile> file);
  base::Task<bool> fillFile(std::shared_ptr<SpeedWork> work);
  base::Task<bool> runWindow(std::shared_ptr<SpeedWork> work, SpeedCell cell, SpeedPlan plan);
  base::Task<bool> runWorkers(std::shared_ptr<SpeedWork> work, std::size_t count,
                              std::function<void(std::size_t)> body);
  void startLiveTick(std::function<void()> tick);
  void tickFill(const SpeedWork& work);
  void tickCell(const SpeedWork& work, platform::Uptime begin);
  bool updateLiveRate(const SpeedWork& work);
  void settle(std::optional<SpeedTestFailure> failure);
  void finish();
  void setPhase(Phase phase);

  base::MainActor& actor_;
  const platform::Platform& platform_;
  Phase phase_ = Phase::idle;
  bool isStopping_ = false;
  bool isSettled_ = false;  // how the run ended is known; its file may still be there
  bool wasStopped_ = false;
  std::optional<SpeedTestFailure> failure_;
  double prepareProgress_ = 0;
  double liveMBps_ = 0;
  std::uint64_t liveBytes_ = 0;  // transferred when the live rate's window began
  platform::Uptime liveWindowStart_{};
  std::optional<SpeedCell> cell_;
  std::vector<SpeedSample> liveCurve_;
  std::vector<SpeedCellResult> results_;
  std::vector<SpeedSample> writeCurve_;
  std::optional<SpeedTestEnvironment> environment_;
  std::optional<platform::PageCache> pageCache_;
  bool isFileLeft_ = false;
  std::uint64_t bytesWritten_ = 0;
  std::uint64_t runGeneration_ = 0;
  std::shared_ptr<SpeedWork> work_;  // of the run under way, once there is a file
  base::RepeatingTimer liveTick_;
  base::TaskScope workerTask_;
};

}  // namespace halvercine::speedtest
