#include "check/ModuleCheck.h"

#include <utility>

#include "base/runInBackground.h"
#include "base/sleepFor.h"
#include "check/ExecutorProbe.h"
#include "mount/MountAccessReportStore.h"

namespace halvercine::check {

/// What one round finds in the files, and of the executor.
struct ModuleCheck::Found {
  std::optional<CheckProgressSnapshot> frame;
  std::optional<CheckReportModel> report;
  bool requestWaits = false;
  std::optional<std::int32_t> goneExecutor;
};

struct ModuleCheck::Reader {
  Reader(CheckMailbox folder, platform::Processes& processes)
      : mailbox(std::move(folder)), probe(processes) {}

  Found read(const ModuleCheckSequence& sequence) {
    Found found;
    found.requestWaits = mailbox.requestWaits();
    found.frame = mailbox.readProgress();
    const auto& latest =
        found.frame && sequence.isNew(*found.frame) ? found.frame : sequence.frame();
    if (const auto pid = latest ? latest->pid : std::nullopt; pid && *pid > 0) {
      if (!probe.isAlive(*pid)) found.goneExecutor = pid;
    }
    // After the probe: a process that has gone has written its report before.
    found.report = mailbox.readReport(reading);
    return found;
  }

  CheckMailbox mailbox;
  ReportReading reading;
  ExecutorProbe probe;
};

ModuleCheck::ModuleCheck(base::MainActor& actor, const platform::Platform& platform,
                         const disks::DiskMonitor& monitor, VolumeIdentity volume, Events events)
    : actor_(actor),
      platform_(platform),
      monitor_(monitor),
      volume_(std::move(volume)),
      events_(std::move(events)) {}

ModuleCheck::~ModuleCheck() {
  if (mailbox_) mailbox_->withdraw();
}

bool ModuleCheck::handOver(bool repair) {
  mailbox_ = CheckMailbox::open(*platform_.containers, volume_.bsdName);
  if (!mailbox_) return false;
  mailbox_->clear();
  if (!mailbox_->writeRequest(repair, platform_.clock->now())) return false;
  reader_ = std::make_shared<Reader>(*mailbox_, *platform_.processes);
  reader_->reading.notBefore = mailbox_->requestTime();
  return true;
}

base::Task<ModuleCheckEnd> ModuleCheck::run(bool repair) {
  ModuleCheckEnd end{ModuleCheckEnd::Kind::unanswered, std::nullopt};
  if (!handOver(repair)) co_return end;
  auto& clock = *platform_.clock;
  ModuleCheckSequence sequence(clock.uptime());
  for (;;) {
    auto found = co_await look(sequence);
    if (!isStillThere(volume_, *platform_.mediaRegistry)) {
      end.kind = ModuleCheckEnd::Kind::deviceReplaced;
      break;
    }
    const bool isNewFrame = found.frame && sequence.isNew(*found.frame);
    const auto step = sequence.next(roundOf(found));
    if (isNewFrame) events_.progressed(*found.frame);
    if (auto ended = act(step, found)) {
      end = std::move(*ended);
      break;
    }
    co_await base::sleepFor(clock, pollInterval);
  }
  mailbox_->withdraw();
  mailbox_.reset();
  co_return end;
}

base::Task<ModuleCheck::Found> ModuleCheck::look(ModuleCheckSequence sequence) {
  const auto read = [reader = reader_, sequence] { return reader->read(sequence); };
  co_return co_await base::runInBackground(actor_, read);
}

ModuleCheckRound ModuleCheck::roundOf(const Found& found) const {
  return {.now = platform_.clock->uptime(),
          .frame = found.frame,
          .reportAccepted = found.report.has_value(),
          .requestWaits = found.requestWaits,
          .holder = found.requestWaits ? holder() : MountHolder::nobody,
          .isPaused = isPaused_,
          .cancelWritten = cancelWritten_,
          .goneExecutor = found.goneExecutor};
}

MountHolder ModuleCheck::holder() const {
  const auto sources = mount::ReportSources::of(platform_);
  const auto report =
      mount::loadMountAccessReport(sources, volume_.bsdName, mount::Freshness::freshOnly);
  return mountHolder(monitor_.find(volume_.bsdName), report.has_value());
}

/// The end, if this is it.
std::optional<ModuleCheckEnd> ModuleCheck::act(const ModuleCheckStep& step, Found& found) {
  using Kind = ModuleCheckEnd::Kind;
  const bool needsRequest =
      step.action == ModuleCheckAction::fallBack || step.action == ModuleCheckAction::takeBack;
  // One that was taken in this very moment is the module's.
  if (needsRequest && !mailbox_->takeRequestBack()) return std::nullopt;
  if (!step.logLine.empty()) {
    platform_.systemLog->write(platform::LogLevel::error, step.logLine);
  }
  switch (step.action) {
    case ModuleCheckAction::poll:
      return std::nullopt;
    case ModuleCheckAction::finish:
      return ModuleCheckEnd{Kind::finished, std::move(found.report)};
    case ModuleCheckAction::bypass:
      return ModuleCheckEnd{Kind::bypassed, std::nullopt};
    case ModuleCheckAction::fallBack:
      return ModuleCheckEnd{Kind::unanswered, std::nullopt};
    case ModuleCheckAction::stall:
      events_.stalled();
      // Without a flag there is nothing to wait for.
      if (!cancel()) return ModuleCheckEnd{Kind::left, std::nullopt};
      return std::nullopt;
    case ModuleCheckAction::takeBack:
      return ModuleCheckEnd{Kind::takenBack, std::nullopt};
    case ModuleCheckAction::leave:
      return ModuleCheckEnd{Kind::left, std::nullopt};
    case ModuleCheckAction::handOver:
      return ModuleCheckEnd{Kind::executorGone, std::nullopt};
  }
  return std::nullopt;
}

bool ModuleCheck::setPaused(bool isPaused) {
  if (!mailbox_ || cancelWritten_) return false;
  if (isPaused) {
    if (!mailbox_->writePause(platform_.clock->now())) return false;
  } else {
    mailbox_->removePause();
  }
  isPaused_ = isPaused;
  return true;
}

bool ModuleCheck::cancel() {
  if (!mailbox_) return false;
  if (!cancelWritten_) {
    if (!mailbox_->writeCancel(platform_.clock->now())) return false;
    cancelWritten_ = platform_.clock->uptime();
  }
  mailbox_->removePause();
  isPaused_ = false;
  return true;
}

}  // namespace halvercine::check
