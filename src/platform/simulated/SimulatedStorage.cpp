#include "platform/simulated/SimulatedStorage.h"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <thread>
#include <utility>
#include <vector>

#include "base/VirtualClock.h"
#include "platform/simulated/SimulatedMachine.h"
#include "platform/simulated/VirtualWorkerThreads.h"
#include "platform/simulated/errorNames.h"

namespace halvercine::platform::simulated {
namespace {

constexpr double mebibyte = 1024.0 * 1024.0;

std::size_t indexOf(SimulatedStorage::Direction direction) {
  return direction == SimulatedStorage::Direction::write ? 1 : 0;
}

/// The last step that begins before `bytes`.
ScenarioStorageStep stepAt(const std::vector<ScenarioStorageStep>& steps, std::uint64_t bytes) {
  ScenarioStorageStep current;
  for (const auto& step : steps) {
    if (static_cast<double>(bytes) >= step.fromGiB * mebibyte * 1024) current = step;
  }
  return current;
}

Uptime microseconds(double count) {
  return std::chrono::duration_cast<Uptime>(std::chrono::duration<double, std::micro>(count));
}

}  // namespace

class SimulatedStorage::File : public UncachedFile {
 public:
  File(std::shared_ptr<SimulatedStorage> storage, MediaView view, std::string path)
      : storage_(std::move(storage)),
        medium_(view.id),
        disk_(view.media.disk),
        storageLaw_(view.media.storage.value_or(ScenarioStorage{})),
        mountPath_(view.mountPath.value_or("")),
        path_(std::move(path)) {}
  ~File() override { storage_->forget(*this); }
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  std::int64_t read(std::span<std::byte> buffer, std::uint64_t) override {
    return storage_->transfer(*this, Direction::read, buffer.size());
  }
  std::int64_t write(std::span<const std::byte> data, std::uint64_t) override {
    return storage_->transfer(*this, Direction::write, data.size());
  }
  int flush() override { return storage_->isThere(*this) ? 0 : ENXIO; }
  PageCache pageCache() const override { return storageLaw_.pageCache; }
  std::size_t bufferAlignment() const override { return 1; }
  int remove() override { return storage_->remove(*this); }

  std::uint64_t medium() const { return medium_; }
  const std::string& disk() const { return disk_; }
  const ScenarioStorage& law() const { return storageLaw_; }
  const std::string& mountPath() const { return mountPath_; }
  const std::string& path() const { return path_; }

 private:
  std::shared_ptr<SimulatedStorage> storage_;
  std::uint64_t medium_;
  std::string disk_;
  ScenarioStorage storageLaw_;
  std::string mountPath_;
  std::string path_;
};

std::expected<std::unique_ptr<UncachedFile>, int> SimulatedStorage::create(
    const std::string& folder, const std::string& name) {
  const auto view = machine_.lookAtPath(folder);
  if (!view) return std::unexpected(ENOENT);
  const auto statistics = machine_.statistics(folder);
  if (statistics && statistics->readOnly) return std::unexpected(EROFS);
  const std::lock_guard lock(mutex_);
  auto& medium = media_[view->id];
  const auto law = view->media.storage.value_or(ScenarioStorage{});
  if (law.openError && (law.openErrors == 0 || medium.openErrors < law.openErrors)) {
    ++medium.openErrors;
    return std::unexpected(errorNumber(*law.openError).value_or(EIO));
  }
  const auto path = folder + '/' + name;
  if (!files_.emplace(path, view->id).second) return std::unexpected(EEXIST);
  return std::make_unique<File>(shared_from_this(), *view, path);
}

std::set<std::string> SimulatedStorage::files() const {
  const std::lock_guard lock(mutex_);
  std::set<std::string> paths;
  for (const auto& [path, medium] : files_) paths.insert(path);
  return paths;
}

bool SimulatedStorage::isThere(const File& file) const {
  const auto view = machine_.look(file.disk());
  return view && view->id == file.medium() && view->mountPath == file.mountPath();
}

std::expected<Uptime, int> SimulatedStorage::schedule(const File& file, Direction direction,
                                                      std::size_t size) {
  const auto& law = file.law();
  const bool writes = direction == Direction::write;
  const std::lock_guard lock(mutex_);
  auto& medium = media_[file.medium()];
  auto& bytes = medium.bytes[indexOf(direction)];
  const auto& error = writes ? law.writeError : law.readError;
  const auto limit = (writes ? law.writeErrorAfterMiB : law.readErrorAfterMiB) * mebibyte;
  if (error && static_cast<double>(bytes + size) > limit) {
    return std::unexpected(errorNumber(*error).value_or(EIO));
  }
  const auto step = stepAt(writes ? law.write : law.read, bytes);
  bytes += size;
  auto taken = step.us + step.usPerMiB * static_cast<double>(size) / mebibyte;
  if (law.slowEvery > 0 && ++medium.operations % static_cast<std::uint64_t>(law.slowEvery) == 0) {
    taken += law.slowUs;
  }
  auto begin = clock_->uptime();
  auto& channels = medium.busyUntil;
  if (channels.size() >= static_cast<std::size_t>(std::max<std::int64_t>(law.channels, 1))) {
    begin = std::max(begin, *channels.begin());
    channels.erase(channels.begin());
  }
  const auto end = begin + microseconds(taken);
  channels.insert(end);
  return end;
}

std::int64_t SimulatedStorage::transfer(const File& file, Direction direction, std::size_t size) {
  if (!isThere(file)) return -ENXIO;
  const auto end = schedule(file, direction, size);
  if (!end) return -end.error();
  if (std::dynamic_pointer_cast<base::VirtualClock>(clock_)) {
    if (!VirtualWorkerThreads::sleepUntil(*end)) return -EINTR;
  } else {
    std::this_thread::sleep_for(*end - clock_->uptime());
  }
  return isThere(file) ? static_cast<std::int64_t>(size) : -ENXIO;
}

int SimulatedStorage::remove(const File& file) {
  const bool wasThere = isThere(file);
  return forget(file) && !wasThere ? ENXIO : 0;
}

bool SimulatedStorage::forget(const File& file) {
  const std::lock_guard lock(mutex_);
  const auto found = files_.find(file.path());
  if (found == files_.end() || found->second != file.medium()) return false;
  files_.erase(found);  // what has been unplugged is nowhere to be found either
  return true;
}

}  // namespace halvercine::platform::simulated
