#include "platform/simulated/SimulatedCheck.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

#include "base/Json.h"
#include "base/PrivateFiles.h"
#include "platform/simulated/FileSystemModule.h"
#include "platform/simulated/SimulatedMachine.h"
#include "platform/simulated/checkRecords.h"

namespace halvercine::platform::simulated {
namespace {

constexpr double lookDelay = 0.05;

std::string fileName(std::string_view prefix, const std::string& disk) {
  return std::string(prefix) + disk + ".json";
}

}  // namespace

SimulatedCheck::~SimulatedCheck() {
  clock_->cancel(looking_);
  for (const auto& [disk, timer] : taking_) clock_->cancel(timer);
  while (!runs_.empty()) endRun(std::string(runs_.begin()->first));
}

void SimulatedCheck::lookSoon() {
  if (!hasVolumes_ || isLooking_.exchange(true)) return;
  machine_.actor().post([weak = machine_.weak_from_this()] {
    const auto machine = weak.lock();
    if (!machine) return;
    auto& check = machine->check();
    check.looking_ = check.clock_->callAt(check.clock_->uptime() + uptimeOf(lookDelay),
                                          [&check] { check.look(); });
  });
}

std::optional<std::uint64_t> SimulatedCheck::startTime(std::int32_t pid) const {
  const std::lock_guard lock(mutex_);
  const auto found = processes_.find(pid);
  if (found == processes_.end()) return std::nullopt;
  return found->second;
}

void SimulatedCheck::appeared(const ScenarioMedia& media) {
  if (!media.check) return;
  volumes_[media.disk] = *media.check;
  hasVolumes_ = true;
}

void SimulatedCheck::unmounted(const std::string& disk) { endRun(disk); }

void SimulatedCheck::lost(const std::string& disk) {
  endRun(disk);
  volumes_.erase(disk);
  deaths_.erase(disk);
  hasVolumes_ = !volumes_.empty();
}

bool SimulatedCheck::hasFile(const std::string& name) const {
  const auto folder = container_.path();
  std::error_code ignored;
  return folder && std::filesystem::exists(*folder / name, ignored);
}

void SimulatedCheck::look() {
  isLooking_ = false;
  for (const auto& [disk, settings] : volumes_) {
    if (taking_.contains(disk) || !mayTake(disk, settings)) continue;
    taking_[disk] =
        clock_->callAt(clock_->uptime() + uptimeOf(settings.claimAfter), [this, name = disk] {
          taking_.erase(name);
          take(name);
        });
  }
}

bool SimulatedCheck::mayTake(const std::string& disk, const ScenarioCheck& settings) const {
  if (!settings.claims || !hasFile(fileName("deep-check-", disk))) return false;
  const auto view = machine_.look(disk);
  return view && view->mountPath && moduleOf(view->media).driver == "module";
}

void SimulatedCheck::take(const std::string& disk) {
  const auto volume = volumes_.find(disk);
  if (volume == volumes_.end() || !mayTake(disk, volume->second)) return;
  const auto name = fileName("deep-check-", disk);
  const auto request = readCheckRequest(*container_.path() / name);
  container_.remove(name);
  if (!request) return;
  endRun(disk);
  auto& run = runs_[disk];
  run.settings = volume->second;
  run.media = machine_.look(disk)->media;
  run.repair = request->repair;
  run.pid = run.settings.pid.value_or(++lastPid_);
  {
    const std::lock_guard lock(mutex_);
    processes_[run.pid] = ++starts_;
  }
  if (run.settings.diesAfter && deaths_[disk] < run.settings.deaths) {
    run.death = clock_->callAt(clock_->uptime() + uptimeOf(*run.settings.diesAfter),
                               [this, disk] { die(disk); });
  }
  later(disk, run.settings.frameSeconds, [this, disk] { work(disk); });
}

void SimulatedCheck::later(const std::string& disk, double seconds, std::function<void()> action) {
  runs_.at(disk).timer = clock_->callAt(clock_->uptime() + uptimeOf(seconds), std::move(action));
}

/// One step of the work, and the next one after it.
void SimulatedCheck::work(const std::string& disk) {
  auto& run = runs_.at(disk);
  const auto& settings = run.settings;
  const bool stalls = settings.stallsAfter && run.worked >= uptimeOf(*settings.stallsAfter);
  if (stalls && !settings.heartbeat) return;
  if (settings.obeys && hasFile(fileName("check-cancel-", disk))) {
    return later(disk, settings.cancelSeconds, [this, disk] { finish(disk, true); });
  }
  const bool isPaused = settings.obeys && hasFile(fileName("check-pause-", disk));
  if (!isPaused) {
    if (!stalls) run.worked += uptimeOf(settings.frameSeconds);
    writeFrame(disk, run);
  }
  if (run.worked >= uptimeOf(settings.seconds)) {
    return later(disk, settings.reportDelay, [this, disk] { finish(disk, false); });
  }
  later(disk, settings.frameSeconds, [this, disk] { work(disk); });
}

void SimulatedCheck::writeFrame(const std::string& disk, Run& run) {
  const auto whole = std::max<Uptime::rep>(uptimeOf(run.settings.seconds).count(), 1);
  const auto part =
      std::min(1.0, static_cast<double>(run.worked.count()) / static_cast<double>(whole));
  const auto text = checkFrameText(run.media, part, secondsSince1970(clock_->now()),
                                   run.pid == 0 ? std::nullopt : std::optional(run.pid));
  // A process that writes in place is seen at work now and then.
  const bool isHalf = run.settings.torn && ++run.writings % 2 == 0;
  container_.write(fileName("check-progress-", disk),
                   isHalf ? text.substr(0, text.size() / 2) : text);
}

void SimulatedCheck::finish(const std::string& disk, bool isCancelled) {
  const auto& run = runs_.at(disk);
  const auto text =
      moduleCheckText(run.media, run.settings.diskID.value_or(disk), run.repair, isCancelled);
  writeReport(disk, text, 0);
}

/// What goes wrong with the report comes first, each for a second, and then the report.
void SimulatedCheck::writeReport(const std::string& disk, const std::string& text, int writing) {
  const auto& run = runs_.at(disk);
  const auto& settings = run.settings;
  const auto name = fileName("check-report-", disk);
  const auto again = [&] {
    later(disk, 1, [this, disk, text, writing] { writeReport(disk, text, writing + 1); });
  };
  if (writing == 0 && settings.strangersReport) {
    container_.write(name, moduleCheckText(run.media, "disk99s9", run.repair, false));
    return again();
  }
  if (writing <= 1 && settings.torn) {
    container_.write(name, text.substr(0, text.size() / 2));
    return later(disk, 1, [this, disk, text] { writeReport(disk, text, 2); });
  }
  container_.write(name, text);
}

void SimulatedCheck::die(const std::string& disk) {
  const auto& run = runs_.at(disk);
  const auto pid = run.pid;
  const bool isReused = run.settings.reusesPid;
  ++deaths_[disk];
  endRun(disk);
  if (!isReused) return;
  const std::lock_guard lock(mutex_);
  processes_[pid] = ++starts_;
}

void SimulatedCheck::endRun(const std::string& disk) {
  const auto run = runs_.extract(disk);
  if (!run) return;
  clock_->cancel(run.mapped().timer);
  clock_->cancel(run.mapped().death);
  const std::lock_guard lock(mutex_);
  processes_.erase(run.mapped().pid);
}

}  // namespace halvercine::platform::simulated
