#include "platform/linux/UeventMonitor.h"

#include <cerrno>
#include <string_view>
#include <unistd.h>

#include <libudev.h>

#include "platform/linux/sysfs.h"

namespace halvercine::platform::gnulinux {
namespace {

struct ReleaseDevice {
  void operator()(udev_device* device) const { udev_device_unref(device); }
};

// A burst of a thousand disks fits. Without privileges the system's own limit stays.
constexpr int bufferSize = 16 << 20;

const char* source() { return ::access("/run/udev/control", F_OK) == 0 ? "udev" : "kernel"; }

}  // namespace

void UeventMonitor::Release::operator()(udev* library) const { udev_unref(library); }

void UeventMonitor::Release::operator()(udev_monitor* monitor) const {
  udev_monitor_unref(monitor);
}

UeventMonitor::UeventMonitor() : udev_(udev_new()) {
  if (udev_) monitor_.reset(udev_monitor_new_from_netlink(udev_.get(), source()));
  if (!monitor_) return;
  udev_monitor_filter_add_match_subsystem_devtype(monitor_.get(), "block", nullptr);
  udev_monitor_set_receive_buffer_size(monitor_.get(), bufferSize);
  if (udev_monitor_enable_receiving(monitor_.get()) < 0) monitor_.reset();
}

int UeventMonitor::descriptor() const {
  return monitor_ ? udev_monitor_get_fd(monitor_.get()) : -1;
}

UeventState UeventMonitor::receive(Uevent& event) {
  errno = 0;
  const std::unique_ptr<udev_device, ReleaseDevice> device(
      udev_monitor_receive_device(monitor_.get()));
  if (!device) return errno == ENOBUFS ? UeventState::lost : UeventState::empty;
  const char* const action = udev_device_get_action(device.get());
  // The device's own name function turns "!" into "/".
  event.kernelName = baseName(udev_device_get_syspath(device.get()));
  event.isChange = action != nullptr && std::string_view(action) == "change";
  return UeventState::received;
}

}  // namespace halvercine::platform::gnulinux
