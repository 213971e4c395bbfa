#include "mount/reasons/ManualUnmountRegistry.h"

#include <limits>

#include <gtest/gtest.h>

#include "base/VirtualClock.h"
#include "platform/posix/JsonUserDefaults.h"
#include "support/MapDefaults.h"
#include "support/TemporaryFolder.h"

namespace halvercine::mount {
namespace {

using platform::PropertyDictionary;
using Entries = std::map<std::string, double>;

constexpr double now = 1'800'000'000;
const std::string key = "manualUnmountRegistry";

struct ManualUnmountRegistryTest : testing::Test {
  tests::MapDefaults defaults;
  base::VirtualClock clock{
      platform::WallTime(std::chrono::seconds(static_cast<std::int64_t>(now)))};
  ManualUnmountRegistry registry{defaults, clock};
};

TEST_F(ManualUnmountRegistryTest, eachWriteDropsWhatIsOlderThanTwoDays) {
  defaults.values.insert_or_assign(key, PropertyDictionary{{"three days", now - 259200},
                                                           {"just two days", now - 172800},
                                                           {"a moment more", now - 172800.5},
                                                           {"yesterday", now - 86400}});
  EXPECT_EQ(registry.registry().size(), 4u) << "reading drops nothing";
  EXPECT_FALSE(registry.unmountedAt("three days")) << "but nobody is told of what is too old";
  EXPECT_TRUE(registry.unmountedAt("just two days"));
  ASSERT_TRUE(registry.record("now"));
  const Entries left{{"just two days", now - 172800}, {"now", now}, {"yesterday", now - 86400}};
  EXPECT_EQ(registry.registry(), left);
}

TEST_F(ManualUnmountRegistryTest, readsNothingOutOfWhatIsNoRegistry) {
  using platform::PropertyValue;
  for (const auto& foreign : {PropertyValue("text"), PropertyValue(1.5),
                              PropertyValue(platform::PropertyArray{PropertyValue(1.5)})}) {
    defaults.values.insert_or_assign(key, foreign);
    EXPECT_TRUE(registry.registry().empty());
    EXPECT_TRUE(registry.record("a"));
    EXPECT_EQ(registry.registry(), (Entries{{"a", now}}));
  }
  defaults.values.insert_or_assign(
      key, PropertyDictionary{{"text", "1800000000"},
                              {"flag", true},
                              {"nan", std::numeric_limits<double>::quiet_NaN()},
                              {"whole", std::int64_t{1799999999}},
                              {"good", now - 0.25}});
  EXPECT_EQ(registry.registry(), (Entries{{"good", now - 0.25}, {"whole", now - 1}}));
}

TEST_F(ManualUnmountRegistryTest, aWrongClockDoesNotKeepAnEntryForEver) {
  defaults.values.insert_or_assign(
      key, PropertyDictionary{{"future", now + 172801}, {"soon", now + 60}});
  EXPECT_FALSE(registry.unmountedAt("future"));
  EXPECT_TRUE(registry.unmountedAt("soon"));
}

TEST_F(ManualUnmountRegistryTest, outlivesTheProgramAndForgets) {
  const tests::TemporaryFolder folder;
  platform::posix::JsonUserDefaults file(folder.path() / "defaults.json");
  EXPECT_TRUE(ManualUnmountRegistry(file, clock).record("a"));
  EXPECT_TRUE(ManualUnmountRegistry(file, clock).record("b"));
  EXPECT_TRUE(ManualUnmountRegistry(file, clock).forget("a"));
  EXPECT_EQ(ManualUnmountRegistry(file, clock).registry(), (Entries{{"b", now}}));
  const auto stored = file.value(key);
  ASSERT_TRUE(stored && stored->as<PropertyDictionary>());
  EXPECT_EQ(stored->as<PropertyDictionary>()->at("b"), platform::PropertyValue(now))
      << "a floating-point number for whoever else reads it";
}

TEST_F(ManualUnmountRegistryTest, forgetsWhatIsMountedButNotWhatHasJustBeenUnmounted) {
  const auto mounted = [](const std::string& uuid) {
    disks::Disk disk;
    disk.volumeUUID = uuid;
    disk.isMounted = true;
    return disk;
  };
  auto unmounted = mounted("stays");
  unmounted.isMounted = false;
  defaults.values.insert_or_assign(
      key, PropertyDictionary{{"stays", now - 60}, {"back", now - 60}, {"this moment", now - 1}});
  registry.forgetMounted({unmounted, mounted("back"), mounted("this moment")});
  EXPECT_EQ(registry.registry(), (Entries{{"stays", now - 60}, {"this moment", now - 1}}));
}

}  // namespace
}  // namespace halvercine::mount
