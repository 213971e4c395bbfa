#include "platform/simulated/FileSystemModule.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "platform/simulated/SimulatedMachine.h"

namespace halvercine::platform::simulated {

FileSystemModule::~FileSystemModule() {
  while (!sessions_.empty()) end(std::string(sessions_.begin()->first));
}

std::string FileSystemModule::nextReason(const ScenarioMedia& media, bool isWritable,
                                         bool readOnlyRequested) {
  const auto reasons = moduleOf(media).mounts.texts;
  const auto reason = reasons[std::min(attempts_[media.disk]++, reasons.size() - 1)];
  if (readOnlyRequested) return "requested";
  return reason == "readWrite" && !isWritable ? "deviceProtected" : reason;
}

void FileSystemModule::serve(const ScenarioMedia& media, ScenarioReport report) {
  begin(media, std::move(report));
  const auto delay = uptimeOf(moduleOf(media).reportDelay);
  if (delay == Uptime(0)) {
    write(media.disk);
  } else {
    writeAfter(media.disk, delay);
  }
}

void FileSystemModule::adopt(const ScenarioMedia& media, ScenarioReport report) {
  if (!media.module || media.module->driver != "module") return;
  const auto& session = begin(media, std::move(report));
  if (session.interval > Uptime(0)) writeAfter(media.disk, session.interval);
}

void FileSystemModule::unmounted(const std::string& disk) {
  if (end(disk)) machine_.removeReport(disk);
}

void FileSystemModule::lost(const std::string& disk) {
  end(disk);
  attempts_.erase(disk);
}

FileSystemModule::Session& FileSystemModule::begin(const ScenarioMedia& media,
                                                   ScenarioReport report) {
  end(media.disk);
  const auto settings = moduleOf(media);
  auto& session = sessions_[media.disk];
  session.report = std::move(report);
  session.interval = uptimeOf(settings.refreshSeconds);
  if (settings.diesAfter) {
    session.death = clock_->callAt(clock_->uptime() + uptimeOf(*settings.diesAfter),
                                   [this, disk = media.disk] { end(disk); });
  }
  return session;
}

void FileSystemModule::writeAfter(const std::string& disk, Uptime delay) {
  sessions_.at(disk).writing =
      clock_->callAt(clock_->uptime() + delay, [this, disk] { write(disk); });
}

void FileSystemModule::write(const std::string& disk) {
  const auto& session = sessions_.at(disk);
  machine_.putReport(disk, session.report);
  if (session.interval > Uptime(0)) writeAfter(disk, session.interval);
}

bool FileSystemModule::end(const std::string& disk) {
  const auto session = sessions_.extract(disk);
  if (!session) return false;
  clock_->cancel(session.mapped().writing);
  clock_->cancel(session.mapped().death);
  return true;
}

ScenarioModule moduleOf(const ScenarioMedia& media) {
  if (media.module) return *media.module;
  ScenarioModule standard;
  standard.driver = media.kind == "ntfs" ? "module" : "system";
  return standard;
}

Uptime uptimeOf(double seconds) { return Uptime(std::llround(seconds * 1e9)); }

}  // namespace halvercine::platform::simulated
