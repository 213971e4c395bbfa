#include "platform/linux/diskutil/mountVolume.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/mount.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <fmt/format.h>

#include "base/Text.h"
#include "platform/linux/diskutil/MountDirectory.h"
#include "platform/linux/diskutil/mountFileSystem.h"
#include "platform/linux/sysfs.h"

namespace halvercine::platform::gnulinux {
namespace {

using namespace std::chrono_literals;

constexpr Milliseconds mountLimit = 45s;  // the controller ends the tool after 60
constexpr Milliseconds shortLimit = 5s;

struct Access {
  AccessReason reason = AccessReason::readWrite;
  int error = 0;  ///< why the device cannot be used at all

  bool readOnly() const { return reason != AccessReason::readWrite; }
};

// Exclusive, as a mount is: a device that something else holds is busy.
int tryOpen(const std::string& node, int mode) {
  return runApart(
      [&] {
        const int device = ::open(node.c_str(), mode | O_EXCL | O_CLOEXEC);
        return device < 0 ? errno : 0;
      },
      shortLimit);
}

bool isProtected(const BlockDevice& device) {
  return readNumber(device.directory, "ro").value_or(0) != 0 ||
         readNumber(device.wholeDirectory(), "ro").value_or(0) != 0;
}

Access accessTo(const BlockDevice& device, bool readOnlyRequested) {
  if (readOnlyRequested) return {AccessReason::requested, tryOpen(device.node, O_RDONLY)};
  if (isProtected(device)) return {AccessReason::deviceProtected, tryOpen(device.node, O_RDONLY)};
  const int error = tryOpen(device.node, O_RDWR);
  if (error == 0) return {};
  const auto reason = error == EROFS ? AccessReason::deviceProtected : AccessReason::openFailed;
  return {reason, tryOpen(device.node, O_RDONLY)};
}

std::optional<Mount> mountOn(const std::string& target, dev_t device) {
  const auto mounts = readMounts("/proc/self/mountinfo");
  const auto* const all = mounts.of(device);
  if (all == nullptr) return std::nullopt;
  const auto found = std::ranges::find(*all, target, &Mount::target);
  return found == all->end() ? std::nullopt : std::optional(*found);
}

// A helper that was stopped half way leaves a mount that nobody serves.
bool isServed(const std::string& target) {
  const auto ask = [&] {
    struct statvfs status {};
    return ::statvfs(target.c_str(), &status) == 0 ? 0 : errno;
  };
  return runApart(ask, shortLimit) != ENOTCONN;
}

void unmountAgain(const std::string& target) {
  runApart([&] { return ::umount2(target.c_str(), UMOUNT_NOFOLLOW) == 0 ? 0 : errno; }, shortLimit);
}

/// One attempt at one volume.
class MountAttempt {
 public:
  MountAttempt(const DiskRequest& request, const BlockDevice& device, Storage& storage)
      : request_(request), device_(device), storage_(storage), content_(storage.content(device)) {}

  DiskAnswer run() {
    if (storage_.mounts.current()->principal(device_.number) != nullptr) {
      return {1, volumeOn(content_.label, request_.disk) + " already mounted"};
    }
    if (::geteuid() != 0) return failed(std::strerror(EPERM));
    if (content_.kind.empty()) return unsupported();
    const Access access = accessTo(device_, request_.verb == DiskVerb::mountReadOnly);
    if (access.error != 0) return failed(std::strerror(access.error));
    const auto directory = MountDirectory::make(device_.id, content_.label);
    if (!directory) return failed(directory.error().message());
    return mountOnto(*directory, access);
  }

 private:
  DiskAnswer mountOnto(const MountDirectory& directory, const Access& access) {
    const MountWish wish{device_.node, content_.kind, directory.path(), access.readOnly()};
    const auto result = mountFileSystem(wish, Deadline(mountLimit));
    const auto mount = mountOn(directory.path(), device_.number);
    // Looked up by its sequence number: another medium in the drive has another one.
    const bool isSame = storage_.devices.find(device_.id).has_value();
    if (!mount || !isSame || !isServed(directory.path())) {
      if (mount) unmountAgain(directory.path());
      directory.remove();
      if (SignalHold::isPending()) return failed("interrupted");
      if (result.isLate) return {1, volume() + " timed out waiting to mount"};
      return failed(isSame ? result.error : "the medium has gone");
    }
    report(*mount, access);
    return {0, volumeOn(content_.label, request_.disk) + " mounted"};
  }

  void report(const Mount& mount, const Access& access) const {
    if (content_.kind != "ntfs" || !device_.isPartition()) return;
    const bool isFallback = mount.readOnly && !access.readOnly();
    writeAccessReport(device_, isFallback ? AccessReason::unsafeVolume : access.reason);
  }

  std::string volume() const { return volumeOn(content_.label, bsdName(device_.id)); }

  DiskAnswer failed(const std::string& reason) const {
    auto text = volume() + " failed to mount";
    if (!reason.empty()) text += "\n" + base::displayText(reason);
    return {1, text};
  }

  DiskAnswer unsupported() const {
    auto text = volume() +
                " failed to mount\nPerhaps the operation is not supported (kDAReturnUnsupported)";
    if (!device_.isPartition()) {
      text += "\nIf it has a partitioning scheme, mount its partitions";
    }
    return {1, text};
  }

  const DiskRequest& request_;
  const BlockDevice& device_;
  Storage& storage_;
  MediumContent content_;
};

}  // namespace

std::string volumeOn(const std::string& name, const std::string& disk) {
  const std::string shown = base::displayText(name);
  return fmt::format("Volume {}{}on {}", shown, shown.empty() ? "" : " ", base::displayText(disk));
}

DiskAnswer mountVolume(const DiskRequest& request, const BlockDevice& device, Storage& storage) {
  return MountAttempt(request, device, storage).run();
}

}  // namespace halvercine::platform::gnulinux
