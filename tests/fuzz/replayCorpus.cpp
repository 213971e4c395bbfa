// Runs every seed of the fuzz targets once.
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>
#include <string>

#include <gtest/gtest.h>

// FUZZ_TARGETS is the list of them, each as FUZZ_TARGET(name).
#define FUZZ_TARGET(name) extern "C" int fuzz_##name(const std::uint8_t*, std::size_t);
FUZZ_TARGETS
#undef FUZZ_TARGET

namespace halvercine::fuzz {
namespace {

struct Target {
  const char* name;
  int (*run)(const std::uint8_t*, std::size_t);

  friend void PrintTo(const Target& target, std::ostream* out) { *out << target.name; }
};

constexpr Target targets[] = {
#define FUZZ_TARGET(name) {#name, fuzz_##name},
    FUZZ_TARGETS
#undef FUZZ_TARGET
};

class CorpusTest : public testing::TestWithParam<Target> {};

TEST_P(CorpusTest, everySeedHolds) {
  const auto folder = std::filesystem::path(FUZZ_CORPUS) / GetParam().name;
  int seeds = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    std::ifstream file(entry.path(), std::ios::binary);
    const std::string input{std::istreambuf_iterator<char>(file), {}};
    EXPECT_NO_THROW(
        GetParam().run(reinterpret_cast<const std::uint8_t*>(input.data()), input.size()))
        << entry.path();
    ++seeds;
  }
  EXPECT_GT(seeds, 0);
}

INSTANTIATE_TEST_SUITE_P(Fuzz, CorpusTest, testing::ValuesIn(targets),
                         [](const auto& target) { return std::string(target.param.name); });

}  // namespace
}  // namespace halvercine::fuzz
