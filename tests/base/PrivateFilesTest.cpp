#include "base/PrivateFiles.h"

#include <fcntl.h>
#include <functional>
#include <limits>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <gtest/gtest.h>

#include "base/FileLock.h"
#include "base/UniqueFd.h"
#include "support/TemporaryFolder.h"

namespace halvercine::base {
namespace {

namespace fs = std::filesystem;
using tests::TemporaryFolder;

mode_t modeOf(const fs::path& path) {
  struct stat status {};
  EXPECT_EQ(::lstat(path.c_str(), &status), 0);
  return status.st_mode & 07777;
}

/// Runs `body` in a process of its own and answers its exit status.
int inChild(const std::function<int()>& body) {
  const auto child = ::fork();
  if (child == 0) ::_exit(body());
  int status = -1;
  EXPECT_EQ(::waitpid(child, &status, 0), child);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

/// The widest permissions by default, to see that none depend on the caller's mask.
class PrivateFilesTest : public testing::Test {
 protected:
  PrivateFilesTest() : mask_(::umask(0)) {}
  ~PrivateFilesTest() override { ::umask(mask_); }

  TemporaryFolder folder;
  const fs::path path = folder.path() / "file.json";

 private:
  mode_t mask_;
};

TEST_F(PrivateFilesTest, namesThatLeaveTheirFolderAreRefused) {
  for (const std::string_view name : {"a", "a.json", "...", ".a", "-", "a b"}) {
    EXPECT_TRUE(isPlainFileName(name)) << name;
  }
  for (const std::string_view name :
       {std::string_view(""), std::string_view("."), std::string_view(".."),
        std::string_view("a/b"), std::string_view("/"), std::string_view("a\0b", 3)}) {
    EXPECT_FALSE(isPlainFileName(name)) << name;
  }
}

TEST_F(PrivateFilesTest, foldersArePrivateAndThoseOfOthersLeftAlone) {
  fs::create_directory(folder.path() / "old");
  const auto oldMode = modeOf(folder.path() / "old");
  EXPECT_FALSE(makePrivateDirectory(folder.path() / "old/new/newer/"));
  EXPECT_FALSE(makePrivateDirectory(folder.path() / "old/new/newer"));
  EXPECT_EQ(modeOf(folder.path() / "old"), oldMode);
  EXPECT_EQ(modeOf(folder.path() / "old/new"), 0700U);
  EXPECT_EQ(modeOf(folder.path() / "old/new/newer"), 0700U);
  folder.write("file", "");
  EXPECT_TRUE(makePrivateDirectory(folder.path() / "file"));
  EXPECT_TRUE(makePrivateDirectory(folder.path() / "file/below"));
  EXPECT_TRUE(makePrivateDirectory(""));
}

TEST_F(PrivateFilesTest, replacesInOneStepAndPrivately) {
  EXPECT_FALSE(replacePrivateFile(path, "first"));
  EXPECT_EQ(modeOf(path), 0600U);
  ::chmod(path.c_str(), 0644);
  const UniqueFd reader(::open(path.c_str(), O_RDONLY));
  const std::string content("second\0with zero", 16);
  EXPECT_FALSE(replacePrivateFile(path, content));
  EXPECT_EQ(readRegularFile(path, 100), content);
  EXPECT_EQ(modeOf(path), 0600U);
  char old[6] = {};
  EXPECT_EQ(::read(reader.get(), old, 5), 5) << "who has the old file open keeps it";
  EXPECT_STREQ(old, "first");
  EXPECT_EQ(folder.names(), std::set<std::string>{"file.json"});
}

TEST_F(PrivateFilesTest, keepsThePermissionsOfTheReplacedFileWhereWanted) {
  EXPECT_FALSE(replaceFileKeepingMode(path, "first"));
  EXPECT_EQ(modeOf(path), 0600U);
  ::chmod(path.c_str(), 0644);
  EXPECT_FALSE(replaceFileKeepingMode(path, "second"));
  EXPECT_EQ(modeOf(path), 0644U);
}

TEST_F(PrivateFilesTest, aLinkIsReplacedAndNotFollowed) {
  const auto target = folder.write("target", "untouched");
  fs::create_symlink(target, path);
  EXPECT_FALSE(replacePrivateFile(path, "mine"));
  EXPECT_FALSE(fs::is_symlink(path));
  EXPECT_EQ(folder.read("target"), "untouched");
}

TEST_F(PrivateFilesTest, aFailureLeavesTheOldFileAndNoTemporary) {
  fs::create_directories(path / "content");  // a folder cannot be replaced by a file
  EXPECT_TRUE(replacePrivateFile(path, "mine"));
  EXPECT_EQ(folder.names(), std::set<std::string>{"file.json"});
  EXPECT_EQ(replacePrivateFile(folder.path() / "missing/file", "x"),
            std::errc::no_such_file_or_directory);

  const auto full = folder.write("full", "old");
  EXPECT_EQ(inChild([&full] {
              ::signal(SIGXFSZ, SIG_IGN);
              const rlimit limit{1000, 1000};
              ::setrlimit(RLIMIT_FSIZE, &limit);
              return replacePrivateFile(full, std::string(5000, 'x')) == std::errc::file_too_large
                         ? 0
                         : 1;
            }),
            0);
  EXPECT_EQ(folder.read("full"), "old");
  EXPECT_EQ(folder.names(), (std::set<std::string>{"file.json", "full"}));
}

TEST_F(PrivateFilesTest, readsRegularFilesUpToTheLimit) {
  folder.write("file.json", "12345");
  EXPECT_EQ(readRegularFile(path, 5), "12345");
  EXPECT_EQ(readRegularFile(path, std::numeric_limits<std::size_t>::max()), "12345");
  EXPECT_EQ(readRegularFile(path, 4).error(), std::errc::file_too_large);
  folder.write("empty", "");
  EXPECT_EQ(readRegularFile(folder.path() / "empty", 0), "");
  EXPECT_EQ(readRegularFile(folder.path() / "missing", 9).error(),
            std::errc::no_such_file_or_directory);
}

TEST_F(PrivateFilesTest, whatIsNoRegularFileIsRefusedWithoutWaiting) {
  const auto target = folder.write("target", "x");
  fs::create_symlink(target, folder.path() / "link");
  fs::create_directory(folder.path() / "folder");
  ASSERT_EQ(::mkfifo((folder.path() / "pipe").c_str(), 0600), 0);
  for (const auto& name : {folder.path() / "link", folder.path() / "folder", folder.path() / "pipe",
                           fs::path("/dev/zero")}) {
    EXPECT_FALSE(readRegularFile(name, 100)) << name;
  }
}

#ifdef __linux__
TEST_F(PrivateFilesTest, filesThatAreLargerThanTheySayAreReadToTheEndOrTheLimit) {
  const auto whole = readRegularFile("/proc/self/maps", 10'000'000);  // says that it is empty
  ASSERT_TRUE(whole);
  EXPECT_TRUE(whole->ends_with('\n'));
  EXPECT_EQ(readRegularFile("/proc/self/maps", 100).error(), std::errc::file_too_large);
}
#endif

TEST_F(PrivateFilesTest, aLockIsHonouredByOtherProcessesAndReleasedWithItsHolder) {
  const auto takesIt = [this] { return FileLock::tryTake(path) ? 0 : 1; };
  {
    const auto lock = FileLock::tryTake(path);
    ASSERT_TRUE(lock);
    EXPECT_EQ(modeOf(path), 0600U);
    EXPECT_EQ(inChild(takesIt), 1);
    EXPECT_FALSE(FileLock::tryTake(path)) << "nor does the holder get it twice";
  }
  EXPECT_EQ(inChild(takesIt), 0);
  EXPECT_TRUE(FileLock::tryTake(path));
  EXPECT_TRUE(fs::exists(path));
}

TEST_F(PrivateFilesTest, aLockIsNoLinkAndNoFolder) {
  const auto target = folder.write("target", "");
  fs::create_symlink(target, path);
  EXPECT_FALSE(FileLock::tryTake(path));
  EXPECT_FALSE(FileLock::tryTake(folder.path()));
  EXPECT_FALSE(FileLock::tryTake(folder.path() / "missing/lock"));
}

bool isOpen(int fd) { return ::fcntl(fd, F_GETFD) >= 0; }

TEST(UniqueFdTest, closesExactlyOnce) {
  int pipe[2];
  ASSERT_EQ(::pipe(pipe), 0);
  {
    UniqueFd first(pipe[0]);
    UniqueFd second(std::move(first));
    EXPECT_FALSE(first);
    first = UniqueFd(pipe[1]);
    second = std::move(first);
    EXPECT_EQ(second.get(), pipe[1]);
  }
  EXPECT_FALSE(isOpen(pipe[0]));
  EXPECT_FALSE(isOpen(pipe[1]));
  ASSERT_EQ(::pipe(pipe), 0);
  EXPECT_EQ(UniqueFd(pipe[0]).release(), pipe[0]);
  EXPECT_TRUE(isOpen(pipe[0]));
  ::close(pipe[0]);
  ::close(pipe[1]);
}

TEST_F(PrivateFilesTest, RemovesOnlyWhatItWasAskedAbout) {
  struct Row {
    bool isUnwanted;
    bool isReplacedMeanwhile;
    std::string left;  // or nothing
  };
  for (const auto& row : {Row{true, false, ""}, Row{true, true, "newer"},
                          Row{false, false, "older"}, Row{false, true, "newer"}}) {
    folder.write("file.json", "older");
    removeFileIf(path, [&](const std::filesystem::path& aside) {
      EXPECT_EQ(readRegularFile(aside, 100), "older");
      if (row.isReplacedMeanwhile) folder.write("file.json", "newer");
      return row.isUnwanted;
    });
    EXPECT_EQ(readRegularFile(path, 100).value_or(""), row.left);
    EXPECT_LE(folder.names().size(), 1u) << "nothing is left beside it";
    std::filesystem::remove(path);
  }
  removeFileIf(path, [](const fs::path&) { return ADD_FAILURE() << "nothing is there", true; });
}

}  // namespace
}  // namespace halvercine::base
