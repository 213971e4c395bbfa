#include <chrono>
#include <csignal>
#include <filesystem>
#include <string>
#include <sys/statvfs.h>
#include <thread>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "support/RunningProgram.h"
#include "support/TemporaryFolder.h"
#include "support/runProgram.h"

namespace halvercine {
namespace {

using testing::HasSubstr;
using testing::Not;
using tests::RunningProgram;

tests::ProgramRun speedtest(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), {"--simulate=speeds", "--fast", "speedtest"});
  return tests::runProgram(std::move(arguments));
}

TEST(SpeedtestCommandTest, TheGridTheCurveAndTheCards) {
  const auto run = speedtest({"Archive", "--tier", "fast"});
  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_THAT(run.errors, HasSubstr("536870912 bytes"));
  EXPECT_THAT(run.errors, HasSubstr("/Volumes/Archive"));
  EXPECT_THAT(run.errors, Not(HasSubstr("\r"))) << "progress is for terminals";
  // 8.9 ms for each MiB, one at a time: 117.8 MB/s; 8.0 ms and a little for 4 KiB.
  for (const auto* text :
       {"Fast: Uses a test file", "MB/s", " 118 ", " 125 ", "8004 µs", "\nHard Disk\n",
        "normal for a hard disk", "\nOn Battery Power\n", "\nResults Vary\n"}) {
    EXPECT_THAT(run.output, HasSubstr(text));
  }
  const auto chinese = speedtest({"Archive", "--tier", "fast", "--lang", "zh-Hans"});
  EXPECT_THAT(chinese.output, HasSubstr("机械硬盘"));
}

TEST(SpeedtestCommandTest, JsonHasEverythingAndCanBeCompared) {
  const auto run = speedtest({"Archive", "--tier", "fast", "--json"});
  ASSERT_EQ(run.status, 0) << run.errors;
  const auto document = run.json();
  const auto& result = document.at("result");
  ASSERT_EQ(result.at("results").as_array().size(), 8u);
  EXPECT_EQ(result.at("disk"), "disk5s1");
  EXPECT_EQ(result.at("fileSize"), 536870912);
  EXPECT_EQ(result.at("fileLeft"), false);
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
}

TEST(SpeedtestCommandTest, WhatCannotBeComparedIsRefused) {
  const auto with = [](const std::string& results) {
    return R"({"format": 1, "command": "speedtest", "result": {"tier": "fast", "results": [)" +
           results + "]}}";
  };
  const auto cell = [&with](const std::string& figures) {
    return with(R"({"profile": "seq1mQ8", "direction": "write", )" + figures + "}");
  };
  const std::pair<std::string, std::string> rows[] = {
      {"{", "is not what"},
      {R"({"format": 1, "command": "list", "result": {}})", "is not what"},
      {R"({"format": 1, "command": "list", "error": {"id": "interrupted"}})", "is not what"},
      {R"({"format": 1, "command": "speedtest", "error": {"id": "interrupted"}})", "was stopped"},
      {with(""), "nothing was measured"},
      {cell(R"("mbps": 5e-324, "iops": 1, "avgLatencyUs": 1)"), "is not what"},
      {cell(R"("mbps": 1e300, "iops": 1, "avgLatencyUs": 1)"), "is not what"},
      {cell(R"("mbps": 1, "iops": -1, "avgLatencyUs": 1)"), "is not what"},
      {cell(R"("mbps": 1, "iops": 1, "avgLatencyUs": -1)"), "is not what"},
      {cell(R"("mbps": 1, "iops": 1, "avgLatencyUs": 1, "p99LatencyUs": 1e10)"), "is not what"}};
  const tests::TemporaryFolder folder;
  for (const auto& [text, reason] : rows) {
    const auto file = folder.write("bad.json", text).string();
    const auto run = speedtest({"Archive", "--tier", "fast", "--compare", file});
    EXPECT_EQ(run.status, 2) << text;
    EXPECT_THAT(run.errors, HasSubstr(reason));
  }
  const auto chinese = speedtest({"Archive", "--compare", "/nowhere", "--lang", "zh-Hans"});
  EXPECT_THAT(chinese.errors, HasSubstr("无法读取“/nowhere”"));
  const auto slow =
      folder.write("slow.json", cell(R"("mbps": 0, "iops": 1e-6, "avgLatencyUs": 0)")).string();
  speedtest({"Archive", "--tier", "fast", "--json", "--compare", slow}).json();
}

TEST(SpeedtestCommandTest, ACacheThatRunsFullIsSeen) {
  // 4 channels at 9.35 ms for each MiB: 449 MB/s, and at 42 ms behind the cache: 100 MB/s.
  const auto run = speedtest({"Cached", "--tier", "endurance"});
  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_THAT(run.output, HasSubstr("began at 449 MB/s and fell to 100 MB/s, which is 77% less"));
}

