#include "check/CheckMailbox.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/Json.h"
#include "support/FolderContainers.h"
#include "support/TemporaryFolder.h"

namespace halvercine::check {
namespace {

using testing::ElementsAre;
using namespace std::chrono_literals;

constexpr platform::WallTime now = platform::WallTime(1'760'000'000s + 999ms);

class CheckMailboxTest : public testing::Test {
 protected:
  std::string report(const std::string& disk) const {
    ModuleReport message;
    message.report.ok = true;
    message.report.files_scanned = 7;
    message.diskID = disk;
    return base::encodeJson(message);
  }

  tests::TemporaryFolder folder;
  tests::FolderContainers containers{folder.path()};
  CheckMailbox mailbox = *CheckMailbox::open(containers, "disk4s1");
};

TEST_F(CheckMailboxTest, NamesStayInTheFolder) {
  for (const auto* name : {"", ".", "..", "../disk4s1", "a/b", "/etc/passwd"}) {
    EXPECT_FALSE(CheckMailbox::open(containers, name)) << name;
  }
  EXPECT_FALSE(CheckMailbox::open(containers, std::string_view("disk4\0s1", 8)));
  containers.folder.reset();
  EXPECT_FALSE(CheckMailbox::open(containers, "disk4s1"));
}

TEST_F(CheckMailboxTest, WritesWhatTheModuleExpects) {
  EXPECT_TRUE(mailbox.writeRequest(true, now));
  EXPECT_TRUE(mailbox.writePause(now));
  EXPECT_TRUE(mailbox.writeCancel(now));
  EXPECT_EQ(folder.read("deep-check-disk4s1.json"), R"({"repair":true,"timestamp":1760000000})");
  EXPECT_EQ(folder.read("check-pause-disk4s1.json"), R"({"timestamp":1760000000})");
  EXPECT_EQ(folder.read("check-cancel-disk4s1.json"), R"({"timestamp":1760000000})");
  for (const auto& name : folder.names()) {
    struct stat status {};
    ::stat((folder.path() / name).c_str(), &status);
    EXPECT_EQ(status.st_mode & 0777, 0600) << name;
  }
  EXPECT_TRUE(mailbox.requestWaits());
  folder.write("check-progress-disk4s1.json", "{}");
  folder.write("check-report-disk4s1.json", "{}");
  folder.write("deep-check-disk4s10.json", "another volume's");
  mailbox.clear();
  EXPECT_THAT(folder.names(), ElementsAre("deep-check-disk4s10.json"));
}

TEST_F(CheckMailboxTest, WhatIsNoFrameIsAbsent) {
  const std::string whole = R"({"stage":1,"scanned":2,"total":3,"ts":4.5,"pid":5})";
  const auto file = folder.write("check-progress-disk4s1.json", whole);
  const auto frame = mailbox.readProgress();
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->ts, 4.5);
  for (std::size_t length = 0; length < whole.size(); ++length) {
    folder.write("check-progress-disk4s1.json", whole.substr(0, length));
    EXPECT_FALSE(mailbox.readProgress()) << length;
  }
  folder.write("check-progress-disk4s1.json", whole + std::string(64 * 1024, ' '));
  EXPECT_FALSE(mailbox.readProgress()) << "too large";
  std::filesystem::remove(file);
  std::filesystem::create_symlink(folder.write("elsewhere", whole), file);
  EXPECT_FALSE(mailbox.readProgress()) << "a link";
  std::filesystem::remove(file);
  ASSERT_EQ(::mkfifo(file.c_str(), 0600), 0);
  EXPECT_FALSE(mailbox.readProgress()) << "a pipe";
}

TEST_F(CheckMailboxTest, AcceptsReportsOnThisVolumeOnly) {
  const std::pair<std::string, bool> rows[] = {{report("disk4s1"), true},
                                               {report("unknown"), true},
                                               {report("disk4s2"), false},
                                               {report(""), false},
                                               {report("disk4s1").substr(0, 60), false},
                                               {R"({"diskID":"disk4s1"})", false}};
  for (const auto& [text, isAccepted] : rows) {
    ReportReading reading;
    folder.write("check-report-disk4s1.json", text);
    EXPECT_EQ(mailbox.readReport(reading).has_value(), isAccepted) << text;
    // What was refused is looked at again once it has changed.
    folder.write("check-report-disk4s1.json", report("disk4s1") + " ");
    EXPECT_TRUE(mailbox.readReport(reading)) << text;
  }
}

TEST_F(CheckMailboxTest, AReportOlderThanTheRequestIsAnEarlierRuns) {
  const auto file = folder.write("check-report-disk4s1.json", report("disk4s1"));
  mailbox.writeRequest(false, now);
  ReportReading reading{mailbox.requestTime(), {}};
  const auto setAge = [&](std::chrono::seconds age) {
    const auto time = std::chrono::floor<std::chrono::seconds>(*reading.notBefore - age);
    const timespec stamp{time.time_since_epoch().count(), 0};
    const timespec times[] = {stamp, stamp};
    ASSERT_EQ(::utimensat(AT_FDCWD, file.c_str(), times, 0), 0);
  };
  setAge(5s);
  EXPECT_FALSE(mailbox.readReport(reading));
  setAge(-5s);
  EXPECT_TRUE(mailbox.readReport(reading));
}

TEST_F(CheckMailboxTest, TheSweepSparesTheLiving) {
  const auto living = *CheckMailbox::open(containers, "disk5s1");
  const auto claim = living.claim();
  ASSERT_TRUE(claim);
  EXPECT_FALSE(living.claim()) << "one owner at a time";
  for (const auto& one : {mailbox, living}) {
    one.writeRequest(false, now);
    one.writePause(now);
    one.writeCancel(now);
  }
  folder.write(".check-cancel-disk4s1.json.tmp-5B1C0D7E", "{");
  folder.write(".check-cancel-disk5s1.json.tmp-5B1C0D7E", "{");
  folder.write("bitlocker-unlock-disk4s1.json", "{}");
  folder.write("check-report-disk4s1.json", "{}");
  CheckMailbox::sweepAbandoned(containers);
  EXPECT_THAT(
      folder.names(),
      ElementsAre(".check-cancel-disk5s1.json.tmp-5B1C0D7E", "bitlocker-unlock-disk4s1.json",
                  "check-cancel-disk5s1.json", "check-pause-disk5s1.json",
                  "check-report-disk4s1.json", "deep-check-disk4s1.json.lock",
                  "deep-check-disk5s1.json", "deep-check-disk5s1.json.lock"));
}

}  // namespace
}  // namespace halvercine::check
