#include "platform/linux/LoopDevice.h"

#include <cerrno>
#include <fcntl.h>
#include <fstream>
#include <linux/blkpg.h>
#include <linux/loop.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace halvercine::platform::gnulinux {
namespace {

constexpr std::uintmax_t imageSize = 32 << 20;

bool changePartition(int device, int operation, int number, long long start, long long length) {
  blkpg_partition partition{};
  partition.pno = number;
  partition.start = start;
  partition.length = length;
  blkpg_ioctl_arg argument{operation, 0, sizeof partition, &partition};
  return ::ioctl(device, BLKPG, &argument) == 0;
}

// The process that served a mount lets go of its device a moment after the mount has gone.
void removePartition(int device, int number) {
  for (int attempt = 0; attempt < 2000; ++attempt) {
    if (changePartition(device, BLKPG_DEL_PARTITION, number, 0, 0) || errno != EBUSY) return;
    ::usleep(1000);
  }
}

}  // namespace

bool runProgram(std::vector<std::string> arguments) {
  std::vector<char*> pointers;
  for (auto& argument : arguments) pointers.push_back(argument.data());
  pointers.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, 1, 2);
  pid_t child = 0;
  const int failed =
      ::posix_spawnp(&child, pointers[0], &actions, nullptr, pointers.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  int status = 0;
  return failed == 0 && ::waitpid(child, &status, 0) == child && status == 0;
}

std::string LoopDevice::whyUnavailable() {
  if (::geteuid() != 0) return "only root may attach loop devices";
  if (!base::UniqueFd(::open("/dev/loop-control", O_RDWR | O_CLOEXEC))) return "no loop devices";
  if (!base::UniqueFd(::open("/dev/fuse", O_RDWR | O_CLOEXEC))) return "no FUSE";
  for (const auto* tool : {"mkntfs", "ntfs-3g", "sfdisk"}) {
    if (!runProgram({"sh", "-c", "command -v " + std::string(tool)})) {
      return std::string(tool) + " is not installed";
    }
  }
  return {};
}

LoopDevice::LoopDevice() {
  std::string name = (std::filesystem::temp_directory_path() / "halvercine-loop-XXXXXX").string();
  if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
  folder_ = name;
  std::filesystem::create_directory(mountPoint());
  std::ofstream(image()).close();
  std::filesystem::resize_file(image(), imageSize);
}

LoopDevice::~LoopDevice() {
  if (isMounted_) ::umount2(mountPoint().c_str(), MNT_DETACH);
  if (device_) detach();
  std::error_code ignored;
  std::filesystem::remove(mountPoint(), ignored);  // never what is in it
  std::filesystem::remove(image(), ignored);
  std::filesystem::remove(folder_, ignored);
}

bool LoopDevice::partition(const std::string& script) {
  const auto file = (folder_ / "script").string();
  std::ofstream(file) << script;
  const bool done = runProgram({"sh", "-c", "sfdisk -q \"$0\" <\"$1\"", image(), file});
  std::filesystem::remove(file);
  return done;
}

bool LoopDevice::attach() {
  const base::UniqueFd control(::open("/dev/loop-control", O_RDWR | O_CLOEXEC));
  const base::UniqueFd file(::open(image().c_str(), O_RDWR | O_CLOEXEC));
  loop_config configuration{};
  configuration.fd = static_cast<unsigned>(file.get());
  configuration.info.lo_flags = LO_FLAGS_AUTOCLEAR;
  for (int attempt = 0; attempt < 10; ++attempt) {
    const int number = ::ioctl(control.get(), LOOP_CTL_GET_FREE);
    if (number < 0) return false;
    kernelName_ = "loop" + std::to_string(number);
    base::UniqueFd device(::open(node().c_str(), O_RDWR | O_CLOEXEC));
    if (device && ::ioctl(device.get(), LOOP_CONFIGURE, &configuration) == 0) {
      device_ = std::move(device);
      // Those of a run that was killed stay behind on a device without a medium.
      constexpr int most = 8;
      for (int partition = 1; partition <= most; ++partition) {
        changePartition(device_.get(), BLKPG_DEL_PARTITION, partition, 0, 0);
      }
      return true;
    }
    if (errno != EBUSY) return false;  // else somebody was faster
  }
  return false;
}

bool LoopDevice::detach() {
  for (const int number : partitions_) removePartition(device_.get(), number);
  partitions_.clear();
  const bool cleared = ::ioctl(device_.get(), LOOP_CLR_FD) == 0;
  device_ = base::UniqueFd();
  return cleared;
}

bool LoopDevice::addPartition(int number, long long start, long long length) {
  if (!changePartition(device_.get(), BLKPG_ADD_PARTITION, number, start, length)) return false;
  partitions_.push_back(number);
  return true;
}

bool LoopDevice::mount(const std::string& device, const std::string& options) {
  isMounted_ = runProgram({"ntfs-3g", "-o", options, device, mountPoint()});
  return isMounted_;
}

bool LoopDevice::unmount() {
  // The file system's process may still be answering what the mount caused.
  if (::umount2(mountPoint().c_str(), 0) != 0) return false;
  isMounted_ = false;
  return true;
}

}  // namespace halvercine::platform::gnulinux
