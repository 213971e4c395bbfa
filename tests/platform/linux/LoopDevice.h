// A loop device on an image file, and what is mounted from it; all gone when the object goes.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "base/UniqueFd.h"

namespace halvercine::platform::gnulinux {

/// Runs a program to its end without output; whether it could be run and succeeded.
bool runProgram(std::vector<std::string> arguments);

class LoopDevice {
 public:
  /// Why there can be no such devices here, or empty.
  static std::string whyUnavailable();

  LoopDevice();
  ~LoopDevice();
  LoopDevice(const LoopDevice&) = delete;
  LoopDevice& operator=(const LoopDevice&) = delete;

  /// Writes a partition table for sfdisk(8) into the image.
  bool partition(const std::string& script);

  /// Gives the image to a free device. The kernel takes it back when this process ends in whatever
  /// way.
  bool attach();
  bool detach();

  /// The kernel reads partition tables only where it was built for them, so it is told.
  bool addPartition(int number, long long start, long long length);

  bool mount(const std::string& device, const std::string& options);
  bool unmount();

  const std::string& kernelName() const { return kernelName_; }
  std::string node() const { return "/dev/" + kernelName_; }
  std::string partitionNode(int number) const { return node() + "p" + std::to_string(number); }
  std::string mountPoint() const { return (folder_ / "mount\n\"point\" \xE2\x80\xAE").string(); }

 private:
  std::string image() const { return (folder_ / "image").string(); }

  std::filesystem::path folder_;
  base::UniqueFd device_;
  std::string kernelName_;
  std::vector<int> partitions_;
  bool isMounted_ = false;
};

}  // namespace halvercine::platform::gnulinux
