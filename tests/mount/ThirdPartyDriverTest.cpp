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

struct ThirdPartyDriverTest : testing::Test {
  std::vector<ThirdPartyDriver> detect() { return detectThirdPartyDrivers(containers); }

  tests::TemporaryFolder folder;
  tests::FolderContainers containers{folder.path()};
};

TEST_F(ThirdPartyDriverTest, findsNothingOnABareMachine) { EXPECT_TRUE(detect().empty()); }

TEST_F(ThirdPartyDriverTest, reportsEachPlaceInOrderAndEachDriverOnce) {
  for (const auto* bundle :
       {"Filesystems/tuxera_ntfs.fs", "Filesystems/acme.NTFS.fs", "Filesystems/UFSD_ntfs.fs",
        "Filesystems/ufsd_NTFS.fs", "Filesystems/Halvercine-NTFS.fs", "Filesystems/exfat.fs",
        "Extensions/ms_ntfs.kext"}) {
    folder.write(std::string("Library/") + bundle + "/Contents/Info.plist", "");
  }
  folder.write(modulesFile,
               "<plist version=\"1.0\"><array>"
               "<string>com.apple.filesystems.util.ntfs</string>"
               "<string>com.example.tuxera</string>"
               "<string>com.halvercine.app.fsmodule</string>"
               "<string>com.example.other</string>"
               "<string>com.example.tuxera</string></array></plist>");
  for (const auto* daemon : {"com.Paragon-software.ntfs.agent", "com.microsoft.autoupdate",
                             "com.halvercine.tuxera-watch", "com.example.ntfs"}) {
    folder.write(std::string("Library/LaunchDaemons/") + daemon + ".plist", "");
  }

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
  const std::pair<const char*, const char*> cases[] = {
      {"PARAGON-tuxera.fs", "Tuxera NTFS"},
      {"microsoft_ntfs_easeus.fs", "EaseUS NTFS"},
      {"ms_NTFS.kext", "Microsoft NTFS (third party)"},
      {"some.ntfs.fs", "some.ntfs"},
      {"NTFS", "NTFS"},
      {".ntfs", ".ntfs"},
  };
  for (const auto& [fileName, name] : cases) EXPECT_EQ(driverDisplayName(fileName), name);
}

TEST(ModuleLabelTest, isDecidedByTheFirstTokenOfTheTable) {
  const std::pair<const char*, const char*> cases[] = {
      {"com.Hasleo.fs", "Hasleo（FSKit 模块）"},
      {"cn.ntfs.xntfs", "赤友 NTFS（FSKit 模块）"},
      {"com.ufsd.iboysoft", "iBoysoft NTFS（FSKit 模块）"},
      {"com.microsoft.Fs", "com.microsoft.Fs（FSKit 模块）"},
  };
  for (const auto& [identifier, label] : cases) EXPECT_EQ(moduleLabel(identifier), label);
}

}  // namespace
}  // namespace halvercine::mount
