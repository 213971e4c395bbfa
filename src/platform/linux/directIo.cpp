#include "platform/linux/directIo.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace halvercine::platform::gnulinux {
namespace {

constexpr std::size_t smallestBlock = 4096;

/// File systems that live in memory take the flag and ignore it.
bool isInMemory(int file) {
  struct statfs status {};
  if (::fstatfs(file, &status) != 0) return false;
  return status.f_type == TMPFS_MAGIC || status.f_type == RAMFS_MAGIC;
}

/// The alignments that the file system asks for; 4 KiB for both where it does not say (kernels
/// before 6.1), which all the usual ones are content with.
struct Alignments {
  std::size_t ofBuffers = smallestBlock;
  std::size_t ofOffsets = smallestBlock;
};

Alignments alignmentsOf(int file) {
  Alignments alignments;
#ifdef STATX_DIOALIGN
  struct statx status {};
  if (::statx(file, "", AT_EMPTY_PATH, STATX_DIOALIGN, &status) == 0 &&
      (status.stx_mask & STATX_DIOALIGN) != 0) {
    alignments = {status.stx_dio_mem_align, status.stx_dio_offset_align};
  }
#endif
  return alignments;
}

/// Some drivers take the flag and refuse the operations: only trying tells. The file is new and
/// empty, and is so again afterwards.
bool isRefused(int file, std::size_t alignment) {
  void* memory = nullptr;
  if (::posix_memalign(&memory, std::max(alignment, smallestBlock), smallestBlock) != 0)
    return true;
  std::memset(memory, 0, smallestBlock);
  const auto count = ::pwrite(file, memory, smallestBlock, 0);
  const int error = errno;
  std::free(memory);
  if (count < 0) return error == EINVAL || error == EOPNOTSUPP;
  return ::ftruncate(file, 0) != 0 || count % static_cast<ssize_t>(smallestBlock) != 0;
}

}  // namespace

posix::Caching switchCachingOff(int file) {
  const auto alignments = alignmentsOf(file);
  // No alignment at all is the answer of a file that cannot be had this way.
  const bool isPossible = alignments.ofOffsets > 0 && smallestBlock % alignments.ofOffsets == 0;
  if (isInMemory(file) || !isPossible) return {};
  const int flags = ::fcntl(file, F_GETFL);
  if (flags < 0 || ::fcntl(file, F_SETFL, flags | O_DIRECT) != 0) return {};
  if (isRefused(file, alignments.ofBuffers)) {
    ::fcntl(file, F_SETFL, flags);
    return {};
  }
  return {PageCache::off, std::max<std::size_t>(alignments.ofBuffers, 1)};
}

}  // namespace halvercine::platform::gnulinux
