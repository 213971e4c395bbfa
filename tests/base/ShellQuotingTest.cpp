#include "base/ShellQuoting.h"

#include <array>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "base/runAsAdministrator.h"

namespace halvercine::base {
namespace {

/// What the AppleScript language makes of the text in a script of the expected form.
std::optional<std::string> appleScriptText(const std::string& script) {
  const std::string_view head = "do shell script ";
  const std::string_view tail = " with administrator privileges";
  const auto first = head.size();
  if (script.compare(0, first, head) != 0 || script.at(first) != '"') return std::nullopt;
  std::string text;
  std::size_t at = first + 1;
  while (script.at(at) != '"') {
    if (script.at(at) != '\\') {
      text.push_back(script.at(at++));
      continue;
    }
    const char escaped = script.at(at + 1);
    if (escaped != '\\' && escaped != '"') return std::nullopt;  // \n and others mean another thing
    text.push_back(escaped);
    at += 2;
  }
  if (script.substr(at + 1) != tail) return std::nullopt;
  return text;
}

/// What a real shell prints for the command.
std::string outputOf(const std::string& command) {
  std::string output;
  if (std::FILE* const shell = ::popen(command.c_str(), "r")) {
    std::array<char, 4096> buffer{};
    while (const auto got = std::fread(buffer.data(), 1, buffer.size(), shell)) {
      output.append(buffer.data(), got);
    }
    ::pclose(shell);
  }
  return output;
}

TEST(ShellQuotingTest, HostileTextReachesARealShellAsOneWord) {
  const std::string hostile[] = {
      "",
      "'",
      "it's",
      "''\\'''",
      "\"double\"",
      "back\\slash\\\\n",
      "\\",
      "$HOME $(echo no) `echo no` ${x}",
      "a b\tc  ",
      "line\nbreak\r\n",
      "; echo no; #",
      "*?[a-z] ~ !! & | < > ( )",
      "-n",
      "新しい é \u2028 \U0001F4BE",
      "invalid \xFF\xC3",
      "'; rm -rf \"$HOME\"; echo '",
  };
  for (const auto& text : hostile) {
    const auto command = "printf '%s|' " + shellQuote(text) + " end";
    const auto arrived = appleScriptText(administratorScript(command));
    ASSERT_TRUE(arrived) << text;
    EXPECT_EQ(*arrived, command);
    EXPECT_EQ(outputOf(*arrived), text + "|end|");
  }
}

TEST(ShellQuotingTest, ScriptsAreWrittenAsTheyAreExpected) {
  EXPECT_EQ(shellQuote("a'b"), R"('a'\''b')");
  EXPECT_EQ(administratorScript(R"(echo "\")"),
            R"(do shell script "echo \"\\\"" with administrator privileges)");
  EXPECT_EQ(administratorScript("true", R"(Say "\")"),
            R"(do shell script "true" with administrator privileges with prompt "Say \"\\\"")");
}

}  // namespace
}  // namespace halvercine::base
