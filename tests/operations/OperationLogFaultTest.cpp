// Full disks and processes that are killed: what the log must survive.
#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <random>
#include <set>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include "operations/OperationLogFixture.h"

namespace halvercine::operations {
namespace {

using testing::ElementsAre;

/// No file of this process grows beyond `bytes`: a write that would is cut short, the next fails,
/// as on a full disk.
class FullDisk {
 public:
  explicit FullDisk(std::size_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
    ::getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit limit{static_cast<rlim_t>(bytes), before_.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FullDisk() {
    ::setrlimit(RLIMIT_FSIZE, &before_);
    std::signal(SIGXFSZ, handler_);
  }

 private:
  rlimit before_{};
  void (*handler_)(int);
};

class OperationLogFaultTest : public tests::OperationLogFixture {};

TEST_F(OperationLogFaultTest, aFullDiskCostsNothingOnceThereIsRoomAgain) {
  write(lines(3));
  const auto before = text();
  auto log = open();
  {
    const FullDisk disk(before.size() + 20);
    log.add("check", "a");
    log.add("check", "b");
  }
  EXPECT_EQ(text().substr(0, before.size()), before);
  EXPECT_THAT(stored(), ElementsAre("1", "2", "3"));
  EXPECT_EQ(log.entries().size(), 5u);
  clock.advanceBy(std::chrono::seconds(1));
  open().add("check", "other");
  log.add("check", "c");
  EXPECT_THAT(stored(), ElementsAre("1", "2", "3", "a", "b", "other", "c"));
}

TEST_F(OperationLogFaultTest, aFullDiskLeavesTheFullFileWhole) {
  write(lines(2000));
  const auto before = text();
  auto log = open();
  {
    const FullDisk disk(before.size());
    log.add("check", std::string(1000, 'a'));
    EXPECT_EQ(text(), before);
  }
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(path.parent_path()), {}), 2)
      << "the log and its lock";
  log.add("check", "b");
  EXPECT_EQ(stored().size(), 2000u);
  EXPECT_EQ(stored()[1998], std::string(1000, 'a'));
}

TEST_F(OperationLogFaultTest, whatAKilledProcessLeftIsSweptAtTheStart) {
  write(lines(1));
  const auto left = folder.write("Halvercine/.operation-log.jsonl.tmp-1234", "x");
  const auto others = folder.write("Halvercine/.other.tmp-1234", "x");
  open();
  EXPECT_FALSE(std::filesystem::exists(left));
  EXPECT_TRUE(std::filesystem::exists(others));
}

/// Processes that add entries without end and say which ones they have added.
class Writers {
 public:
  Writers(OperationLogFaultTest& test, int round, int count) {
    EXPECT_EQ(::pipe(pipe_), 0);
    for (int number = 0; number < count; ++number) {
      const pid_t child = ::fork();
      if (child == 0) addForever(test, std::to_string(round) + "." + std::to_string(number) + ".");
      children_.push_back(child);
    }
    ::close(pipe_[1]);
  }
  ~Writers() { ::close(pipe_[0]); }

  /// Waits for so many additions, then kills them one after another; answers all that were said.
  std::set<std::string> killAfter(int additions, std::minstd_rand& random) {
    std::set<std::string> added;
    for (int number = 0; number < additions; ++number) added.insert(next());
    for (const auto child : children_) {
      ::usleep(random() % 3000);
      ::kill(child, SIGKILL);
      ::waitpid(child, nullptr, 0);
    }
    for (auto message = next(); !message.empty(); message = next()) added.insert(message);
    return added;
  }

 private:
  static constexpr std::size_t recordSize = 32;

  [[noreturn]] void addForever(OperationLogFaultTest& test, const std::string& prefix) {
    OperationLog log(test.containers, test.clock);
    for (int number = 0;; ++number) {
      auto message = prefix + std::to_string(number);
      log.add("check", message);
      message.resize(recordSize);
      if (::write(pipe_[1], message.data(), recordSize) != recordSize) ::_exit(1);
    }
  }

  /// Empty when there is none any more.
  std::string next() {
    char record[recordSize + 1] = {};
    return ::read(pipe_[0], record, recordSize) == recordSize ? record : "";
  }

  int pipe_[2] = {-1, -1};
  std::vector<pid_t> children_;
};

/// HALVERCINE_KILLS says how often, two processes each time: 500 take about a minute. Without it
/// few times, for every test run.
int rounds() {
  const char* const wish = std::getenv("HALVERCINE_KILLS");
  return wish ? std::atoi(wish) : 12;
}

TEST_F(OperationLogFaultTest, killedProcessesLoseAndDoubleNothing) {
  std::minstd_rand random(4711);
  write(lines(2000));
  for (int round = 0; round < rounds(); ++round) {
    const bool isFull = round % 2 == 0;
    if (!isFull) write(lines(10));
    const auto before = stored();
    const auto added =
        Writers(*this, round, 2).killAfter(static_cast<int>(random() % (isFull ? 6 : 60)), random);

    const auto after = stored();
    const std::set<std::string> present(after.begin(), after.end());
    ASSERT_EQ(present.size(), after.size()) << "doubled in round " << round;
    ASSERT_TRUE(std::includes(present.begin(), present.end(), added.begin(), added.end()))
        << "lost in round " << round;
    // Behind the old entries, of which the oldest alone may have gone, are the new ones.
    const auto prefix = std::to_string(round) + ".";
    const auto isNew = [&](const std::string& message) { return message.starts_with(prefix); };
    const auto firstNew = std::find_if(after.begin(), after.end(), isNew);
    ASSERT_TRUE(std::all_of(firstNew, after.end(), isNew));
    const auto old = std::distance(after.begin(), firstNew);
    ASSERT_TRUE(std::equal(after.begin(), firstNew, before.end() - old, before.end()));
    ASSERT_GE(after.size(), std::min(OperationLog::limit, before.size() + added.size()));
    ASSERT_EQ(open().entries().size(), std::min(OperationLog::limit, after.size()));
    write(lines(2000));
  }
}

}  // namespace
}  // namespace halvercine::operations
