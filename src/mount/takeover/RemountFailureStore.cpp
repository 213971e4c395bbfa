#include "mount/takeover/RemountFailureStore.h"

#include <fmt/format.h>

namespace halvercine::mount {

RemountFailureStore::RemountFailureStore(const platform::Platform& platform,
                                         const disks::DiskMonitor& monitor)
    : platform_(platform), monitor_(monitor), journal_(platform) {}

void RemountFailureStore::record(const RemountFailure& failure, std::uint64_t deviceId) {
  platform_.systemLog->write(platform::LogLevel::error,
                             fmt::format("remount failure [{}] {} destructiveBusy={}", failure.id,
                                         failure.rawError, monitor_.destructiveBusy()));
  last_ = failure;
  deviceId_ = deviceId;
  journal_.update([&](JournalRecord& record) {
    record.lastFailure = failure;
    record.lastFailureDevice = deviceId;
  });
}

void RemountFailureStore::restore() {
  const auto record = journal_.read();
  last_ = record.lastFailure;
  deviceId_ = record.lastFailureDevice;
}

void RemountFailureStore::clear(std::uint64_t deviceId) {
  if (!last_ || deviceId_ != deviceId) return;
  last_.reset();
  deviceId_.reset();
  journal_.update([](JournalRecord& record) {
    record.lastFailure.reset();
    record.lastFailureDevice.reset();
  });
}

void RemountFailureStore::clearIfGone() {
  if (last_ && monitor_.deviceId(last_->id) != deviceId_) clear(deviceId_.value_or(0));
}

}  // namespace halvercine::mount
