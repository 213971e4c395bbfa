#include "platform/linux/directIo.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <linux/magic.h>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "base/UniqueFd.h"

namespace halvercine::platform::gnulinux {
namespace {

/// A new file in `folder` that has lost its name already.
base::UniqueFd newFile(const std::string& folder) {
  auto name = folder + "/halvercine-test-XXXXXX";
  base::UniqueFd file(::mkstemp(name.data()));
  if (file) ::unlink(name.c_str());
  return file;
}

bool isDirect(int file) { return (::fcntl(file, F_GETFL) & O_DIRECT) != 0; }

bool isEmpty(int file) {
  struct stat status {};
  return ::fstat(file, &status) == 0 && status.st_size == 0;
}

TEST(DirectIoTest, TheFlagIsWhatIsAnswered) {
  // Of a disk or not: whatever is answered, the descriptor is so and the file is empty.
  for (const auto* folder : {"/dev/shm", "/var/tmp"}) {
    SCOPED_TRACE(folder);
    const auto file = newFile(folder);
    if (!file) continue;
    const auto caching = switchCachingOff(file.get());
    EXPECT_EQ(isDirect(file.get()), caching.pageCache == PageCache::off);
    EXPECT_GE(caching.bufferAlignment, 1u);
    EXPECT_TRUE(isEmpty(file.get()));
    struct statfs status {};
    if (::fstatfs(file.get(), &status) == 0 && status.f_type == TMPFS_MAGIC) {
      EXPECT_EQ(caching.pageCache, PageCache::on) << "memory is its cache";
    }
  }
}

TEST(DirectIoTest, AProbeThatComesShortIsARefusal) {
  const auto file = newFile("/var/tmp");
  if (!file || switchCachingOff(file.get()).pageCache == PageCache::on)
    GTEST_SKIP() << "no direct I/O here";
  ASSERT_EQ(::fcntl(file.get(), F_SETFL, 0), 0);
  // No file of this process may have a whole block.
  rlimit before{};
  ::getrlimit(RLIMIT_FSIZE, &before);
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  const rlimit small{1024, before.rlim_max};
  ::setrlimit(RLIMIT_FSIZE, &small);
  const auto caching = switchCachingOff(file.get());
  ::setrlimit(RLIMIT_FSIZE, &before);
  std::signal(SIGXFSZ, handler);
  EXPECT_NE(caching.pageCache, PageCache::off);
  EXPECT_FALSE(isDirect(file.get())) << "the flag is as it was";
  EXPECT_TRUE(isEmpty(file.get()));
}

}  // namespace
}  // namespace halvercine::platform::gnulinux
