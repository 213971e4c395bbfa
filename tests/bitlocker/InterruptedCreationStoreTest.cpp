#include "bitlocker/interrupted/InterruptedCreationStore.h"

#include <string>

#include <gtest/gtest.h>

#include "support/MapDefaults.h"

namespace halvercine::bitlocker {
namespace {

using platform::Blob;
using platform::PropertyValue;

const std::string defaultsKey = "interruptedBitLockerCreations";

Blob blob(std::string_view text) {
  const auto* bytes = reinterpret_cast<const std::byte*>(text.data());
  return {std::vector<std::byte>(bytes, bytes + text.size())};
}

disks::Disk disk(std::string id, std::optional<std::string> serial, std::optional<std::string> uuid,
                 std::int64_t capacity = 1000) {
  disks::Disk disk;
  disk.id = std::move(id);
  disk.serial = std::move(serial);
  disk.volumeUUID = std::move(uuid);
  disk.capacity = capacity;
  return disk;
}

struct InterruptedCreationStoreTest : testing::Test {
  tests::MapDefaults defaults;
  InterruptedCreationStore store{defaults};
};

TEST_F(InterruptedCreationStoreTest, storesEachDiskOnceAsJsonData) {
  EXPECT_TRUE(store.add(disk("disk5s2", " 12345678\n", "uuid-1")));
  EXPECT_TRUE(store.add(disk("disk9s2", "12345678", {}, 1000)));
  EXPECT_TRUE(store.add(disk("disk7", {}, " UUID-2 ", 5)));
  EXPECT_EQ(defaults.values.at(defaultsKey),
            PropertyValue(blob(R"([{"serial":"12345678","capacity":1000,"partition":"s2"},)"
                               R"({"uuid":"UUID-2","capacity":5,"partition":""}])")));
  EXPECT_TRUE(store.remove(disk("disk3s2", "12345678", {})));
  EXPECT_EQ(store.load().size(), 1u);
}

TEST_F(InterruptedCreationStoreTest, remembersDisksThatCanBeRecognised) {
  const struct {
    const char* name;
    std::optional<std::string> serial;
    std::optional<std::string> uuid;
    bool remembered;
  } cases[] = {
      {"eight characters", "12345678", {}, true},
      {"seven, trimmed", " 1234567 ", {}, false},
      {"seven, of more bytes", "Ü234567", {}, false},
      {"seven, with a UUID", "1234567", "U", true},
      {"blank UUID", {}, " \n", false},
      {"nothing", {}, {}, false},
      {"no UTF-8", "1234567\xff", {}, false},
  };
  for (const auto& [name, serial, uuid, remembered] : cases) {
    defaults.values.clear();
    const auto it = disk("disk5s1", serial, uuid);
    EXPECT_EQ(store.add(it), remembered) << name;
    EXPECT_EQ(store.contains(it), remembered) << name;
    EXPECT_EQ(defaults.values.size(), remembered ? 1u : 0u) << name;
  }
}

TEST_F(InterruptedCreationStoreTest, recognisesDisksBySerialThenUuid) {
  const auto serial = disk("disk5s1", "SERIAL-1", {});
  const auto both = disk("disk5s1", "SERIAL-1", "U");
  const struct {
    const char* name;
    disks::Disk stored;
    disks::Disk asked;
    bool same;
  } cases[] = {
      {"another BSD name", serial, disk("disk12s1", "SERIAL-1", {}), true},
      {"another partition", serial, disk("disk5s2", "SERIAL-1", {}), false},
      {"whole disk", serial, disk("disk5", "SERIAL-1", {}), false},
      {"another capacity", serial, disk("disk5s1", "SERIAL-1", {}, 7), false},
      {"serials count letter case", serial, disk("disk5s1", "serial-1", {}), false},
      {"serials decide over UUIDs", both, disk("disk5s1", "SERIAL-2", "U"), false},
      {"changed UUID, same serial", both, disk("disk5s1", "SERIAL-1", "V"), true},
      {"UUIDs without letter case", disk("disk5s1", {}, "ABCD"), disk("disk5s1", {}, "abcd"), true},
      {"one serial only", both, disk("disk5s1", {}, "u"), true},
      {"nothing in common", serial, disk("disk5s1", {}, "U"), false},
  };
  for (const auto& [name, stored, asked, same] : cases) {
    defaults.values.clear();
    ASSERT_TRUE(store.add(stored)) << name;
    EXPECT_EQ(store.contains(asked), same) << name;
    store.remove(asked);
    EXPECT_EQ(store.load().empty(), same) << name;
  }
}

TEST_F(InterruptedCreationStoreTest, theArgumentStandsInForTheUuidOfTheRecord) {
  const auto it = disk("disk5s1", {}, "OLD");
  EXPECT_TRUE(store.add(it, "NEW"));
  EXPECT_FALSE(store.contains(it));
  EXPECT_TRUE(store.contains(it, "new"));
  EXPECT_FALSE(store.contains(it, " "));
}

TEST_F(InterruptedCreationStoreTest, readsNothingOutOfWhatItCannotDecode) {
  for (const auto& foreign :
       {PropertyValue(blob("[{")), PropertyValue(blob(R"([{"serial":"12345678"}])")),
        PropertyValue("[]"), PropertyValue(blob(""))}) {
    defaults.values.insert_or_assign(defaultsKey, foreign);
    EXPECT_TRUE(store.load().empty());
    EXPECT_FALSE(store.contains(disk("disk5s1", "12345678", {})));
    EXPECT_EQ(defaults.values.at(defaultsKey), foreign);
    EXPECT_TRUE(store.add(disk("disk5s1", "12345678", {})));
    EXPECT_EQ(store.load().size(), 1u);
  }
}

}  // namespace
}  // namespace halvercine::bitlocker
