// The memory that a speed test reads into and writes from.
#pragma once

#include <cstddef>
#include <memory>
#include <span>

namespace halvercine::speedtest {

/// Aligned to pages, and to `alignment` where that is more; allocated once for a run. Throws
/// std::bad_alloc.
class SpeedBuffers {
 public:
  explicit SpeedBuffers(std::size_t alignment);

  /// What a block of at most 1 MiB is written from: random bytes, so that nothing on the way can
  /// compress them. Blocks of 4 KiB have a copy of the first 4 KiB of the template. Workers share
  /// it.
  std::span<const std::byte> data(std::size_t blockSize) const;

  /// Where one worker reads blocks of this size to. A place of its own: the workers would otherwise
  /// wait for each other's memory instead of for the disk.
  std::span<std::byte> target(std::size_t blockSize, std::size_t worker) const;

 private:
  struct Free {
    void operator()(std::byte* memory) const;
  };
  using Memory = std::unique_ptr<std::byte[], Free>;

  static Memory allocate(std::size_t alignment, std::size_t size);

  Memory template_;
  Memory small_;
  Memory targets_;
};

}  // namespace halvercine::speedtest
