#include "platform/posix/JsonUserDefaults.h"

#include <cmath>
#include <limits>
#include <string>
#include <sys/stat.h>
#include <thread>

#include <gtest/gtest.h>

#include "base/FileLock.h"
#include "support/TemporaryFolder.h"

namespace halvercine::platform::posix {
namespace {

constexpr std::chrono::milliseconds noPatience(0);

mode_t modeOf(const std::filesystem::path& path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

struct JsonUserDefaultsTest : testing::Test {
  tests::TemporaryFolder folder;
  JsonUserDefaults defaults{folder.path() / "settings.json", noPatience};
};

TEST_F(JsonUserDefaultsTest, keepsEveryTypeOfValue) {
  const PropertyValue values[] = {
      true,
      std::numeric_limits<std::int64_t>::min(),
      1,
      1.0,
      -0.1,
      "",
      "text with \"quotes\", 中文 and \n",
      std::string("zero \0 byte", 11),
      Uuid{{0x12, 0x34, 0xff}},
      FileUrl{"/Volumes/My Disk"},
      Blob{},
      Blob{{std::byte{0}, std::byte{255}, std::byte{16}}},
      PropertyArray{},
      PropertyArray{1, 1.5, PropertyArray{Uuid{}}, "$data"},
      PropertyDictionary{},
      PropertyDictionary{{"a", 1}, {"$data", Blob{}}},
      PropertyDictionary{{"$data", "00"}},
      PropertyDictionary{{"$dictionary", PropertyDictionary{{"$uuid", "x"}}}},
  };
  for (std::size_t index = 0; index < std::size(values); ++index) {
    ASSERT_TRUE(defaults.setValue(std::to_string(index), values[index])) << index;
  }
  for (std::size_t index = 0; index < std::size(values); ++index) {
    const auto kept = defaults.value(std::to_string(index));
    ASSERT_TRUE(kept) << index;
    EXPECT_EQ(kept->storage.index(), values[index].storage.index()) << index;
    EXPECT_EQ(kept, values[index]) << index;
  }
  EXPECT_FALSE(defaults.value("other"));
}

TEST_F(JsonUserDefaultsTest, refusesWhatJsonCannotHoldAndKeepsTheOldValue) {
  ASSERT_TRUE(defaults.setValue("key", 1));
  PropertyValue deep = 1;
  for (int level = 0; level < 100; ++level) deep = PropertyArray{deep};
  for (const auto& bad : {PropertyValue(std::nan("")), PropertyValue(PropertyArray{HUGE_VAL}),
                          PropertyValue("\xff"), PropertyValue(FileUrl{"/\xc3"}), deep}) {
    EXPECT_FALSE(defaults.setValue("key", bad));
  }
  EXPECT_FALSE(defaults.setValue("\xff", 1));
  EXPECT_EQ(defaults.value("key"), PropertyValue(1));
  EXPECT_EQ(folder.names(), (std::set<std::string>{"settings.json", "settings.json.lock"}));
}

TEST_F(JsonUserDefaultsTest, removesKeys) {
  EXPECT_TRUE(defaults.remove("missing"));
  EXPECT_TRUE(folder.names().empty());
  ASSERT_TRUE(defaults.setValue("a", 1));
  ASSERT_TRUE(defaults.setValue("b", 2));
  EXPECT_TRUE(defaults.remove("a"));
  EXPECT_TRUE(defaults.remove("a"));
  EXPECT_FALSE(defaults.value("a"));
  EXPECT_EQ(defaults.value("b"), PropertyValue(2));
}

TEST_F(JsonUserDefaultsTest, keepsItsFilesPrivate) {
  JsonUserDefaults deeper(folder.path() / "new/folder/settings.json", noPatience);
  ASSERT_TRUE(deeper.setValue("key", 1));
  EXPECT_EQ(modeOf(folder.path() / "new"), 0700u);
  EXPECT_EQ(modeOf(folder.path() / "new/folder"), 0700u);
  EXPECT_EQ(modeOf(folder.path() / "new/folder/settings.json"), 0600u);
  EXPECT_EQ(modeOf(folder.path() / "new/folder/settings.json.lock"), 0600u);
}

TEST_F(JsonUserDefaultsTest, leavesAloneWhatItDoesNotUnderstandInAGoodFile) {
  folder.write("settings.json",
               R"({"null":null,"mark":{"$new":"x"},"digits":{"$data":"0g"},"uuid":{"$uuid":"12"},)"
               R"("large":18446744073709551615,"list":[1,null]})");
  for (const auto* key : {"null", "mark", "digits", "uuid", "large", "list"}) {
    EXPECT_FALSE(defaults.value(key)) << key;
  }
  ASSERT_TRUE(defaults.setValue("mine", true));
  EXPECT_NE(folder.read("settings.json").find("18446744073709551615"), std::string::npos);
  EXPECT_NE(folder.read("settings.json").find("$new"), std::string::npos);
}

TEST_F(JsonUserDefaultsTest, keepsADamagedFileAside) {
  const char* const damages[] = {"", "{\"key\":1", "[1]", "{\"key\":\"\xff\"}"};
  std::set<std::string> names = {"settings.json", "settings.json.lock"};
  int number = 0;
  for (const auto* damage : damages) {
    folder.write("settings.json", damage);
    EXPECT_FALSE(defaults.value("key"));
    EXPECT_EQ(folder.read("settings.json"), damage);  // reading moves nothing
    ASSERT_TRUE(defaults.setValue("key", 2));
    EXPECT_EQ(defaults.value("key"), PropertyValue(2));
    const std::string aside =
        ++number == 1 ? "settings.json.damaged" : "settings.json.damaged-" + std::to_string(number);
    EXPECT_EQ(folder.read(aside), damage);
    names.insert(aside);
  }
  EXPECT_EQ(folder.names(), names);
}

TEST_F(JsonUserDefaultsTest, followsNoLinkOutOfItsFolder) {
  const auto target = folder.write("elsewhere", R"({"key":1})");
  std::filesystem::create_symlink(target, folder.path() / "settings.json");
  EXPECT_FALSE(defaults.value("key"));
  ASSERT_TRUE(defaults.setValue("key", 2));
  EXPECT_EQ(folder.read("elsewhere"), R"({"key":1})");
  EXPECT_TRUE(std::filesystem::is_symlink(folder.path() / "settings.json.damaged"));
}

TEST_F(JsonUserDefaultsTest, givesUpWhileAnotherProcessHoldsTheLock) {
  ASSERT_TRUE(defaults.setValue("key", 1));
  const auto lock = base::FileLock::tryTake(folder.path() / "settings.json.lock");
  ASSERT_TRUE(lock);
  EXPECT_FALSE(defaults.setValue("key", 2));
  EXPECT_FALSE(defaults.remove("key"));
  EXPECT_EQ(defaults.value("key"), PropertyValue(1));
}

TEST_F(JsonUserDefaultsTest, losesNothingWhenSeveralWriteAtOnce) {
  constexpr int writes = 20;
  const auto writeAll = [&](const std::string& prefix) {
    JsonUserDefaults own(folder.path() / "settings.json", std::chrono::seconds(30));
    for (int index = 0; index < writes; ++index) {
      EXPECT_TRUE(own.setValue(prefix + std::to_string(index), index));
    }
  };
  std::thread other([&] { writeAll("b"); });
  writeAll("a");
  other.join();
  for (int index = 0; index < writes; ++index) {
    EXPECT_EQ(defaults.value("a" + std::to_string(index)), PropertyValue(index));
    EXPECT_EQ(defaults.value("b" + std::to_string(index)), PropertyValue(index));
  }
}

}  // namespace
}  // namespace halvercine::platform::posix
