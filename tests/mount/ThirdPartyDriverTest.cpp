#include "mount/ThirdPartyDriver.h"

#include <string>

#include <gtest/gtest.h>

#include "support/FolderContainers.h"
#include "support/TemporaryFolder.h"

namespace halvercine::mount {
namespace {

using Kind = ThirdPartyDriver::Kind;

const std::string modulesFile =
    "Users/somebody/Library/Group Containers/group.com.apple.fskit.settings/enabledModules.plist";

std::string moduleList(std::initializer_list<std::string_view> identifiers) {
  std::string text = "<plist version=\"1.0\"><array>";
  for (const auto identifier : identifiers)
    text += "<string>" + std::string(identifier) + "</string>";
  return text + "</array></plist>";
}

struct ThirdPartyDriverTest : testing::Test {
  std::vector<ThirdPartyDriver> detect() { return detectThirdPartyDrivers(containers); }

  tests::TemporaryFolder folder;
  tests::FolderContainers containers{folder.path()};
};

TEST_F(ThirdPartyDriverTest, findsNothingOnABareMachine) { EXPECT_TRUE(detect().empty()); }

TEST_F(ThirdPartyDriverTest, reportsEachPlaceInOrderAndEachDriverOnce) {
  folder.write("Library/Filesystems/tuxera_ntfs.fs/Contents/Info.plist", "");
  folder.write("Library/Filesystems/acme.NTFS.fs/Contents/Info.plist", "");
  folder.write("Library/Filesystems/UFSD_ntfs.fs/Contents/Info.plist", "");
  folder.write("Library/Filesystems/ufsd_NTFS.fs/Contents/Info.plist", "");
  folder.write("Library/Filesystems/Halvercine-NTFS.fs/Contents/Info.plist", "");
  folder.write("Library/Filesystems/exfat.fs/Contents/Info.plist", "");
  folder.write("Library/Extensions/ms_ntfs.kext/Contents/Info.plist", "");
  folder.write(modulesFile, moduleList({"com.apple.filesystems.util.ntfs", "com.example.tuxera",
                                        "com.halvercine.app.fsmodule", "com.example.other",
                                        "com.example.tuxera"}));
  folder.write("Library/LaunchDaemons/com.Paragon-software.ntfs.agent.plist", "");
  folder.write("Library/LaunchDaemons/com.microsoft.autoupdate.plist", "");
  folder.write("Library/LaunchDaemons/com.halvercine.tuxera-watch.plist", "");
  folder.write("Library/LaunchDaemons/com.example.ntfs.plist", "");

  const auto entry = [](std::string path, std::string name, Kind kind) {
    return ThirdPartyDriver{path, std::move(name), path, kind};
  };
  EXPECT_EQ(
      detect(),
      (std::vector{
          entry("/Library/Filesystems/tuxera_ntfs.fs", "Tuxera NTFS", Kind::file),
          entry("/Library/Filesystems/ufsd_NTFS.fs", "Paragon NTFS", Kind::file),
          entry("/Library/Extensions/ms_ntfs.kext", "Microsoft NTFS (third party)", Kind::file),
          entry("/Library/Filesystems/acme.NTFS.fs", "acme.NTFS", Kind::file),
          entry("com.example.tuxera", "Tuxera NTFS（FSKit 模块）", Kind::fskitModule),
          entry("com.example.other", "com.example.other（FSKit 模块）", Kind::fskitModule),
          entry("/Library/LaunchDaemons/com.Paragon-software.ntfs.agent.plist", "Paragon NTFS",
                Kind::launchDaemon),
      }));
}

TEST_F(ThirdPartyDriverTest, goesOnWithoutWhatItCannotRead) {
  folder.write("Library/Filesystems", "a file where a folder should be");
  std::filesystem::create_directories(folder.path() / modulesFile);
  folder.write("Library/LaunchDaemons/com.easeus.plist", "");
  ASSERT_EQ(detect().size(), 1u);
  EXPECT_EQ(detect()[0].name, "EaseUS NTFS");
}

TEST(DriverNameTest, isDecidedByTheFirstTokenOfTheTable) {
  const struct {
    const char* fileName;
    const char* name;
  } cases[] = {
      {"paragon-tuxera.fs", "Tuxera NTFS"},
      {"IBOYSOFT_NTFS.fs", "iBoysoft NTFS"},
      {"com.hasleo.bitlocker.plist", "Hasleo BitLocker/NTFS"},
      {"aomeni_ntfs.fs", "赤友 NTFS"},
      {"microsoft_ntfs_easeus.fs", "EaseUS NTFS"},
      {"ms_NTFS.kext", "Microsoft NTFS (third party)"},
      {"some.ntfs.fs", "some.ntfs"},
      {"NTFS", "NTFS"},
      {".ntfs", ".ntfs"},
  };
  for (const auto& [fileName, name] : cases) EXPECT_EQ(driverDisplayName(fileName), name);
}

TEST(ModuleLabelTest, isDecidedByTheFirstTokenOfTheTable) {
  const struct {
    const char* identifier;
    const char* label;
  } cases[] = {
      {"com.Hasleo.fs", "Hasleo（FSKit 模块）"},
      {"com.easeus.ntfs", "EaseUS（FSKit 模块）"},
      {"cn.ntfs.module", "赤友 NTFS（FSKit 模块）"},
      {"cn.ntfs.xntfs", "赤友 NTFS（FSKit 模块）"},
      {"org.xntfs.module", "xntfs（FSKit 模块）"},
      {"com.ufsd.iboysoft", "iBoysoft NTFS（FSKit 模块）"},
      {"com.microsoft.Fs", "com.microsoft.Fs（FSKit 模块）"},
  };
  for (const auto& [identifier, label] : cases) EXPECT_EQ(moduleLabel(identifier), label);
}

}  // namespace
}  // namespace halvercine::mount
