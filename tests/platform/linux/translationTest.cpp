#include <gtest/gtest.h>

#include "platform/linux/LinuxSystemInfo.h"
#include "platform/linux/MediumContent.h"
#include "platform/linux/MediumId.h"
#include "platform/linux/describeMedium.h"

namespace halvercine::platform::gnulinux {
namespace {

TEST(MediumId, NamesAreReadOnlyAsTheyAreWritten) {
  struct Case {
    const char* name;
    std::optional<MediumId> id;
  };
  const std::vector<Case> cases{
      {"disk0", MediumId{0, 0}},
      {"disk12s3", MediumId{12, 3}},
      {"disk8388624s128", MediumId{8388624, 128}},
      {"disk", {}},
      {"disk07", {}},
      {"disk7s0", {}},
      {"disk7s", {}},
      {"disk7s1s1", {}},
      {"disk7 ", {}},
      {"disk-7", {}},
      {"disk+7", {}},
      {"disk99999999999999999999", {}},
      {"Disk7", {}},
      {"sda1", {}},
      {"", {}},
  };
  for (const auto& [name, id] : cases) {
    EXPECT_EQ(parseBsdName(name), id) << name;
    EXPECT_EQ(bsdName(id.value_or(MediumId{})), id ? name : "disk0");
  }
}

TEST(UdevText, EscapesAreBytes) {
  EXPECT_EQ(decodedUdevText("M\\xc3\\xbasica\\x20\\x5cx20"), "M\xC3\xBAsica \\x20");
  EXPECT_EQ(decodedUdevText("\\x2 \\xzz \\"), "\\x2 \\xzz \\");
}

TEST(MediumContent, FromTheDatabase) {
  const auto partition = contentFromUdev({{"ID_FS_TYPE", "ntfs"},
                                          {"ID_FS_LABEL", "My_Disk"},
                                          {"ID_FS_LABEL_ENC", "My\\x20Disk"},
                                          {"ID_PART_TABLE_TYPE", "gpt"},
                                          {"ID_PART_ENTRY_TYPE", "0x7"},
                                          {"ID_PART_ENTRY_NAME", "Basic\\x20data"}});
  EXPECT_EQ(partition.label, "My Disk");
  EXPECT_EQ(partition.partitionType, "0x7");
  EXPECT_EQ(partition.partitionName, "Basic data");
  EXPECT_EQ(contentFromUdev({{"ID_PART_TABLE_TYPE", "gpt"}}).partitionType, "gpt");
}

TEST(VolumeUuid, SerialNumbersBecomeStableUuids) {
  const auto spelled = parsedUuid("01234567-89ab-CDEF-0123-456789abcdef");
  ASSERT_TRUE(spelled);
  EXPECT_EQ(spelled->bytes[1], 0x23);
  EXPECT_EQ(volumeUuid("01234567-89ab-CDEF-0123-456789abcdef"), spelled);
  for (const auto* text : {"", "4A1B2C3D4E5F6071", "01234567-89ab-CDEF-0123-456789abcdeg",
                           "{1234567-89ab-CDEF-0123-456789abcde}"}) {
    EXPECT_FALSE(parsedUuid(text)) << text;
  }
  // Users' settings are filed under these: they must not change from one release to the next.
  EXPECT_EQ(volumeUuid("4A1B2C3D4E5F6071"), parsedUuid("64f4b461-830e-50de-adfd-78ce0877d973"));
  EXPECT_NE(volumeUuid("4A1B2C3D4E5F6072"), volumeUuid("4A1B2C3D4E5F6071"));
  EXPECT_FALSE(volumeUuid(""));
}

TEST(LinuxSystemInfo, BootSessionIsAUuidWithItsZeroByte) {
  const auto session = LinuxSystemInfo().kernelVariable("kern.bootsessionuuid");
  ASSERT_TRUE(session);
  EXPECT_EQ(session->size(), 37u);
  EXPECT_EQ(session->back(), '\0');
  EXPECT_EQ(uuidText(session->substr(0, 36)), session->substr(0, 36)) << "in capital letters";
  EXPECT_FALSE(LinuxSystemInfo().kernelVariable("kern.osrelease"));
}

}  // namespace
}  // namespace halvercine::platform::gnulinux
