// `halvercine helper`, and what `run` says of the helper, as a user sees it on a simulated Mac.
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "support/TemporaryFolder.h"
#include "support/runProgram.h"

namespace halvercine {
namespace {

using testing::HasSubstr;

/// Runs the program with these words, which have a blank between them.
tests::ProgramRun run(const std::string& members, const std::string& words) {
  const tests::TemporaryFolder folder;
  const auto scenario = folder.write("scenario.json", R"({"format": 1)" + members + "}");
  std::vector<std::string> arguments{"--simulate=" + scenario.string()};
  std::istringstream rest(words);
  for (std::string word; rest >> word;) arguments.push_back(word);
  return tests::runProgram(arguments);
}

/// The members of a scenario whose helper is like this.
std::string helper(const std::string& members, const std::string& more = "") {
  return R"(, "helper": {)" + members + (more.empty() ? "" : ", ") + more + "}";
}
std::string preferences(const std::string& key, const std::string& value) {
  return R"(, "files": {"~/Library/Preferences/halvercine.json": "{\")" + key + R"(\": \")" +
         value + R"(\"}"})";
}
std::string osascript(const std::string& members) {
  return R"(, "tools": [{"tool": "osascript", )" + members + "}]";
}

const std::string elsewhere = R"(, "application": {"path": "/Users/a/Halvercine.app"})";
const std::string installed =
    R"(, "files": {"/Library/LaunchDaemons/com.halvercine.app.authhelper.plist": "x"})";
const std::string unregistered = R"("status": "notRegistered")";
const std::string pending = R"("status": "requiresApproval")";
const std::string unreachable = R"("reachable": false)";
const std::string asked = preferences("helperInstallPromptedVersion", "2.1.0");

TEST(HelperCommand, WhatItSaysAndHowItEnds) {
  struct Case {
    std::string scenario;
    std::string words;
    int status;
    std::string said;
  };
  const auto failing = R"("registers": [{"error": {}}])";
  const Case cases[] = {
      {"", "status", 0, "The helper is registered, and it answers."},
      {helper(R"("calls": [{"ok": false}])"), "status", 0, "It cannot format disks"},
      {preferences("helperRegisteredBuild", "9"), "status", 0,
       "It was registered for build 9; this is build 2100."},
      {helper(unregistered), "status", 1, "The helper is not registered"},
      {helper(R"("status": "unknown")"), "status", 1, "helper status unknown"},
      {helper(pending), "status", 5, "awaits approval"},
      {helper(unreachable), "status", 1, "helper unreachable"},
      {helper(R"("calls": [{"hang": true}])"), "status", 1, "does not answer. (no answer in time)"},
      {installed, "status", 0, "The helper was installed by the administrator."},

      {"", "register", 0, "The helper is registered"},
      {helper(unregistered), "register", 0,
       "Background service registration submitted\nThe helper is registered, and it answers.\n"},
      {helper(R"("status": "notFound", "registers": [{"status": "requiresApproval"}])"), "register",
       5, "registered; awaiting approval in System Settings → Login Items & Extensions"},
      {helper(pending) + asked, "register", 5, "halvercine: helper not ready: it awaits approval"},
      {helper(unregistered, failing), "register", 1,
       "registration failed; please approve it in System Settings → Login Items & Extensions"},

      {"", "repair", 0, "The helper is registered, and it answers."},
      {helper(unreachable), "repair", 0,
       "Background service unreachable despite enabled switch; re-registering\nThe helper is"},
      {helper(unreachable, R"("reachableAnew": false)"), "repair", 1, "helper unreachable"},
      {helper(pending), "repair", 5, "helper not ready"},

      {"", "install", 2, "Confirm it with --yes."},
      {"", "install --yes", 0, "The helper was installed."},
      {osascript(R"("status": 1, "errors": "User canceled. (-128)\n")"), "install --yes", 130,
       "Cancelled"},
      {osascript(R"("startError": "No such file")"), "install --yes", 1,
       "Helper one-click install failed: osascript launch failed: No such file\nThe helper is"},
      {elsewhere + helper(unregistered), "install --yes", 1,
       "one-click install requires app in /Applications (current: /Users/a/Halvercine.app)\n"
       "Background service registration submitted"},
      {elsewhere + helper(unregistered, failing), "install --yes", 1,
       "Background service registration failed"},

      {"", "unregister", 2, "Confirm it with --yes."},
      {"", "unregister --yes", 0, "The helper is not registered any more."},
      {helper(unreachable), "unregister --yes", 0,
       "Legacy helper cleanup skipped: background service unreachable\n"},
      {helper(R"("calls": [{"selector": "removeLegacyInstall", "hang": true}])"),
       "unregister --yes", 0, "The helper is not registered any more."},
      {helper(R"("unregisters": [{"error": {"text": "stuck"}}])"), "unregister --yes", 1, "stuck"},
      {installed, "unregister --yes", 1, "installed by the administrator"},

      {"", "", 2, "subcommand"},
  };
  for (const auto& [scenario, words, status, said] : cases) {
    const auto result = run(scenario, "helper " + words);
    EXPECT_EQ(result.status, status) << scenario << result.output << result.errors;
    EXPECT_THAT(result.output + result.errors, HasSubstr(said)) << scenario;
  }
}

TEST(HelperCommand, Json) {
  const auto ready = run("", "--json helper status").json();
  const auto& result = ready.at("result").as_object();
  EXPECT_EQ(result.at("state"), "ready");
  EXPECT_EQ(result.at("status"), 1);
  EXPECT_EQ(result.at("build"), "2100");
  EXPECT_EQ(result.at("formattingAvailable"), true);

  const auto failed = run(helper(R"("status": "notFound", "registers": [{"error": {}}])"),
                          "--json helper register");
  EXPECT_EQ(failed.status, 1);
  const auto document = failed.json();
  const auto& error = document.at("error").as_object();
  EXPECT_EQ(error.at("id"), "helper-not-registered");
  EXPECT_EQ(error.at("state"), "notRegistered");
  EXPECT_EQ(error.at("reason"), "Operation not permitted");
  EXPECT_EQ(error.at("notices").at(0).at("key"), "ui.helper.register.failed");

  const auto repaired = run(helper(unreachable), "--json helper repair").json();
  EXPECT_EQ(repaired.at("result").at("state"), "ready");
  EXPECT_FALSE(repaired.at("result").as_object().contains("reason")) << "it has worked";
}

TEST(HelperCommand, RunRegistersAndSaysWhatCameOfIt) {
  const std::string words = "--fast run --for 60";
  EXPECT_EQ(run("", words).output, "");
  EXPECT_EQ(run(helper(pending) + asked, words).output, "");
  EXPECT_THAT(run(helper(unregistered), words).output,
              HasSubstr("Z  Background service registration submitted\n"));
  const auto repaired = run(helper(unreachable), "--json " + words);
  EXPECT_EQ(repaired.status, 0);
  const auto line = tests::jsonLines(repaired.output).front();
  EXPECT_EQ(line.at("event"), "helper");
  EXPECT_EQ(line.at("message"),
            "Background service unreachable despite enabled switch; re-registering");
}

#ifdef __linux__
TEST(HelperCommand, ASystemWithoutTheServiceSaysSo) {
  const auto result = tests::runProgram({"--json", "helper", "install"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.output, HasSubstr("no-helper-service"));
}
#endif

}  // namespace
}  // namespace halvercine
