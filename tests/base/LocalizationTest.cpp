#include "base/Localization.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>

#include <gtest/gtest.h>

#include "base/Resources.h"

namespace halvercine::base {
namespace {

namespace fs = std::filesystem;

TEST(LocalizationTest, simplifiedChineseIsChosenByScriptThenByRegion) {
  for (const char* tag : {"zh", "zh-Hans", "zh_CN.UTF-8", "zh-SG", "ZH-hans-cn", "zh-Hans-HK",
                          "zh_Hans_MO", "zh-Hans-TW", "zh_CN.UTF-8@modern"}) {
    EXPECT_EQ(languageOf(tag), Language::zhHans) << tag;
  }
  for (const char* tag : {"", "C", "en", "de_DE.UTF-8", "zh-Hant", "zh_TW.UTF-8", "zh-HK", "zh_MO",
                          "zh-Hant-CN", "zho", "zhx-Hans", "POSIX"}) {
    EXPECT_EQ(languageOf(tag), Language::en) << tag;
  }
  for (const auto language : {Language::en, Language::zhHans}) {
    EXPECT_EQ(languageOf(languageTag(language)), language);
  }
}

/// The arguments that a text takes: {"0", "1"} for "{1} of {0}".
std::set<std::string> placeholders(const std::string& text) {
  static const std::regex place(R"(\{([^{}]*)\})");
  std::set<std::string> found;
  for (auto match = std::sregex_iterator(text.begin(), text.end(), place);
       match != std::sregex_iterator(); ++match) {
    found.insert((*match)[1]);
  }
  return found;
}

TEST(LocalizationTest, bothTablesHaveEveryKeyWithTheSameArguments) {
  const Localization english(Language::en);
  const Localization chinese(Language::zhHans);
  ASSERT_FALSE(english.table().empty());
  for (const auto& [key, text] : chinese.table()) EXPECT_TRUE(english.table().contains(key)) << key;
  for (const auto& [key, text] : english.table()) {
    ASSERT_TRUE(chinese.table().contains(key)) << key;
    const auto places = placeholders(text);
    EXPECT_EQ(places, placeholders(chinese.table().at(key))) << key;
    std::set<std::string> expected;
    for (std::size_t number = 0; number < places.size(); ++number) {
      expected.insert(std::to_string(number));
    }
    EXPECT_EQ(places, expected) << key;
    const std::vector<std::string> arguments(places.size(), "<argument>");
    for (const auto* table : {&english, &chinese}) {
      EXPECT_FALSE(table->table().at(key).empty()) << key;
      EXPECT_EQ(table->text(key, arguments).find_first_of("{}"), std::string::npos) << key;
    }
  }
}

TEST(LocalizationTest, gapsAndMissingArgumentsAreVisibleAndHarmless) {
  const Localization english(Language::en);
  EXPECT_EQ(english.text("no.such.key", {"a"}), "no.such.key");
  const auto withArgument =
      std::find_if(english.table().begin(), english.table().end(),
                   [](const auto& entry) { return entry.second.find("{0}") != std::string::npos; });
  ASSERT_NE(withArgument, english.table().end());
  EXPECT_EQ(english.text(withArgument->first), withArgument->second);
  EXPECT_NE(english.text(withArgument->first, {"{0}{9}", "b", "c", "d"}).find("{0}{9}"),
            std::string::npos)
      << "an argument is no text with places of its own";
}

TEST(ResourcesTest, theEmbeddedTextsAreThoseOfTheFolder) {
  std::vector<std::string> paths;
  const fs::path root = HALVERCINE_RESOURCES;
  for (const auto& entry : fs::recursive_directory_iterator(root)) {
    if (entry.path().extension() == ".json") {
      paths.push_back(entry.path().lexically_relative(root).generic_string());
    }
  }
  std::sort(paths.begin(), paths.end());
  const auto embedded = resourcesBelow("");
  EXPECT_EQ(std::vector<std::string>(embedded.begin(), embedded.end()), paths);
  for (const auto& path : paths) {
    std::ifstream file(root / path, std::ios::binary);
    const std::string content{std::istreambuf_iterator<char>(file), {}};
    EXPECT_TRUE(resource(path) == content) << path;
  }
  EXPECT_EQ(resource("strings/none.json"), std::nullopt);
  EXPECT_EQ(resourcesBelow("strings/").size(), 2U);
}

}  // namespace
}  // namespace halvercine::base
