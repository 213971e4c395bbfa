// After an unlock the password is nowhere any more: neither in this process's memory nor in a file.
#include <algorithm>
#include <cstdint>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "base/UniqueFd.h"
#include "bitlocker/UnlockFixture.h"
#include "bitlocker/unlock/BitLockerUnlock.h"
#include "platform/posix/FileSecretStore.h"

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

std::size_t occurrences(const std::string& bytes) {
  std::size_t count = 0;
  const auto isSame = [](unsigned char hidden, char byte) {
    return (hidden ^ mask) == static_cast<unsigned char>(byte);
  };
  constexpr char first = disguised[0] ^ mask;
  for (auto at = bytes.find(first); at != std::string::npos && at + size <= bytes.size();
       at = bytes.find(first, at + 1)) {
    if (std::equal(std::begin(disguised), std::end(disguised), bytes.data() + at, isSame)) ++count;
  }
  return count;
}

/// In everything that this process can write to, which is where data is.
std::size_t occurrencesInMemory() {
  std::size_t count = 0;
  const base::UniqueFd memory(::open("/proc/self/mem", O_RDONLY));
  std::ifstream maps("/proc/self/maps");
  std::vector<std::string> lines;
  for (std::string line; std::getline(maps, line);) lines.push_back(line);
  for (const auto& line : lines) {
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
    char dash = 0;
    std::string rights;
    std::istringstream(line) >> std::hex >> begin >> dash >> end >> rights;
    if (!rights.starts_with("rw")) continue;
    std::string bytes(end - begin, '\0');
    const auto got = ::pread(memory.get(), bytes.data(), bytes.size(), static_cast<off_t>(begin));
    if (got > 0) count += occurrences(bytes);
    base::wipe(bytes);
  }
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
