#include "operations/OperationLog.h"

#include <cstdlib>
#include <fstream>
#include <functional>

#include <gmock/gmock.h>

#include "base/FileLock.h"
#include "operations/OperationLogFixture.h"
#include "operations/logText.h"

namespace halvercine::operations {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;
using tests::modeOf;

class OperationLogTest : public tests::OperationLogFixture {
 protected:
  OperationLogTest() : mask_(::umask(0)) {}
  ~OperationLogTest() override { ::umask(mask_); }

 private:
  mode_t mask_;  // the widest permissions by default, to see that none depend on it
};

TEST_F(OperationLogTest, entriesAreLinesOfAPrivateFileOldestFirst) {
  auto log = open();
  EXPECT_EQ(log.fileURL(), path);
  EXPECT_THAT(folder.names(), ElementsAre("Halvercine"));
  EXPECT_FALSE(fs::exists(path));
  int changes = 0;
  log.changed.connect([&changes] { ++changes; });
  log.add("check", "one");
  clock.advanceBy(std::chrono::milliseconds(1500));
  log.add("repair", "检查“2”");
  EXPECT_EQ(changes, 2);
  EXPECT_THAT(messages(log), ElementsAre("检查“2”", "one"));
  EXPECT_THAT(
      text(),
      MatchesRegex(
          "\\{\"id\":\"[0-9A-F]{8}-([0-9A-F]{4}-){3}[0-9A-F]{12}\",\"time\":[0-9.E]+,"
          "\"category\":\"check\",\"message\":\"one\"\\}\n"
          "\\{\"id\":\"[0-9A-F-]{36}\",\"time\":[0-9.E]+,\"category\":\"repair\",\"message\":"
          "\"检查“2”\"\\}\n"));
  EXPECT_EQ(log.entries()[1].time, 794'048'700);
  EXPECT_EQ(log.entries()[0].time, 794'048'701.5);
  EXPECT_EQ(modeOf(path), 0600u);
  EXPECT_EQ(modeOf(path.parent_path()), 0700u);
  EXPECT_EQ(open().entries(), log.entries());
}

TEST_F(OperationLogTest, whatIsWideAlreadyIsClosed) {
  write(lines(1));
  fs::permissions(path.parent_path(), fs::perms::all);
  fs::permissions(path, fs::perms::all);
  EXPECT_EQ(open().entries().size(), 1u);
  EXPECT_EQ(modeOf(path), 0600u);
  EXPECT_EQ(modeOf(path.parent_path()), 0700u);
}

TEST_F(OperationLogTest, readsEveryLineThatIsAnEntry) {
  const auto a = line(1, "a");
  const auto b = line(2, "b");
  auto lower = line(10, "lower");
  lower.replace(lower.find("4967D63B"), 8, "4967d63b");
  const struct {
    const char* name;
    std::string text;
    std::vector<std::string> messages;  // newest first
  } cases[] = {
      {"empty", "", {}},
      {"no line feed at the end", a + "\n" + b, {"b", "a"}},
      {"damage in the middle", a + "\n{\"id\":\n" + b + "\n", {"b", "a"}},
      {"empty lines and carriage returns", "\n\n" + a + "\r\n\n" + b + "\r\n", {"b", "a"}},
      {"zero bytes", a + "\n" + std::string(100'000, '\0') + "\n" + b, {"b", "a"}},
      {"invalid UTF-8", a + "\n" + line(3, "\xff") + "\n" + b, {"b", "a"}},
      {"a giant line", a + "\n" + line(3, std::string(1'000'000, 'x')) + "\n" + b, {"b", "a"}},
      {"twice the same", a + "\n" + b + "\n" + a + "\n", {"a", "b"}},
      {"an ID in small letters", lower, {"lower"}},
      {"no UUID", "{\"id\":\"1\",\"time\":1,\"category\":\"\",\"message\":\"\"}", {}},
      {"another type", "{\"id\":1,\"time\":\"1\",\"category\":\"\",\"message\":\"\"}\n[]\n1", {}},
  };
  for (const auto& [name, text, expected] : cases) {
    write(text);
    EXPECT_EQ(messages(open()), expected) << name;
    EXPECT_EQ(this->text(), text) << name << ": reading changes nothing";
  }
}

TEST_F(OperationLogTest, aLineThatWasCutOffStaysAlone) {
  write(line(1, "a") + "\n{\"id\":\"49");
  auto log = open();
  log.add("check", "b");
  log.add("check", "c");
  EXPECT_THAT(stored(), ElementsAre("a", "b", "c"));
  write(line(1, "whole"));
  log.add("check", "d");
  EXPECT_THAT(stored(), ElementsAre("whole", "d"));
}

TEST_F(OperationLogTest, theNewest2000AreKept) {
  write(lines(1999));
  auto log = open();
  log.add("check", "2000");
  EXPECT_EQ(stored().front(), "1") << "full, but not too full";
  log.add("check", "2001");
  const auto kept = stored();
  ASSERT_EQ(kept.size(), 2000u);
  EXPECT_EQ(kept.front(), "2");
  EXPECT_EQ(kept.back(), "2001");
  const auto whole = text();
  EXPECT_EQ(std::count(whole.begin(), whole.end(), '\n'), 2000);
  EXPECT_EQ(messages(log), std::vector(kept.rbegin(), kept.rend()));
  EXPECT_EQ(modeOf(path), 0600u);
  write(lines(2500));
  EXPECT_EQ(messages(open()).front(), "2500");
  EXPECT_EQ(messages(open()).size(), 2000u);
}

TEST_F(OperationLogTest, clearingDeletesTheFileAndTheNextEntryMakesAFreshOne) {
  write(lines(3));
  auto log = open();
  EXPECT_FALSE(log.clear());
  EXPECT_THAT(log.entries(), IsEmpty());
  EXPECT_FALSE(fs::exists(path));
  EXPECT_FALSE(log.clear()) << "a missing file is fine";
  log.add("check", "new");
  EXPECT_THAT(stored(), ElementsAre("new"));
  EXPECT_EQ(modeOf(path), 0600u);
}

TEST_F(OperationLogTest, processesSeeAndKeepEachOthersEntries) {
  write(lines(1998));
  auto resident = open();
  auto other = open();
  other.add("takeover", "other 1");
  resident.add("check", "mine 1");
  resident.add("check", "mine 2");
  EXPECT_EQ(stored().size(), 2001u) << "neither knows of more than 2,000";
  other.add("takeover", "other 2");
  resident.add("check", "mine 3");
  const auto kept = stored();
  ASSERT_EQ(kept.size(), 2000u);
  EXPECT_THAT(std::vector(kept.end() - 5, kept.end()),
              ElementsAre("other 1", "mine 1", "mine 2", "other 2", "mine 3"));
  EXPECT_EQ(kept.front(), "4");
  EXPECT_EQ(messages(resident), std::vector(kept.rbegin(), kept.rend()));
}

TEST_F(OperationLogTest, whatAnotherProcessClearedDoesNotComeBack) {
  write(lines(1999));
  auto resident = open();
  EXPECT_FALSE(open().clear());
  for (const char* message : {"a", "b", "c"}) resident.add("check", message);
  EXPECT_THAT(messages(resident), ElementsAre("c", "b", "a"));
  EXPECT_THAT(stored(), ElementsAre("a", "b", "c"));
}

TEST_F(OperationLogTest, whatSomebodyTookOutOfTheFileComesBackWithTheNextRewrite) {
  write(lines(2000));
  auto log = open();
  fs::remove(path);
  log.add("check", "new");
  const auto kept = stored();
  ASSERT_EQ(kept.size(), 2000u);
  EXPECT_EQ(kept.front(), "2");
  EXPECT_EQ(kept.back(), "new");
}

TEST_F(OperationLogTest, withoutTheLockEntriesAreAddedAndTheTrimWaits) {
  write(lines(2000));
  auto log = open();
  {
    const auto lock = base::FileLock::tryTake(path.string() + ".lock");
    ASSERT_TRUE(lock);
    log.add("check", "a");
    EXPECT_EQ(stored().size(), 2001u);
  }
  log.add("check", "b");
  EXPECT_EQ(stored().size(), 2000u);
  EXPECT_EQ(stored()[1998], "a");
  {
    const auto lock = base::FileLock::tryTake(path.string() + ".lock");
    EXPECT_EQ(log.clear(), std::errc::resource_unavailable_try_again);
    EXPECT_EQ(stored().size(), 2000u);
  }
  log.add("check", "c");
  EXPECT_THAT(stored(), ElementsAre("c")) << "the clearing is made up for";
}

TEST_F(OperationLogTest, aLineThatComesWithoutTheLockDuringARewriteIsCarriedOver) {
  write(lines(3) + "{\"cut");
  const auto file = OperationLogFile::prepare(containers, std::chrono::milliseconds(0));
  const auto content = file->read(OperationLog::limit);
  ASSERT_TRUE(file->append(line(4, "late") + "\n", false));
  ASSERT_TRUE(file->replace(lines(2), content.state));
  EXPECT_THAT(stored(), ElementsAre("1", "2", "late"));
  EXPECT_EQ(modeOf(path), 0600u);
}

TEST_F(OperationLogTest, whatIsNoRegularFileIsNeitherReadNorFollowedButReplaced) {
  const auto victim = folder.write("victim", "untouched");
  const struct {
    const char* name;
    std::function<void()> make;
  } cases[] = {
      {"link", [&] { fs::create_symlink(victim, path); }},
      {"link to nothing", [&] { fs::create_symlink(folder.path() / "nothing", path); }},
      {"pipe", [&] { ::mkfifo(path.c_str(), 0600); }},
  };
  for (const auto& [name, make] : cases) {
    fs::create_directories(path.parent_path());
    fs::remove(path);
    make();
    auto log = open();
    EXPECT_THAT(log.entries(), IsEmpty()) << name;
    EXPECT_TRUE(log.loadError()) << name;
    log.add("check", "a");
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(path))) << name;
    EXPECT_THAT(stored(), ElementsAre("a")) << name;
  }
  EXPECT_EQ(folder.read("victim"), "untouched");
  EXPECT_FALSE(fs::exists(folder.path() / "nothing"));
}

TEST_F(OperationLogTest, ofAHugeFileTheEndIsReadAndTheNextEntryBringsItBackToSize) {
  write(lines(5));
  fs::resize_file(path, std::uintmax_t{3} * 1024 * 1024 * 1024);
  std::ofstream(path, std::ios::app | std::ios::binary) << "\n" << line(6, "6") << "\n";
  auto log = open();
  EXPECT_THAT(messages(log), ElementsAre("6"));
  log.add("check", "7");
  EXPECT_THAT(stored(), ElementsAre("6", "7"));
}

TEST_F(OperationLogTest, withoutAPlaceTheListLivesInMemory) {
  containers.folder.reset();
  auto log = open();
  EXPECT_FALSE(log.fileURL());
  log.add("check", "a");
  EXPECT_EQ(log.entries().size(), 1u);
  EXPECT_FALSE(log.clear());
  EXPECT_THAT(log.entries(), IsEmpty());
}

TEST_F(OperationLogTest, whateverIsAddedCanBeReadAgain) {
  auto log = open();
  log.add("check", "bad \xff byte");
  log.add("check", "line\nfeed \"and\" \x01");
  log.add("check", std::string(4095, 'x') + "“cut in the middle of a character");
  EXPECT_EQ(messages(open()), messages(log));
  EXPECT_EQ(log.entries()[2].message, "bad � byte");
  EXPECT_EQ(log.entries()[0].message, std::string(4095, 'x') + "…");
}

TEST_F(OperationLogTest, exportsOneLineForEachEntryInLocalTime) {
  ::setenv("TZ", "Asia/Shanghai", 1);
  auto log = open();
  EXPECT_EQ(log.exportText(), "");
  log.add("check", "first（DATA）");
  log.add("repair", "two\nlines \x1b[1m");
  EXPECT_EQ(log.exportText(),
            "2026-03-01 17:05:00  [repair] two\\u{A}lines \\u{1B}[1m\n"
            "2026-03-01 17:05:00  [check] first（DATA）");
  ::setenv("TZ", "UTC", 1);
  EXPECT_TRUE(log.exportText().starts_with("2026-03-01 09:05:00")) << "a zone that changes";
  EXPECT_EQ(exportLine({"", -0.5, "a", "b"}), "2000-12-31 23:59:59  [a] b");
  EXPECT_EQ(exportLine({"", 1e300, "a", "b"}), "9999-12-31 23:59:59  [a] b");
  EXPECT_EQ(exportLine({"", -1e300, "a", "b"}), "0001-01-01 00:00:00  [a] b");
  ::unsetenv("TZ");
}

}  // namespace
}  // namespace halvercine::operations
