// Where in the test file the workers read and write.
#pragma once

#include <cstddef>
#include <cstdint>

#include "speedtest/SpeedProfile.h"

namespace halvercine::speedtest {

/// The part of the file that is one worker's own, in whole blocks. The last worker's part takes
/// what cannot be divided.
struct SpeedSlice {
  std::uint64_t begin = 0;  ///< bytes
  std::uint64_t end = 0;

  static SpeedSlice of(std::uint64_t fileSize, std::size_t blockSize, std::size_t workers,
                       std::size_t worker) {
    const auto size = fileSize / workers / blockSize * blockSize;
    const bool isLast = worker + 1 == workers;
    return {worker * size, isLast ? fileSize / blockSize * blockSize : (worker + 1) * size};
  }
};

/// One block after another within the slice, and again from its start.
class SequentialOffsets {
 public:
  SequentialOffsets(SpeedSlice slice, std::size_t blockSize)
      : slice_(slice), blockSize_(blockSize), next_(slice.begin) {}

  bool isEmpty() const { return slice_.begin == slice_.end; }

  std::uint64_t operator()() {
    const auto offset = next_;
    next_ += blockSize_;
    if (next_ == slice_.end) next_ = slice_.begin;
    return offset;
  }

 private:
  SpeedSlice slice_;
  std::uint64_t blockSize_;
  std::uint64_t next_;
};

/// Any block of the file, by a linear congruential generator modulo 2^64: the same sequence in
/// every run, another one for each worker.
class RandomOffsets {
 public:
  RandomOffsets(std::uint64_t fileSize, std::size_t blockSize, std::size_t worker)
      : blocks_(fileSize / blockSize),
        blockSize_(blockSize),
        state_(worker * multiplier + 0x6C576FAC43FD007CU) {}

  bool isEmpty() const { return blocks_ == 0; }

  std::uint64_t operator()() {
    state_ = state_ * multiplier + 0x14057B7EF767814FU;
    return (state_ >> 33U) % blocks_ * blockSize_;
  }

 private:
  static constexpr std::uint64_t multiplier = 0x5851F42D4C957F2DU;

  std::uint64_t blocks_;
  std::uint64_t blockSize_;
  std::uint64_t state_;
};

}  // namespace halvercine::speedtest
