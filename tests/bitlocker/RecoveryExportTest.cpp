#include "bitlocker/unlock/RecoveryExport.h"

#include <gtest/gtest.h>

#include "support/TemporaryFolder.h"
#include "support/modeOf.h"

namespace halvercine::bitlocker {
namespace {

namespace fs = std::filesystem;

const platform::WallTime morning = std::chrono::sys_days(std::chrono::year(2026) / 3 / 14) +
                                   std::chrono::seconds(29702) + std::chrono::milliseconds(999);

TEST(RecoveryExportTest, NameAndTextAreTheSameEverywhere) {
  EXPECT_EQ(recoveryFileName(morning), "Tarnwel-BitLocker-Recovery-20260314-081502Z.txt");
  EXPECT_EQ(recoveryFileText("DATA", base::Secret("123453-530112"), morning).reveal(),
            "Tarnwel | BitLocker recovery password\nVolume: DATA\n"
            "Export requested at (UTC): 2026-03-14T08:15:02Z\nRecovery password: 123453-530112");
}

TEST(RecoveryExportTest, AFileOnTheVolumeIsRecognized) {
  const tests::TemporaryFolder folder;
  const auto mount = folder.path() / "DATA";
  fs::create_directories(mount / "sub");
  fs::create_directories(folder.path() / "DATA 2");
  fs::create_directory_symlink(mount / "sub", folder.path() / "link");
  fs::create_symlink(mount / "new.txt", folder.path() / "file.txt");
  fs::create_directory_symlink(folder.path(), folder.path() / "loop");
  const ExportedVolume here{mount.string(), std::nullopt, ""};
  const ExportedVolume slash{mount.string() + "/", std::nullopt, ""};
  const ExportedVolume second{std::nullopt, mount.string(), ""};
  const ExportedVolume viaLink{(folder.path() / "loop" / "DATA").string(), std::nullopt, ""};
  const auto named = [](std::string name) {
    return ExportedVolume{std::nullopt, std::nullopt, std::move(name)};
  };
  const struct {
    fs::path path;
    ExportedVolume volume;
    bool isOn;
  } rows[] = {
      {mount / "a.txt", here, true},
      {mount / "sub" / "b" / "a.txt", here, true},
      {mount / "a.txt", slash, true},
      {mount / "a.txt", second, true},
      {mount / "a.txt", viaLink, true},
      {folder.path() / "loop" / "DATA" / "a.txt", here, true},
      {folder.path() / "link" / "a.txt", here, true},
      {folder.path() / "file.txt", here, true},
      {folder.path() / "x" / ".." / "DATA" / "a.txt", here, true},
      {folder.path() / "DATA 2" / "a.txt", here, false},
      {folder.path() / "a.txt", here, false},
      {mount / ".." / "a.txt", here, false},
      {"/Volumes/DATA/a.txt", named(" DATA \n"), true},
      {"/Volumes/DATA 2/a.txt", named("DATA"), false},
      {"/Volumes/Other/a.txt", named("DATA"), false},
      {"/Volumes/a:b/x.txt", named("a/b"), true},
      {"/Volumes/Other/a.txt", named(""), false},
      {"/Volumes/Other/a.txt", named(" "), false},
      {"/Volumes/Other/a.txt", named("."), false},
      {"/tmp/a.txt", named(".."), false},
      {"/Volumes/Other/a.txt", named("x/.."), false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.path.string() + " " + row.volume.name);
    EXPECT_EQ(isOnVolume(row.path, row.volume), row.isOn);
  }
}

TEST(RecoveryExportTest, WritesAPrivateFileOrSaysWhyNot) {
  const tests::TemporaryFolder folder;
  const base::Secret text("Recovery password: 123453");
  const auto file = folder.write("out/a.txt", "older");
  fs::permissions(file, fs::perms::all);
  EXPECT_EQ(saveRecoveryFile(file, text, {}), std::nullopt);
  EXPECT_EQ(folder.read("out/a.txt"), text.reveal());
  EXPECT_EQ(tests::modeOf(file), 0600u);

  const ExportedVolume volume{(folder.path() / "out").string(), std::nullopt, "DATA"};
  EXPECT_EQ(saveRecoveryFile(file.parent_path() / "b.txt", text, volume),
            "encrypt.ux.save.same.disk");
  EXPECT_EQ(saveRecoveryFile(folder.path() / "missing" / "a.txt", text, volume),
            "encrypt.ux.save.failed");
  EXPECT_FALSE(fs::exists(file.parent_path() / "b.txt"));
}

}  // namespace
}  // namespace halvercine::bitlocker
