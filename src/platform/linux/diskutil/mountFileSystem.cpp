#include "platform/linux/diskutil/mountFileSystem.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <memory>
#include <sys/mount.h>
#include <unistd.h>

#include <libmount/libmount.h>

#include "base/Text.h"
#include "platform/linux/diskutil/ntfsState.h"

namespace halvercine::platform::gnulinux {
namespace {

constexpr auto ntfs3gPlaces =
    std::to_array({"/usr/bin/ntfs-3g", "/bin/ntfs-3g", "/usr/local/bin/ntfs-3g"});
// Exit statuses of ntfs-3g(8) for volumes that may be read all the same.
constexpr int hibernatedStatus = 14;
constexpr int uncleanStatus = 15;

std::string ntfs3g() {
  const auto* const found = std::ranges::find_if(
      ntfs3gPlaces, [](const char* place) { return ::access(place, X_OK) == 0; });
  return found == ntfs3gPlaces.end() ? std::string() : *found;
}

MountResult mounted() { return {true, false, false, {}}; }

MountResult failure(int error) { return {false, false, error == ETIMEDOUT, std::strerror(error)}; }

std::string lastLine(std::string_view text) {
  text = base::trimmed(text);
  return std::string(text.substr(text.rfind('\n') + 1));
}

MountResult resultOf(const ToolEnd& end) {
  if (end.succeeded()) return mounted();
  if (end.kind == ToolEnd::Kind::notStarted) return failure(end.status);
  if (end.kind == ToolEnd::Kind::ended) return failure(ETIMEDOUT);
  const std::string line = lastLine(end.errors);
  return {false, false, false, line.empty() ? "exit status " + std::to_string(end.status) : line};
}

// "norecover": a journal that Windows has not closed is not thrown away, the volume is refused.
ToolEnd runNtfs3g(const std::string& program, const MountWish& wish, const Deadline& deadline) {
  const std::string options = wish.readOnly ? "ro,nosuid,nodev" : "rw,nosuid,nodev,norecover";
  return runTool({program, "-o", options, wish.node, wish.target}, deadline.left());
}

MountResult mountWithNtfs3g(const std::string& program, MountWish wish, const Deadline& deadline) {
  const ToolEnd end = runNtfs3g(program, wish, deadline);
  const bool isUnsafe = end.kind == ToolEnd::Kind::exited && !wish.readOnly &&
                        (end.status == hibernatedStatus || end.status == uncleanStatus);
  if (!isUnsafe) return resultOf(end);
  wish.readOnly = true;
  auto result = resultOf(runNtfs3g(program, wish, deadline));
  result.isUnsafe = true;
  return result;
}

struct Release {
  void operator()(libmnt_context* context) const { mnt_free_context(context); }
};

int mountByLibrary(const MountWish& wish, const std::string& kind) {
  const std::unique_ptr<libmnt_context, Release> context(mnt_new_context());
  if (!context) return ENOMEM;
  // Without owners on the medium, everybody may use what root mounts.
  const bool hasNoOwners = kind == "vfat" || kind == "exfat" || kind == "ntfs3";
  std::string options = wish.readOnly ? "ro,nosuid,nodev" : "rw,nosuid,nodev";
  if (hasNoOwners) options += ",umask=0";
  mnt_context_set_source(context.get(), wish.node.c_str());
  mnt_context_set_target(context.get(), wish.target.c_str());
  mnt_context_set_fstype(context.get(), kind.c_str());
  mnt_context_set_options(context.get(), options.c_str());
  mnt_context_set_mflags(context.get(), MS_NOSUID | MS_NODEV | (wish.readOnly ? MS_RDONLY : 0));
  const int result = mnt_context_mount(context.get());
  if (result == 0 && mnt_context_get_status(context.get()) == 1) return 0;
  const int error = mnt_context_get_syscall_errno(context.get());
  return error != 0 ? error : result < 0 ? -result : EIO;
}

MountResult mountWithKernel(const MountWish& wish, const std::string& kind,
                            const Deadline& deadline) {
  const int error = runApart([&] { return mountByLibrary(wish, kind); }, deadline.left());
  return error == 0 ? mounted() : failure(error);
}

bool isHibernated(const std::string& target) {
  std::array<char, 4> mark{};
  std::ifstream file(target + "/hiberfil.sys", std::ios::binary);
  file.read(mark.data(), mark.size());
  return base::asciiLowered(std::string_view(mark.data(), mark.size())) == "hibr";
}

// The kernel's driver does not look whether Windows sleeps on the volume, so it is mounted
// read-only first. It refuses to write by itself while the journal is not empty.
MountResult mountWithNtfs3(MountWish wish, const Deadline& deadline) {
  const bool readOnly = std::exchange(wish.readOnly, true);
  auto result = mountWithKernel(wish, "ntfs3", deadline);
  if (!result.isMounted || readOnly) return result;
  const auto allowWriting = [&] {
    if (isHibernated(wish.target)) return EROFS;
    constexpr auto flags = MS_REMOUNT | MS_NOSUID | MS_NODEV;
    return ::mount(nullptr, wish.target.c_str(), nullptr, flags, "umask=0") == 0 ? 0 : errno;
  };
  result.isUnsafe = runApart(allowWriting, deadline.left()) != 0;
  return result;
}

MountResult mountNtfs(MountWish wish, const Deadline& deadline) {
  const bool isDirty = !wish.readOnly && runApart([&] { return isNtfsDirty(wish.node) ? 1 : 0; },
                                                  deadline.left()) != 0;
  wish.readOnly = wish.readOnly || isDirty;
  const std::string program = ntfs3g();
  auto result =
      program.empty() ? mountWithNtfs3(wish, deadline) : mountWithNtfs3g(program, wish, deadline);
  result.isUnsafe = result.isUnsafe || isDirty;
  return result;
}

}  // namespace

MountResult mountFileSystem(const MountWish& wish, const Deadline& deadline) {
  if (wish.kind == "ntfs" || wish.kind == "ntfs3") return mountNtfs(wish, deadline);
  return mountWithKernel(wish, wish.kind, deadline);
}

}  // namespace halvercine::platform::gnulinux
