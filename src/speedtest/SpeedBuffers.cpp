#include "speedtest/SpeedBuffers.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <unistd.h>

#include "speedtest/SpeedProfile.h"

namespace halvercine::speedtest {
namespace {

constexpr std::size_t templateSize = mebibyte;
constexpr std::size_t smallSize = 4'096;

std::size_t targetsSize() {
  std::size_t most = 0;
  for (const auto& cell : speedCells) {
    const auto pattern = accessPattern(cell.profile);
    most = std::max(most, pattern.blockSize * pattern.queueDepth);
  }
  return most;
}

}  // namespace

void SpeedBuffers::Free::operator()(std::byte* memory) const { std::free(memory); }

SpeedBuffers::Memory SpeedBuffers::allocate(std::size_t alignment, std::size_t size) {
  const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
  void* memory = nullptr;
  if (::posix_memalign(&memory, std::max(alignment, page), size) != 0) throw std::bad_alloc();
  // Touched now: the first operations are not to pay for the pages.
  std::memset(memory, 0, size);
  return Memory(static_cast<std::byte*>(memory));
}

SpeedBuffers::SpeedBuffers(std::size_t alignment)
    : template_(allocate(alignment, templateSize)),
      small_(allocate(alignment, smallSize)),
      targets_(allocate(alignment, targetsSize())) {
  ::arc4random_buf(template_.get(), templateSize);
  std::memcpy(small_.get(), template_.get(), smallSize);
}

std::span<const std::byte> SpeedBuffers::data(std::size_t blockSize) const {
  // A block begins at a multiple of its size, which divides 1 MiB: (offset modulo 1 MiB) modulo the
  // size is 0, and its data begin where the template does.
  return {blockSize == smallSize ? small_.get() : template_.get(), blockSize};
}

std::span<std::byte> SpeedBuffers::target(std::size_t blockSize, std::size_t worker) const {
  return {targets_.get() + worker * blockSize, blockSize};
}

}  // namespace halvercine::speedtest
