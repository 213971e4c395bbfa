#include "platform/linux/MediumContent.h"

#include <array>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

#include <blkid/blkid.h>

#include "base/UniqueFd.h"

namespace halvercine::platform::gnulinux {
namespace {

struct ReleaseProbe {
  void operator()(blkid_struct_probe* probe) const { blkid_free_probe(probe); }
};

std::string value(blkid_probe probe, const char* name) {
  const char* text = nullptr;
  if (blkid_probe_lookup_value(probe, name, &text, nullptr) != 0 || text == nullptr) return {};
  return text;
}

std::string firstOf(std::string text, std::string otherwise) {
  return text.empty() ? std::move(otherwise) : std::move(text);
}

// Not blocking: a drive without a medium answers at once.
base::UniqueFd openDevice(const std::string& node, dev_t number) {
  base::UniqueFd file(::open(node.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status {};
  const bool isDevice = file && ::fstat(file.get(), &status) == 0 && S_ISBLK(status.st_mode) &&
                        status.st_rdev == number;
  return isDevice ? std::move(file) : base::UniqueFd();
}

// Where most marks are, those of RAID at the end: two long readings instead of thirty short ones.
void readAhead(int file) {
  constexpr off_t start = 64 * 1024;
  constexpr off_t end = 512 * 1024;
  const off_t size = ::lseek(file, 0, SEEK_END);
  ::posix_fadvise(file, 0, start, POSIX_FADV_WILLNEED);
  if (size > end) ::posix_fadvise(file, size - end, end, POSIX_FADV_WILLNEED);
}

bool prepare(blkid_probe probe, int file) {
  return blkid_probe_set_device(probe, file, 0, 0) == 0 &&
         blkid_probe_enable_superblocks(probe, 1) == 0 &&
         blkid_probe_set_superblocks_flags(
             probe, BLKID_SUBLKS_TYPE | BLKID_SUBLKS_LABEL | BLKID_SUBLKS_UUID) == 0 &&
         blkid_probe_enable_partitions(probe, 1) == 0 &&
         blkid_probe_set_partitions_flags(probe, BLKID_PARTS_ENTRY_DETAILS) == 0;
}

/// Looks for all kinds of content but those that take long to look for, or for those alone. False
/// on errors, and when what is found contradicts itself.
bool search(blkid_probe probe, bool isForSlowKinds) {
  // ZFS has four labels of 256 KiB, and the log of XFS may begin anywhere in the first 256 KiB:
  // reading all that takes longer than looking for everything else together.
  std::string zfs = "zfs_member";
  std::string xfsLog = "xfs_external_log";
  std::array<char*, 3> slowKinds{zfs.data(), xfsLog.data(), nullptr};
  const int filter = isForSlowKinds ? BLKID_FLTR_ONLYIN : BLKID_FLTR_NOTIN;
  return blkid_probe_filter_superblocks_type(probe, filter, slowKinds.data()) == 0 &&
         blkid_do_safeprobe(probe) >= 0;
}

bool search(blkid_probe probe) {
  if (!search(probe, false)) return false;
  const bool isKnown = !value(probe, "TYPE").empty() || !value(probe, "PTTYPE").empty();
  return isKnown || search(probe, true);
}

}  // namespace

MediumContent contentFromUdev(const UdevProperties& properties) {
  const auto text = [&](std::string_view key) { return udevText(properties, key); };
  return {
      .kind = text("ID_FS_TYPE"),
      .label = firstOf(text("ID_FS_LABEL_ENC"), text("ID_FS_LABEL")),
      .uuid = firstOf(text("ID_FS_UUID_ENC"), text("ID_FS_UUID")),
      // A partition carries its disk's table type as well.
      .partitionType = firstOf(text("ID_PART_ENTRY_TYPE"), text("ID_PART_TABLE_TYPE")),
      .partitionUuid = text("ID_PART_ENTRY_UUID"),
      .partitionName = text("ID_PART_ENTRY_NAME"),
  };
}

MediumContent probeContent(const std::string& node, dev_t number) {
  const auto file = openDevice(node, number);
  if (!file) return {};
  readAhead(file.get());
  const std::unique_ptr<blkid_struct_probe, ReleaseProbe> owner(blkid_new_probe());
  blkid_struct_probe* const reader = owner.get();
  if (reader == nullptr || !prepare(reader, file.get()) || !search(reader)) return {};
  return {
      .kind = value(reader, "TYPE"),
      .label = value(reader, "LABEL"),
      .uuid = value(reader, "UUID"),
      .partitionType = firstOf(value(reader, "PART_ENTRY_TYPE"), value(reader, "PTTYPE")),
      .partitionUuid = value(reader, "PART_ENTRY_UUID"),
      .partitionName = value(reader, "PART_ENTRY_NAME"),
  };
}

MediumContent completed(MediumContent content, const MediumContent& other) {
  for (const auto member : {&MediumContent::kind, &MediumContent::label, &MediumContent::uuid,
                            &MediumContent::partitionType, &MediumContent::partitionUuid,
                            &MediumContent::partitionName}) {
    if ((content.*member).empty()) content.*member = other.*member;
  }
  return content;
}

std::string fileSystemKind(std::string_view linuxName) {
  return std::string(linuxName == "vfat" ? "msdos" : linuxName);
}

}  // namespace halvercine::platform::gnulinux
