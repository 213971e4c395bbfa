// After an unlock the password is nowhere any more: neither in this process's memory nor in a file.
#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <unistd.h>

#include <gtest/gtest.h>

#include "base/UniqueFd.h"
#include "bitlocker/UnlockFixture.h"
#include "bitlocker/unlock/BitLockerUnlock.h"
#include "platform/posix/FileSecretStore.h"
#include "support/isSanitized.h"

namespace halvercine::bitlocker {
namespace {

// The password, disguised: what is looked for must not be found in the test itself. It is the same
// in JSON.
constexpr unsigned char mask = 0x5A;
constexpr unsigned char disguised[] = {0x2E ^ 1, 0x35, 0x28, 0x28, 0x3F, 0x39, 0x2E, 0x72, 0x32,
                                       0x35,     0x28, 0x29, 0x3F, 0x63, 0x6B, 0x6A, 0x6D, 0x2C};
constexpr std::size_t size = std::size(disguised);

base::Secret password() {
  std::string text;
  text.reserve(size);
  for (const auto byte : disguised) text += static_cast<char>(byte ^ mask);
  return base::Secret::takenFrom(text);
}

std::size_t occurrences(std::string_view bytes) {
  std::size_t count = 0;
  const auto isSame = [](unsigned char hidden, char byte) {
    return (hidden ^ mask) == static_cast<unsigned char>(byte);
  };
  constexpr char first = disguised[0] ^ mask;
  for (auto at = bytes.find(first); at != std::string_view::npos && at + size <= bytes.size();
       at = bytes.find(first, at + 1)) {
    if (std::equal(std::begin(disguised), std::end(disguised), bytes.data() + at, isSame)) ++count;
  }
  return count;
}

// Looking allocates nothing: that could overwrite what is looked for.
std::array<char, std::size_t{1} << 20U> maps;
std::array<char, std::size_t{1} << 20U> piece;

std::string_view readMaps() {
  const base::UniqueFd file(::open("/proc/self/maps", O_RDONLY));
  std::size_t length = 0;
  ssize_t got = 0;
  do {
    length += static_cast<std::size_t>(got);
    got = ::read(file.get(), maps.data() + length, maps.size() - length);
  } while (got > 0);
  return {maps.data(), length};
}

std::size_t occurrencesBetween(int memory, std::uint64_t begin, std::uint64_t end) {
  std::size_t count = 0;
  // Pieces overlap by what is too short to be found twice.
  for (auto at = begin; at < end; at += piece.size() - (size - 1)) {
    const auto length = std::min<std::uint64_t>(piece.size(), end - at);
    const auto got = ::pread(memory, piece.data(), length, static_cast<off_t>(at));
    if (got > 0) count += occurrences({piece.data(), static_cast<std::size_t>(got)});
  }
  return count;
}

/// In everything that this process can write to, which is where data is.
std::size_t occurrencesInMemory() {
  std::size_t count = 0;
  const base::UniqueFd memory(::open("/proc/self/mem", O_RDONLY));
  const auto own = reinterpret_cast<std::uint64_t>(piece.data());
  for (auto rest = readMaps(); !rest.empty();) {
    const auto line = rest.substr(0, rest.find('\n'));
    rest.remove_prefix(std::min(rest.size(), line.size() + 1));
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
    const auto dash = std::from_chars(line.data(), line.data() + line.size(), begin, 16).ptr;
    const auto space = std::from_chars(dash + 1, line.data() + line.size(), end, 16).ptr;
    if (!std::string_view(space, 3).starts_with(" rw")) continue;
    if (begin <= own && own < end) {
      count += occurrencesBetween(memory.get(), begin, own);
      begin = own + piece.size();
    }
    count += occurrencesBetween(memory.get(), begin, end);
  }
  base::wipe(piece.data(), piece.size());
  return count;
}

std::size_t occurrencesInFiles(const std::filesystem::path& folder) {
  std::size_t count = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    if (!entry.is_regular_file()) continue;
    std::ifstream file(entry.path(), std::ios::binary);
    count += occurrences(std::string(std::istreambuf_iterator<char>(file), {}));
  }
  return count;
}

struct UnlockSecrecyTest : testing::Test, tests::UnlockFixture {
  void SetUp() override {
    if (tests::isSanitized) GTEST_SKIP() << "memory is looked through without sanitizers only";
  }
  /// Drives the dialog of a volume; what the module answers does not depend on the password.
  void unlockAndForget(const std::string& bsdName, bool remember) {
    BitLockerUnlock unlock(context(), disk(bsdName), monitor.deviceId(bsdName));
    unlock.enterPassword(password());
    unlock.setRememberCredential(remember);
    EXPECT_GT(occurrencesInMemory(), 0u) << "the test would not find it";
    unlock.submit();
    pass(60);
  }
  std::size_t everywhere() {
    return occurrencesInMemory() + occurrencesInFiles(platform.containers->systemPath("/"));
  }
};

TEST_F(UnlockSecrecyTest, NothingIsLeftOfThePassword) {
  unlockAndForget("disk6s3", false);
  EXPECT_TRUE(disk("disk6s3").isMounted);
  EXPECT_EQ(everywhere(), 0u) << "after a success";
  unlockAndForget("disk5s9", false);
  EXPECT_EQ(everywhere(), 0u) << "after a refusal";
  unlockAndForget("disk6s1", false);
  EXPECT_EQ(everywhere(), 0u) << "after a request that nobody took";
}

TEST_F(UnlockSecrecyTest, ARememberedPasswordIsInTheKeychainAlone) {
  platform.secretStore = std::make_unique<platform::posix::FileSecretStore>(
      platform.containers->systemPath("/keychain"));
  unlockAndForget("disk6s3", true);
  EXPECT_EQ(occurrencesInMemory(), 0u);
  EXPECT_EQ(occurrencesInFiles(platform.containers->systemPath("/")), 1u);
  EXPECT_EQ(occurrencesInFiles(platform.containers->systemPath("/keychain")), 1u);
}

}  // namespace
}  // namespace halvercine::bitlocker
