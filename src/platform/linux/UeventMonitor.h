// The kernel's messages about block devices.
#pragma once

#include <memory>
#include <optional>
#include <string>

struct udev;
struct udev_monitor;

namespace halvercine::platform::gnulinux {

struct Uevent {
  std::string kernelName;  ///< of the block device, as its sysfs directory is called
  bool isChange = false;   ///< it was there before and is still
};

/// What one look into the queue gives.
enum class UeventState { received, empty, lost };

/// Listens to udevd where one runs, so that its database is up to date when a message comes, else
/// to the kernel itself.
class UeventMonitor {
 public:
  UeventMonitor();

  /// The descriptor to wait on, or -1 when there is no way to listen. Owned by this object.
  int descriptor() const;

  /// Takes the next message without waiting. `lost`: messages were dropped because they came too
  /// fast; only looking at everything anew helps.
  UeventState receive(Uevent& event);

 private:
  struct Release {
    void operator()(udev* library) const;
    void operator()(udev_monitor* monitor) const;
  };

  std::unique_ptr<udev, Release> udev_;
  std::unique_ptr<udev_monitor, Release> monitor_;
};

}  // namespace halvercine::platform::gnulinux
