#include "platform/posix/PosixUncachedFiles.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <set>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "base/UniqueFd.h"
#include "support/TemporaryFolder.h"

namespace halvercine::platform::posix {
namespace {

namespace fs = std::filesystem;

constexpr const char* prefix = ".test.";

Caching leaveOn(int) { return {}; }

class PosixUncachedFilesTest : public testing::Test {
 protected:
  std::string folder() const { return folder_.path().string(); }
  std::set<std::string> names() const { return folder_.names(); }

  tests::TemporaryFolder folder_;
  PosixUncachedFiles files_{leaveOn};
};

TEST_F(PosixUncachedFilesTest, AFileIsNewPrivateAndRemovedByItself) {
  auto file = files_.create(folder(), "new");
  ASSERT_TRUE(file);
  struct stat status {};
  ASSERT_EQ(::stat((folder_.path() / "new").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0600u);
  const std::array<std::byte, 3> data{std::byte{1}, std::byte{2}, std::byte{3}};
  EXPECT_EQ((*file)->write(data, 5), 3);
  std::array<std::byte, 4> read{};
  EXPECT_EQ((*file)->read(read, 6), 2) << "a short transfer is told as it is";
  EXPECT_EQ(read[1], std::byte{3});
  EXPECT_EQ((*file)->read(read, 100), 0);
  EXPECT_EQ((*file)->remove(), 0);
  EXPECT_EQ((*file)->remove(), 0);
  EXPECT_TRUE(names().empty());
}

TEST_F(PosixUncachedFilesTest, WhatIsThereIsNeverOpened) {
  folder_.write("taken", "precious");
  fs::create_symlink(folder_.path() / "elsewhere", folder_.path() / "link");
  for (const auto& [name, error] :
       {std::pair("taken", EEXIST), {"link", EEXIST}, {"../up", EINVAL}}) {
    const auto file = files_.create(folder(), name);
    ASSERT_FALSE(file);
    EXPECT_EQ(file.error(), error) << name;
  }
  EXPECT_EQ(files_.create(folder() + "/nowhere", "x").error(), ENOENT);
  EXPECT_EQ(folder_.read("taken"), "precious");
  EXPECT_FALSE(fs::exists(folder_.path() / "elsewhere"));
}

TEST_F(PosixUncachedFilesTest, WhatTookTheNameOfTheFileStays) {
  auto file = files_.create(folder(), "name");
  ASSERT_TRUE(file);
  fs::rename(folder_.path() / "name", folder_.path() / "moved");
  folder_.write("name", "somebody else's");
  EXPECT_EQ((*file)->remove(), 0);
  EXPECT_EQ(folder_.read("name"), "somebody else's");
}

TEST_F(PosixUncachedFilesTest, AFileThatIsDroppedGoes) {
  files_.create(folder(), "dropped")->reset();
  EXPECT_TRUE(names().empty());
}

TEST_F(PosixUncachedFilesTest, AFileThatCannotBeRemovedIsSaidAndTriedAgain) {
  auto file = files_.create(folder(), "name");
  ASSERT_TRUE(file);
  // Nobody but root may look into a folder without rights.
  fs::permissions(folder_.path(), fs::perms::none);
  const auto user = ::geteuid();
  ASSERT_EQ(user == 0 ? ::seteuid(65534) : 0, 0);
  const int error = (*file)->remove();
  ASSERT_EQ(user == 0 ? ::seteuid(0) : 0, 0);
  fs::permissions(folder_.path(), fs::perms::owner_all);
  EXPECT_EQ(error, EACCES);
  EXPECT_TRUE(names().contains("name"));
  EXPECT_EQ((*file)->remove(), 0);
  EXPECT_TRUE(names().empty());
}

TEST_F(PosixUncachedFilesTest, WhatAnotherUserLeftStays) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can give files away";
  const auto name = prefix + std::string("0C5B9A3E-52D5-4E0C-8C34-6F1D0E0A7B17");
  folder_.write(name, "somebody else's");
  ASSERT_EQ(::chown((folder_.path() / name).c_str(), 65534, 65534), 0);
  files_.removeAbandoned(folder(), prefix);
  EXPECT_EQ(names(), std::set<std::string>{name});
}

TEST_F(PosixUncachedFilesTest, OnlyWhatAKilledProcessLeftIsRemoved) {
  const std::string uuid = "0C5B9A3E-52D5-4E0C-8C34-6F1D0E0A7B1";
  const auto inUse = files_.create(folder(), prefix + uuid + "1");
  ASSERT_TRUE(inUse);
  folder_.write(prefix + uuid + "2", "left");
  folder_.write(prefix + uuid, "a digit is missing");
  folder_.write(prefix + uuid + "2.txt", "the user's");
  folder_.write("2" + uuid, "no prefix");
  folder_.write("two", "names");
  fs::create_hard_link(folder_.path() / "two", folder_.path() / (prefix + uuid + "3"));
  fs::create_symlink(folder_.path() / "two", folder_.path() / (prefix + uuid + "4"));
  fs::create_directory(folder_.path() / (prefix + uuid + "5"));
  ::mkfifo((folder_.path() / (prefix + uuid + "6")).c_str(), 0600);
  auto expected = names();
  expected.erase(prefix + uuid + "2");
  files_.removeAbandoned(folder(), prefix);
  EXPECT_EQ(names(), expected);
}

}  // namespace
}  // namespace halvercine::platform::posix
