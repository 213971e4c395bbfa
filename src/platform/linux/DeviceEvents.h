// Turns what happens to block devices and mounts into the callbacks of a disk arbitration session.
#pragma once

#include <map>
#include <memory>
#include <string>

#include <boost/asio/posix/stream_descriptor.hpp>

#include "base/MainActor.h"
#include "platform/DiskArbitration.h"
#include "platform/linux/Storage.h"
#include "platform/linux/UeventMonitor.h"

namespace halvercine::platform::gnulinux {

/// Keeps what it reported and compares it with what is: a message only tells where to look. So a
/// message that comes twice, late or after the replay reports nothing wrong. Main actor.
class DeviceEvents : public std::enable_shared_from_this<DeviceEvents> {
 public:
  DeviceEvents(base::MainActor& actor, std::shared_ptr<Storage> storage, DiskCallbacks callbacks);

  /// Listens, and reports all media from a turn of its own.
  void start();

  /// No callback begins after this.
  void stop();

 private:
  using Known = std::map<std::string, BlockDevice>;  // by kernel name

  void awaitUevents();
  void awaitMountChange();
  void handleUevents();
  void handleMountChange();
  void replay();
  void lookAtEverything();
  void update(const std::string& kernelName, bool isChange);
  std::vector<std::string> forget(Known::iterator device);
  std::vector<std::string> knownPartitions(const BlockDevice& disk) const;
  void report(const std::function<void(std::optional<std::string>)>& callback,
              const BlockDevice& device) const;

  base::MainActor& actor_;
  std::shared_ptr<Storage> storage_;
  const DiskCallbacks callbacks_;
  UeventMonitor monitor_;
  boost::asio::posix::stream_descriptor uevents_;
  boost::asio::posix::stream_descriptor mountInfo_;
  std::shared_ptr<const MountSnapshot> mounts_;
  Known known_;
  bool stopped_ = false;
};

}  // namespace halvercine::platform::gnulinux
