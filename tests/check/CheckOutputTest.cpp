#include "check/CheckOutput.h"

#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "base/Json.h"
#include "check/Excerpt.h"
#include "support/testData.h"

namespace halvercine::check {
namespace {

constexpr const char* failedText = "It failed.";

const std::string report =
    R"({"issues":[],"mft_records_scanned":7,"files_scanned":3,"dirs_scanned":2,)"
    R"("clusters_total":9,"clusters_checked":9,"repaired_count":0,"dirty_before":false,"ok":true})";

const std::string marker = "__HVL_FSCK_EXIT__:0\n";

std::string with(const std::string& member) { return "{" + member + "," + report.substr(1); }

CheckOutcome read(std::string output, std::string errors = "", int exitCode = 0) {
  return readCheckOutput({exitCode, std::move(output), std::move(errors)}, failedText);
}

std::string failure(const CheckOutcome& outcome) {
  const auto* failed = std::get_if<CheckFailed>(&outcome);
  return failed ? failed->message : "no failure, alternative " + std::to_string(outcome.index());
}

bool isReport(const CheckOutcome& outcome) {
  const auto* success = std::get_if<CheckSucceeded>(&outcome);
  return success && success->report.mft_records_scanned == 7;
}

TEST(CheckOutput, TheLastLineWithABraceIsTheReport) {
  const std::string outputs[] = {
      report + "\n" + marker,
      report + marker,
      report + "   " + marker,
      "checking…\n50 %\n" + report + "\n" + marker,
      "{ not this one }\n" + report + "\n\n\n" + marker,
      "{\"error\":\"an earlier one\"}\n" + report,
      report + "\r\n" + marker,
      "progress\n" + report + "\r" + marker,
      with(R"("error":null)") + "\n" + marker,
      with(R"("issues_left":[{}],"cancelled":null)") + "\n" + marker,
      report + "\n\u2028{no line\x0b{neither\n" + marker,
  };
  for (const auto& output : outputs) EXPECT_TRUE(isReport(read(output))) << output;
  EXPECT_TRUE(isReport(read(report + "\n" + marker, "User canceled.", 0))) << "status 0";
  EXPECT_TRUE(isReport(read(report + "\n" + marker, "(-128)", 0))) << "status 0";
  EXPECT_TRUE(isReport(read(report + "\n" + marker, "any warning", 3)));
}

TEST(CheckOutput, ErrorOfTheTool) {
  const auto error = [](const std::string& text) { return "{\"error\":\"" + text + "\"}"; };
  EXPECT_EQ(read(error("open failed: Operation not permitted") + marker),
            CheckOutcome(CheckNeedsFullDiskAccess()));
  EXPECT_EQ(failure(read(error("not NTFS (open failed: no)") + "\n" + marker)),
            "not NTFS (open failed: no)");
  EXPECT_EQ(failure(read(error("") + "\n" + marker)), "");
  EXPECT_EQ(failure(read(with("\"error\":\"disk \\\"gone\\\" 新\"") + marker)), "disk \"gone\" 新");
}

std::vector<std::string> lines(const std::string& file) {
  std::istringstream stream(tests::testData(file));
  std::vector<std::string> result;
  for (std::string line; std::getline(stream, line);) result.push_back(line);
  return result;
}

TEST(CheckOutput, RefusedPromptInEveryLanguage) {
  for (const auto& line : lines("osascript/refused.txt")) {
    EXPECT_EQ(read("", line + "\n", 1), CheckOutcome(CheckCancelled())) << line;
    EXPECT_EQ(read(report + "\n" + marker, line + "\n", 1), CheckOutcome(CheckCancelled()));
  }
  for (const auto& line : lines("osascript/failed.txt")) {
    EXPECT_EQ(failure(read("", line + "\n", 1)),
              "osascript exit=1 | stderr: " + line + " | stdout tail: (empty)");
  }
  EXPECT_EQ(read("", "User canceled. (see the log)\n", 9), CheckOutcome(CheckCancelled()));
  EXPECT_NE(read("", "(-128) happened earlier\n", 1), CheckOutcome(CheckCancelled()));
}

TEST(CheckOutput, DiagnosticWithoutAReport) {
  const std::string exactly200(200, 'x');
  const std::pair<CheckOutcome, std::string> cases[] = {
      {read("", "", 1), failedText},
      {read("\n\r\n\u2028", "\u0085\n", 1), failedText},
      {read("\xFF\n", "", 1), failedText},
      {read("out\n", "\xFF", 1), "osascript exit=1 | stderr: (empty) | stdout tail: out"},
      {read("", "no such file", -1),
       "osascript exit=-1 | stderr: no such file | stdout tail: (empty)"},
      {read(" {indented}\n" + marker,
            "one\r\ntwo\x0bthree\x0c\x0c"
            "four\u0085"
            "five\u2029"),
       "osascript exit=0 | stderr: one ⏎ two ⏎ three ⏎ four ⏎ five | "
       "stdout tail:  {indented} ⏎ __HVL_FSCK_EXIT__:0"},
      {read(exactly200), "osascript exit=0 | stderr: (empty) | stdout tail: " + exactly200},
      {read("y" + exactly200), "osascript exit=0 | stderr: (empty) | stdout tail: …" + exactly200},
  };
  for (const auto& [outcome, expected] : cases) EXPECT_EQ(failure(outcome), expected);
}

TEST(CheckOutput, UndecodableLineShowsItsTail) {
  const std::string start = "It failed. | JSON decode failed | line tail: ";
  EXPECT_EQ(failure(read("{\n" + marker)), start + "{");
  EXPECT_EQ(failure(read("{" + marker)), start + "{__HVL_FSCK_EXIT__:0");
  EXPECT_EQ(failure(read("{\"a\":1}" + marker)), start + "{\"a\":1}");
  EXPECT_EQ(failure(read("{\"error\":3}\n")), start + "{\"error\":3}");
  EXPECT_EQ(failure(read("{a\r\nb\u2028"
                         "c")),
            start + "{a");
  EXPECT_EQ(failure(read("x\n{a\rb\u2028"
                         "c")),
            start + "{a ⏎ b ⏎ c");
  std::string characters;
  for (int i = 0; i < 200; ++i) characters += i % 2 == 0 ? "新" : "\U0001F4BE";
  EXPECT_EQ(failure(read("{" + std::string(300, 'x') + characters)), start + "…" + characters);
  EXPECT_EQ(failure(read("{" + characters.substr(3))), start + "{" + characters.substr(3));
}

TEST(CheckOutput, EveryRequiredKeyOfARecordIsRequiredAndEachIsRead) {
  for (const auto* key :
       {"issues", "mft_records_scanned", "files_scanned", "dirs_scanned", "clusters_total",
        "clusters_checked", "repaired_count", "dirty_before", "ok"}) {
    auto text = report;
    text.replace(text.find(key), 1, "_");
    EXPECT_FALSE(isReport(read(text))) << key;
  }
  const std::string whole =
      R"({"issues":[{"level":-1,"severity":"s","code":"c","message":"m","record":0,)"
      R"("repairable":true}],"mft_records_scanned":18446744073709551615,"files_scanned":1,)"
      R"("dirs_scanned":2,"clusters_total":3,"clusters_checked":4,"repaired_count":5,)"
      R"("dirty_before":true,"ok":false,"cancelled":true,"deep_omitted":6,)"
      R"("tree_stats_available":false})";
  const auto outcome = read(whole);
  ASSERT_EQ(outcome.index(), 0u) << failure(outcome);
  EXPECT_EQ(base::encodeJson(std::get<CheckSucceeded>(outcome).report), whole);
}

}  // namespace
}  // namespace halvercine::check
