#include "platform/linux/DeviceEvents.h"

#include <fcntl.h>
#include <utility>

namespace halvercine::platform::gnulinux {
namespace {

using Descriptor = boost::asio::posix::stream_descriptor;

// Asio closes what it is given, so it gets a descriptor of its own.
void assignCopy(Descriptor& descriptor, int fd) {
  if (fd < 0) return;
  base::UniqueFd copy(::fcntl(fd, F_DUPFD_CLOEXEC, 0));
  boost::system::error_code error;
  if (copy) descriptor.assign(copy.get(), error);
  if (descriptor.is_open()) std::ignore = copy.release();
}

void close(Descriptor& descriptor) {
  boost::system::error_code ignored;
  descriptor.close(ignored);
}

}  // namespace

DeviceEvents::DeviceEvents(base::MainActor& actor, std::shared_ptr<Storage> storage,
                           DiskCallbacks callbacks)
    : actor_(actor),
      storage_(std::move(storage)),
      callbacks_(std::move(callbacks)),
      uevents_(actor.context()),
      mountInfo_(actor.context()) {}

void DeviceEvents::start() {
  assignCopy(uevents_, monitor_.descriptor());
  assignCopy(mountInfo_, openMountInfo().get());
  awaitUevents();
  awaitMountChange();
  mounts_ = storage_->mounts.current();
  actor_.post([weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->replay();
  });
}

void DeviceEvents::stop() {
  stopped_ = true;
  close(uevents_);
  close(mountInfo_);
}

void DeviceEvents::awaitUevents() {
  if (!uevents_.is_open()) return;
  uevents_.async_wait(Descriptor::wait_read,
                      [weak = weak_from_this()](boost::system::error_code error) {
                        const auto self = weak.lock();
                        if (!error && self) self->handleUevents();
                      });
}

void DeviceEvents::awaitMountChange() {
  if (!mountInfo_.is_open()) return;
  mountInfo_.async_wait(Descriptor::wait_error,
                        [weak = weak_from_this()](boost::system::error_code error) {
                          const auto self = weak.lock();
                          if (!error && self) self->handleMountChange();
                        });
}

void DeviceEvents::handleUevents() {
  Uevent event;
  auto state = UeventState::received;
  while (!stopped_ && state == UeventState::received) {
    state = monitor_.receive(event);
    if (state == UeventState::received) update(event.kernelName, event.isChange);
    if (state == UeventState::lost) lookAtEverything();
  }
  if (!stopped_) awaitUevents();
}

void DeviceEvents::handleMountChange() {
  // Waiting again comes first: it swallows a change that is there already, and the reading that
  // follows shows it.
  if (!stopped_) awaitMountChange();
  const auto before = std::exchange(mounts_, storage_->mounts.current());
  for (const dev_t number : before->difference(*mounts_)) {
    const auto device = storage_->devices.find(number);
    if (device && known_.contains(device->kernelName)) {
      report(callbacks_.descriptionChanged, *device);
    }
  }
}

void DeviceEvents::replay() {
  for (const auto& device : storage_->devices.all()) update(device.kernelName, false);
}

void DeviceEvents::lookAtEverything() {
  std::vector<std::string> names;
  for (const auto& [kernelName, device] : known_) names.push_back(kernelName);
  for (const auto& kernelName : names) update(kernelName, true);
  replay();
}

void DeviceEvents::update(const std::string& kernelName, bool isChange) {
  const auto device = storage_->devices.refresh(kernelName);
  std::vector<std::string> forgotten;
  if (const auto known = known_.find(kernelName);
      known != known_.end() && (!device || device->id != known->second.id)) {
    forgotten = forget(known);
  }
  if (!device) return;
  const bool isNew = known_.insert_or_assign(kernelName, *device).second;
  if (isNew) report(callbacks_.appeared, *device);
  if (!isNew && isChange) report(callbacks_.descriptionChanged, *device);
  for (const auto& partition : forgotten) update(partition, false);
}

// The partitions go with their disk: the kernel does not always say so.
std::vector<std::string> DeviceEvents::forget(Known::iterator device) {
  const BlockDevice gone = device->second;
  auto partitions = gone.isPartition() ? std::vector<std::string>() : knownPartitions(gone);
  for (const auto& partition : partitions) {
    const auto node = known_.extract(partition);
    if (!node.empty()) report(callbacks_.disappeared, node.mapped());
  }
  known_.erase(gone.kernelName);
  report(callbacks_.disappeared, gone);
  return partitions;
}

std::vector<std::string> DeviceEvents::knownPartitions(const BlockDevice& disk) const {
  std::string prefix = partitionKernelName(disk.kernelName, 0);
  prefix.pop_back();
  std::vector<std::string> partitions;
  // Digits are neighbours in the order of names, so the search ends at the first other name.
  for (auto known = known_.lower_bound(prefix + '0'); known != known_.end(); ++known) {
    const auto& [kernelName, device] = *known;
    if (!kernelName.starts_with(prefix) || kernelName[prefix.size()] > '9') break;
    if (device.isPartition()) partitions.push_back(kernelName);
  }
  return partitions;
}

void DeviceEvents::report(const std::function<void(std::optional<std::string>)>& callback,
                          const BlockDevice& device) const {
  if (!stopped_ && callback) callback(bsdName(device.id));
}

}  // namespace halvercine::platform::gnulinux