TEST(SpeedtestCommandTest, WhatDoesNotWorkIsSaid) {
  struct Row {
    const char* volume;
    int status;
    const char* id;
  };
  const Row rows[] = {{"Failing", 1, "io-failed"},       {"Full", 1, "insufficient-free"},
                      {"Locked", 1, "open-failed"},      {"Shared", 5, "open-failed"},
                      {"Away", 1, "not-mounted"},        {"nothing", 3, "disk-not-found"},
                      {"/Nowhere", 3, "disk-not-found"}, {"", 3, "disk-not-found"}};
  for (const auto& row : rows) {
    const auto run = speedtest({row.volume, "--tier", "fast", "--json"});
    EXPECT_EQ(run.status, row.status) << row.volume;
    const auto document = run.json();
    const auto& error = document.at("error").as_object();
    EXPECT_EQ(error.at("id"), row.id) << row.volume;
    EXPECT_EQ(error.contains("bytesWritten"), row.id == std::string_view("io-failed"));
  }
  const auto memory = speedtest({"Memory", "--tier", "fast"});
  EXPECT_THAT(memory.output, HasSubstr("page cache could not be switched off"));
  const auto archive = speedtest({"Archive", "--tier", "fast"});
  EXPECT_THAT(archive.output, HasSubstr("blocks of 4 KiB through its page cache"));
  const auto full = speedtest({"Full"});
  EXPECT_THAT(full.errors, Not(HasSubstr("536870912"))) << "nothing is written";
  const auto failing = speedtest({"Failing", "--tier", "fast"});
  EXPECT_THAT(failing.output, HasSubstr("Sequential 1 MiB ×8")) << "what was measured stays";
  const auto chinese = speedtest({"Shared", "--lang", "zh-Hans"});
  EXPECT_THAT(chinese.errors, HasSubstr("没有访问权限"));
}

TEST(SpeedtestCommandTest, WhatIsMountedOverADiskIsNotMeasuredForIt) {
  const tests::TemporaryFolder folder;
  const std::pair<const char*, int> rows[] = {
      {"tmpfs", 1}, {"/dev/disk4s11", 1}, {"/dev/disk4s1", 0}, {"ntfs://disk4s1/DATA", 0}};
  for (const auto& [from, status] : rows) {
    const auto scenario =
        folder.write("scenario.json", R"({"format": 1, "devices": [{"disk": "disk4",
        "volumes": [{"disk": "disk4s1", "name": "DATA", "kind": "ntfs", "mount": {"from": ")" +
                                          std::string(from) + R"("}}]}]})");
    const auto run = tests::runProgram({"--simulate=" + scenario.string(), "--fast", "speedtest",
                                        "disk4s1", "--tier", "fast", "--json"});
    EXPECT_EQ(run.status, status) << from << run.output;
    EXPECT_EQ(run.output.find("not-mounted") != std::string::npos, status != 0) << from;
  }
}

class RealSpeedtest : public testing::Test {
 protected:
  void SetUp() override {
    struct statvfs space {};
    ASSERT_EQ(::statvfs(folder.path().c_str(), &space), 0);
    if (space.f_bavail * space.f_frsize < (1200ULL << 20U)) GTEST_SKIP() << "not enough free space";
  }
  RunningProgram start() const {
    return {RunningProgram::Output::pipe, {"speedtest", folder.path().string(), "--tier", "fast"}};
  }
  template <class Predicate>
  static bool waitUntil(const RunningProgram& test, Predicate isSo) {
    while (test.isRunning()) {
      if (isSo()) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return false;
  }
  /// Until there is a file with something in it.
  bool waitForFile(const RunningProgram& test, std::uintmax_t size = 1'000'000) const {
    return waitUntil(test, [&] {
      for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
        std::error_code error;
        if (entry.file_size(error) >= size && !error) return true;
      }
      return false;
    });
  }
  /// Until it has more workers than filling the file takes, where the system tells.
  static bool waitForMeasuring(const RunningProgram& test) {
    return waitUntil(test, [&] {
      const auto tasks = "/proc/" + std::to_string(test.pid()) + "/task";
      std::error_code error;
      const std::filesystem::directory_iterator threads(tasks, error);
      return error || std::distance(threads, {}) > 8 + 8;
    });
  }

  tests::TemporaryFolder folder;
};

TEST_F(RealSpeedtest, ASignalLeavesNothing) {
  const std::pair<int, int> signals[] = {
      {SIGINT, 130}, {SIGTERM, 130}, {SIGHUP, 129}, {SIGQUIT, 130}};
  for (const auto& [signal, status] : signals) {
    auto test = start();
    ASSERT_TRUE(waitForFile(test));
    test.kill(signal);
    EXPECT_EQ(test.end(), status);
    EXPECT_TRUE(folder.names().empty()) << signal;
  }
  auto measuring = start();
  ASSERT_TRUE(waitForFile(measuring, 512ULL << 20U));
  ASSERT_TRUE(waitForMeasuring(measuring));
  measuring.kill(SIGTERM);
  EXPECT_EQ(measuring.end(), 130);
  EXPECT_TRUE(folder.names().empty());
}

TEST_F(RealSpeedtest, WhatAKilledOneLeftIsSweptByTheNext) {
  auto killed = start();
  ASSERT_TRUE(waitForFile(killed));
  killed.kill(SIGKILL);
  EXPECT_EQ(killed.end(), -SIGKILL);
  ASSERT_EQ(folder.names().size(), 1u);
  const auto left = *folder.names().begin();
  auto next = start();
  EXPECT_TRUE(waitUntil(next, [&] { return !folder.names().contains(left); }));
  next.kill(SIGINT);
  EXPECT_EQ(next.end(), 130);
  EXPECT_TRUE(folder.names().empty());
}

}  // namespace
}  // namespace halvercine
