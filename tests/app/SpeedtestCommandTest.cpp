#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/statvfs.h>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include "base/Json.h"
#include "support/TemporaryFolder.h"
#include "support/runProgram.h"

namespace halvercine {
namespace {

using testing::HasSubstr;

tests::ProgramRun speedtest(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), {"--simulate=speeds", "--fast", "speedtest"});
  return tests::runProgram(std::move(arguments));
}

TEST(SpeedtestCommandTest, TheGridTheCurveAndTheCards) {
  const auto run = speedtest({"Archive", "--tier", "fast"});
  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_THAT(run.errors, HasSubstr("536870912 bytes"));
  EXPECT_THAT(run.errors, HasSubstr("/Volumes/Archive"));
  EXPECT_THAT(run.errors, testing::Not(HasSubstr("\r"))) << "progress is for terminals";
  // 8.9 ms for each MiB, one at a time: 117.8 MB/s; 8.0 ms and a little for 4 KiB.
  for (const auto* text :
       {"Fast: Uses a test file", "118 MB/s", "125 IOPS", "8004 µs", "\nHard Disk\n",
        "normal for a hard disk", "\nOn Battery Power\n", "\nResults Vary\n"}) {
    EXPECT_THAT(run.output, HasSubstr(text));
  }
  const auto chinese = speedtest({"Archive", "--tier", "fast", "--lang", "zh-Hans"});
  EXPECT_THAT(chinese.output, HasSubstr("机械硬盘"));
}

TEST(SpeedtestCommandTest, JsonHasEverythingAndCanBeCompared) {
  const auto run = speedtest({"Archive", "--tier", "fast", "--json"});
  ASSERT_EQ(run.status, 0) << run.errors;
  const auto document = base::parseJson(run.output);
  ASSERT_TRUE(document) << run.output;
  const auto& result = document->at("result");
  ASSERT_EQ(result.at("results").as_array().size(), 8u);
  EXPECT_EQ(result.at("disk"), "disk5s1");
  EXPECT_EQ(result.at("fileSize"), 536870912);
  EXPECT_GE(result.at("writeCurve").as_array().size(), 10u);
  EXPECT_EQ(result.at("environment").at("onBattery"), true);
  EXPECT_EQ(result.at("cards").at(0).at("key"), "speed.verdict.hdd.title");
  for (const auto& cell : result.at("results").as_array()) {
    const auto isRandom = std::string_view(cell.at("profile").as_string()).starts_with("rnd");
    EXPECT_NEAR(cell.at("mbps").to_number<double>() * 1e6,
                cell.at("iops").to_number<double>() * (isRandom ? 4096 : 1048576), 1);
    EXPECT_GE(cell.at("p99LatencyUs").to_number<double>(), 7999);
  }
  const tests::TemporaryFolder folder;
  const auto file = folder.write("earlier.json", run.output).string();
  const auto compared = speedtest({"Archive", "--tier", "fast", "--compare", file});
  EXPECT_EQ(compared.status, 0);
  EXPECT_THAT(compared.output, HasSubstr("+0 %"));
  for (const auto* broken : {"{", R"({"format": 1, "command": "list", "result": {}})"}) {
    const auto bad = folder.write("bad.json", broken).string();
    EXPECT_EQ(speedtest({"Archive", "--compare", bad}).status, 2) << broken;
  }
}

TEST(SpeedtestCommandTest, WhatDoesNotWorkIsSaid) {
  struct Row {
    const char* volume;
    int status;
    const char* id;
  };
  const Row rows[] = {{"Failing", 1, "io-failed"},      {"Full", 1, "insufficient-free"},
                      {"Locked", 1, "open-failed"},     {"Shared", 5, "open-failed"},
                      {"Away", 1, "not-mounted"},       {"nothing", 3, "disk-not-found"},
                      {"/Nowhere", 3, "disk-not-found"}};
  for (const auto& row : rows) {
    const auto run = speedtest({row.volume, "--tier", "fast", "--json"});
    EXPECT_EQ(run.status, row.status) << row.volume;
    const auto document = base::parseJson(run.output);
    ASSERT_TRUE(document) << run.output;
    EXPECT_EQ(document->at("error").at("id"), row.id) << row.volume;
  }
  EXPECT_THAT(speedtest({"Memory", "--tier", "fast"}).errors, HasSubstr("page cache"));
}

/// The program on a real folder, in a process of its own.
class RealTest {
 public:
  explicit RealTest(const std::string& folder) {
    child_ = ::fork();
    if (child_ != 0) return;
    for (const int stream : {0, 1, 2}) ::dup2(::open("/dev/null", O_RDWR), stream);
    ::execl(HALVERCINE_PROGRAM, HALVERCINE_PROGRAM, "speedtest", folder.c_str(), "--tier", "fast",
            static_cast<char*>(nullptr));
    std::_Exit(127);
  }

  void kill(int signal) const { ::kill(child_, signal); }

  /// Its status; the number of the signal below 0 if one ended it.
  int end() const {
    int status = 0;
    ::waitpid(child_, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }

  bool isRunning() const { return ::waitpid(child_, nullptr, WNOHANG) == 0; }

 private:
  pid_t child_ = -1;
};

TEST(SpeedtestCommandTest, ASignalLeavesNothingOnARealFileSystem) {
  const tests::TemporaryFolder folder;
  struct statvfs space {};
  ASSERT_EQ(::statvfs(folder.path().c_str(), &space), 0);
  if (space.f_bavail * space.f_frsize < (1200ULL << 20U)) GTEST_SKIP() << "not enough free space";
  // Until there is a file with something in it.
  const auto waitForFile = [&](const RealTest& test) {
    while (test.isRunning()) {
      for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
        std::error_code error;
        if (entry.file_size(error) > 1'000'000 && !error) return true;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return false;
  };
  for (const auto& [signal, status] : {std::pair(SIGINT, 130), {SIGTERM, 130}, {SIGHUP, 129}}) {
    const RealTest test(folder.path().string());
    ASSERT_TRUE(waitForFile(test));
    test.kill(signal);
    EXPECT_EQ(test.end(), status);
    EXPECT_TRUE(folder.names().empty()) << signal;
  }
  const RealTest killed(folder.path().string());
  ASSERT_TRUE(waitForFile(killed));
  killed.kill(SIGKILL);
  EXPECT_EQ(killed.end(), -SIGKILL);
  ASSERT_EQ(folder.names().size(), 1u);
  const auto left = *folder.names().begin();
  const RealTest next(folder.path().string());
  while (next.isRunning() && folder.names().contains(left)) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  next.kill(SIGINT);
  EXPECT_EQ(next.end(), 130);
  EXPECT_TRUE(folder.names().empty());
}

}  // namespace
}  // namespace halvercine
