#include "platform/linux/diskutil/unmountVolume.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fmt/format.h>

#include "base/Text.h"
#include "platform/linux/diskutil/MountDirectory.h"
#include "platform/linux/diskutil/accessReport.h"
#include "platform/linux/diskutil/mountVolume.h"
#include "platform/linux/diskutil/processes.h"
#include "platform/linux/diskutil/runBounded.h"

namespace halvercine::platform::gnulinux {
namespace {

using namespace std::chrono_literals;

constexpr Milliseconds unmountLimit = 40s;  // the controller ends the tool after 60
constexpr Milliseconds flushLimit = 15s;
constexpr Milliseconds releaseLimit = 5s;
constexpr auto releasePause = 10ms;

constexpr auto systemFolders = std::to_array<std::string_view>(
    {"/",    "/bin",  "/boot", "/boot/efi", "/dev",  "/efi", "/etc", "/home", "/lib", "/lib64",
     "/opt", "/proc", "/root", "/run",      "/sbin", "/srv", "/sys", "/tmp",  "/usr", "/var"});

int resultOf(int returned) { return returned == 0 ? 0 : errno; }

// Not for what another mount hides: the path would lead to that one.
int checkIsOnTop(const Mount& mount) {
  struct statx status {};
  constexpr int flags = AT_STATX_DONT_SYNC | AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT;
  if (::statx(AT_FDCWD, mount.target.c_str(), flags, STATX_MNT_ID, &status) != 0) {
    return errno == ENOTCONN ? 0 : errno;  // its process has died: all the more it may go
  }
  const bool isKnown = (status.stx_mask & STATX_MNT_ID) != 0;
  return !isKnown || static_cast<int>(status.stx_mnt_id) == mount.id ? 0 : EBUSY;
}

int flush(const Mount& mount) {
  const base::UniqueFd folder(::open(mount.target.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  if (!folder) return errno;
  return resultOf(::syncfs(folder.get()));
}

int detach(const Mount& mount, int flags) {
  return resultOf(::umount2(mount.target.c_str(), flags | UMOUNT_NOFOLLOW));
}

// A process that serves a file system is cut off after what was written has reached it: it writes
// the rest to the device and ends. In the kernel a file that is open for writing would live on
// unseen, so such a volume must become read-only first, and when it cannot, it stays.
int detachByForce(const Mount& mount) {
  if (mount.hidesType()) {
    if (detach(mount, MNT_FORCE) == 0) return 0;  // else files are open
  } else if (::mount(nullptr, mount.target.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr) !=
             0) {
    return errno;
  }
  return detach(mount, MNT_DETACH);
}

int unmountNormally(const Mount& mount, const Deadline& deadline) {
  return runApart([&] { return detach(mount, 0); }, deadline.left());
}

// A file system that does not even store what it has would keep a normal unmount waiting, too.
int unmountByForce(const Mount& mount, const Deadline& deadline) {
  const bool isStuck =
      runApart([&] { return flush(mount); }, std::min(flushLimit, deadline.left())) == ETIMEDOUT;
  const int error = isStuck ? EBUSY : unmountNormally(mount, deadline);
  if (error != EBUSY) return error;
  return runApart([&] { return detachByForce(mount); }, deadline.left());
}

int waitForServers(const std::vector<base::UniqueFd>& servers, const Deadline& deadline) {
  for (const auto& server : servers) {
    pollfd ended{server.get(), POLLIN, 0};
    if (::poll(&ended, 1, static_cast<int>(deadline.left().count())) <= 0) return ETIMEDOUT;
  }
  return 0;
}

// A file system that processes still hold after a forced unmount keeps its claim; then it is enough
// that the device has everything.
int storeAll(const std::string& node, bool mayBeClaimed) {
  for (;;) {
    const base::UniqueFd device(::open(node.c_str(), O_RDONLY | O_EXCL | O_CLOEXEC));
    if (device) return resultOf(::fsync(device.get()));
    if (errno == ENOENT || errno == ENXIO || errno == ENOMEDIUM) return 0;  // pulled
    if (errno != EBUSY) return errno;
    if (mayBeClaimed) break;
    ::usleep(std::chrono::microseconds(releasePause).count());
  }
  const base::UniqueFd device(::open(node.c_str(), O_RDONLY | O_CLOEXEC));
  return device ? resultOf(::fsync(device.get())) : errno;
}

/// One attempt at one volume.
class UnmountAttempt {
 public:
  UnmountAttempt(const DiskRequest& request, const BlockDevice& device, Storage& storage)
      : device_(device),
        storage_(storage),
        name_(storage.content(device).label),
        byForce_(request.verb == DiskVerb::unmountForce) {}

  DiskAnswer run() {
    if (storage_.mounts.current()->principal(device_.number) == nullptr) return notMounted();
    if (::geteuid() != 0) return failed(std::strerror(EPERM));
    const auto servers = fileSystemServers(device_.number);
    const Deadline deadline(unmountLimit);
    while (const Mount* const next = storage_.mounts.current()->principal(device_.number)) {
      const Mount mount = *next;
      if (isSystemFolder(mount.target)) return failed("it is in use by the system, not permitted");
      if (const int error = unmountOne(mount, deadline)) return refused(mount, error);
    }
    const int error = release(servers);
    if (const auto directory = MountDirectory::find(device_.id)) directory->remove();
    removeAccessReport(device_);
    if (error != 0)
      return failed(fmt::format("written data may be lost ({})", std::strerror(error)));
    return {0, volume() + (byForce_ ? " force-unmounted" : " unmounted")};
  }

 private:
  int unmountOne(const Mount& mount, const Deadline& deadline) const {
    if (const int error = runApart([&] { return checkIsOnTop(mount); }, deadline.left())) {
      return error;
    }
    return byForce_ ? unmountByForce(mount, deadline) : unmountNormally(mount, deadline);
  }

  int release(const std::vector<base::UniqueFd>& servers) const {
    const Deadline deadline(releaseLimit);
    if (const int error = waitForServers(servers, deadline)) return error;
    return runApart([this] { return storeAll(device_.node, byForce_); }, deadline.left());
  }

  std::string volume() const { return volumeOn(name_, bsdName(device_.id)); }

  DiskAnswer failed(const std::string& reason) const {
    return {1, fmt::format("{} failed to unmount: {}", volume(), reason)};
  }

  DiskAnswer refused(const Mount& mount, int error) const {
    if (error == ETIMEDOUT) return {1, volume() + " timed out waiting to unmount"};
    const auto occupant = error == EBUSY ? firstOccupant(mount.target) : std::nullopt;
    if (!occupant) return failed(std::strerror(error));
    return failed(fmt::format("dissented by PID {} ({})\nDissenter parent PPID {} ({})",
                              occupant->process, base::displayText(occupant->program),
                              occupant->parent, base::displayText(occupant->parentProgram)));
  }

  DiskAnswer notMounted() const {
    const std::string name = bsdName(device_.id);
    if (device_.isPartition()) return {0, name + " was already unmounted"};
    return {1, name + " was already unmounted or it has a partitioning scheme"};
  }

  const BlockDevice& device_;
  Storage& storage_;
  std::string name_;
  bool byForce_;
};

}  // namespace

bool isSystemFolder(const std::string& path) {
  return std::ranges::find(systemFolders, path) != systemFolders.end();
}

DiskAnswer unmountVolume(const DiskRequest& request, const BlockDevice& device, Storage& storage) {
  return UnmountAttempt(request, device, storage).run();
}

}  // namespace halvercine::platform::gnulinux
