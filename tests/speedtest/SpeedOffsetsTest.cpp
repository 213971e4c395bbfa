#include "speedtest/SpeedOffsets.h"

#include <vector>

#include <gtest/gtest.h>

namespace halvercine::speedtest {
namespace {

TEST(SpeedOffsetsTest, TheRandomOffsetsAreThoseOfTheGenerator) {
  // Computed apart, with numbers of any size and a remainder by 2^64.
  const std::pair<std::size_t, std::vector<std::uint64_t>> rows[] = {
      {0, {70619136, 386711552, 447635456}},
      {1, {16424960, 442007552, 75857920}},
      {31, {1212416, 490209280, 196792320}}};
  for (const auto& [worker, offsets] : rows) {
    RandomOffsets next(512ULL << 20U, 4096, worker);
    for (const auto offset : offsets) EXPECT_EQ(next(), offset) << worker;
  }
}

TEST(SpeedOffsetsTest, SlicesAreWholeBlocksAndCoverTheFile) {
  constexpr std::uint64_t mebibyte = 1 << 20U;
  for (const std::uint64_t size : {8 * mebibyte, 64 * mebibyte, 13 * mebibyte, 3 * mebibyte}) {
    std::uint64_t end = 0;
    for (std::size_t worker = 0; worker < 8; ++worker) {
      const auto slice = SpeedSlice::of(size, mebibyte, 8, worker);
      EXPECT_EQ(slice.begin, end);
      EXPECT_EQ(slice.begin % mebibyte, 0u);
      end = slice.end;
    }
    EXPECT_EQ(end, size);
  }
}

TEST(SpeedOffsetsTest, SequentialOffsetsBeginAgainAtTheSlicesStart) {
  SequentialOffsets next({4096, 3 * 4096}, 4096);
  for (const std::uint64_t offset : {4096, 8192, 4096, 8192}) EXPECT_EQ(next(), offset);
  EXPECT_TRUE(SequentialOffsets({0, 0}, 4096).isEmpty());
  EXPECT_TRUE(RandomOffsets(4095, 4096, 0).isEmpty());
}

}  // namespace
}  // namespace halvercine::speedtest
