#include "platform/linux/MountTable.h"

#include <algorithm>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <libmount/libmount.h>

namespace halvercine::platform::gnulinux {
namespace {

constexpr const char* mountInfo = "/proc/self/mountinfo";

struct Release {
  void operator()(libmnt_table* table) const { mnt_unref_table(table); }
  void operator()(libmnt_iter* iterator) const { mnt_free_iter(iterator); }
};
template <class T>
using Owned = std::unique_ptr<T, Release>;

std::string text(const char* value) { return value == nullptr ? std::string() : value; }

bool hasOption(const char* options, const char* name) {
  return options != nullptr && mnt_optstr_get_option(options, name, nullptr, nullptr) == 0;
}

// File systems that span devices, or that live in a process, have a made-up device number; what was
// mounted still tells the device.
dev_t blockDevice(dev_t number, const std::string& source) {
  if (major(number) != 0 || !source.starts_with("/dev/")) return number;
  struct stat status {};
  const bool isBlock = ::stat(source.c_str(), &status) == 0 && S_ISBLK(status.st_mode);
  return isBlock ? status.st_rdev : number;
}

Mount translated(libmnt_fs* entry) {
  Mount mount;
  mount.id = mnt_fs_get_id(entry);
  mount.source = text(mnt_fs_get_source(entry));
  mount.type = text(mnt_fs_get_fstype(entry));
  mount.root = text(mnt_fs_get_root(entry));
  mount.target = text(mnt_fs_get_target(entry));
  mount.device = blockDevice(mnt_fs_get_devno(entry), mount.source);
  mount.readOnly = hasOption(mnt_fs_get_vfs_options(entry), "ro") ||
                   hasOption(mnt_fs_get_fs_options(entry), "ro");
  return mount;
}

}  // namespace

MountSnapshot::MountSnapshot(std::vector<Mount> mounts) {
  for (auto& mount : mounts) {
    if (major(mount.device) != 0) byDevice_[mount.device].push_back(mount);
    const int id = mount.id;
    topmost_.insert_or_assign(mount.target, id);
    byId_.emplace(id, std::move(mount));
  }
}

const Mount* MountSnapshot::find(int id) const {
  const auto found = byId_.find(id);
  return found == byId_.end() ? nullptr : &found->second;
}

const Mount* MountSnapshot::at(const std::string& target) const {
  const auto found = topmost_.find(target);
  return found == topmost_.end() ? nullptr : find(found->second);
}

const std::vector<Mount>* MountSnapshot::of(dev_t device) const {
  const auto found = byDevice_.find(device);
  return found == byDevice_.end() ? nullptr : &found->second;
}

const Mount* MountSnapshot::principal(dev_t device) const {
  const auto* mounts = of(device);
  if (mounts == nullptr) return nullptr;
  const auto whole = std::ranges::find(*mounts, "/", &Mount::root);
  return whole == mounts->end() ? &mounts->front() : &*whole;
}

std::vector<dev_t> MountSnapshot::difference(const MountSnapshot& other) const {
  std::vector<dev_t> changed;
  for (const auto& [device, mounts] : byDevice_) {
    const auto* others = other.of(device);
    if (others == nullptr || *others != mounts) changed.push_back(device);
  }
  for (const auto& [device, mounts] : other.byDevice_) {
    if (of(device) == nullptr) changed.push_back(device);
  }
  return changed;
}

MountSnapshot readMounts(const std::string& path) {
  const Owned<libmnt_table> table(mnt_new_table_from_file(path.c_str()));
  const Owned<libmnt_iter> iterator(mnt_new_iter(MNT_ITER_FORWARD));
  if (!table || !iterator) return {};
  std::vector<Mount> mounts;
  libmnt_fs* entry = nullptr;
  while (mnt_table_next_fs(table.get(), iterator.get(), &entry) == 0) {
    mounts.push_back(translated(entry));
  }
  return MountSnapshot(std::move(mounts));
}

MountTable::MountTable() : watched_(openMountInfo()) {}

std::shared_ptr<const MountSnapshot> MountTable::current() {
  const std::lock_guard lock(mutex_);
  // Asked before reading: a change in between is then told the next time.
  if (hasChanged() || !snapshot_) {
    snapshot_ = std::make_shared<const MountSnapshot>(readMounts(mountInfo));
  }
  return snapshot_;
}

bool MountTable::hasChanged() const {
  if (!watched_) return true;
  pollfd change{watched_.get(), POLLPRI, 0};
  return ::poll(&change, 1, 0) > 0 && (change.revents & (POLLPRI | POLLERR)) != 0;
}

base::UniqueFd openMountInfo() { return base::UniqueFd(::open(mountInfo, O_RDONLY | O_CLOEXEC)); }

}  // namespace halvercine::platform::gnulinux
