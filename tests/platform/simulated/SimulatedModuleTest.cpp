#include <gmock/gmock.h>

#include "base/Json.h"
#include "platform/simulated/ScenarioMachine.h"

namespace halvercine::platform::simulated {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using tests::ScenarioMachine;

constexpr const char* reportName = "mount-access-disk4s1.json";

std::string volume(const std::string& keys) {
  return R"("system": {"now": "2026-03-14T08:15:00Z"}, "devices": [{"disk": "disk4", "volumes": [
    {"disk": "disk4s1", "name": "Data", "entryID": 77)" +
         keys + "}]}]";
}

std::string ntfs(const std::string& keys) { return volume(R"(, "kind": "ntfs")" + keys); }

/// "rw", "ro" or nothing.
std::string access(ScenarioMachine& machine) {
  const auto path = machine.mac.machine().look("disk4s1")->mountPath;
  if (!path) return "";
  return machine.platform.fileSystems->statistics(*path)->readOnly ? "ro" : "rw";
}

/// The second of the report, as the module's clock shows it; -1 without one.
int reportSecond(const ScenarioMachine& machine) {
  const auto text = machine.shared(reportName);
  const auto value = base::parseJson(text);
  if (!value) return -1;
  return static_cast<int>(value->at("timestamp").to_number<double>() - 1773476100);
}

TEST(SimulatedModule, mountsAsTheScenarioSays) {
  struct Case {
    std::string keys;
    std::string verb;  // behind "mount"
    std::string expected;
    std::string reason;
  };
  const Case cases[] = {
      {R"(, "kind": "ntfs")", "", "rw", "readWrite"},
      {R"(, "kind": "ntfs")", "readOnly", "ro", "requested"},
      {R"(, "kind": "ntfs", "writable": false)", "", "ro", "deviceProtected"},
      {R"(, "kind": "ntfs", "module": {"mounts": "unsafeVolume"})", "", "ro", "unsafeVolume"},
      {R"(, "kind": "ntfs", "module": {"driver": "system"})", "", "ro", ""},
      {R"(, "kind": "ntfs", "module": {"driver": "Tuxera NTFS"})", "", "rw", ""},
      {R"(, "kind": "exfat")", "", "rw", ""},
      {R"(, "kind": "exfat", "writable": false)", "", "ro", ""},
  };
  for (const auto& [keys, verb, expected, reason] : cases) {
    SCOPED_TRACE(keys + verb);
    ScenarioMachine machine(volume(keys));
    std::vector<std::string> arguments{"mount", "/dev/disk4s1"};
    if (!verb.empty()) arguments.insert(arguments.begin() + 1, verb);
    machine.diskutil(arguments);
    EXPECT_EQ(access(machine), expected);
    EXPECT_THAT(machine.shared(reportName), reason.empty()
                                                ? testing::Matcher<std::string>(IsEmpty())
                                                : HasSubstr(R"("reason":")" + reason + '"'));
  }
}

TEST(SimulatedModule, changesItsMindFromMountToMountUntilTheDiskIsReplugged) {
  ScenarioMachine machine(ntfs(R"(, "module": {"mounts": ["resourceReadOnly", "readWrite"]})"));
  std::string seen;
  for (const bool replug : {false, false, false, true}) {
    machine.diskutil({"unmount", "/dev/disk4s1"});
    if (replug) machine.mac.machine().unplug("disk4");
    if (replug) machine.mac.machine().plug("disk4");
    machine.diskutil({"mount", "/dev/disk4s1"});
    seen += access(machine) + " ";
  }
  EXPECT_EQ(seen, "ro rw rw ro ");
}

TEST(SimulatedModule, keepsItsReportFreshAndTakesItAway) {
  ScenarioMachine machine(ntfs(R"(, "mount": {}, "report": {}, "module": {"refreshSeconds": 40})"));
  int changes = 0;
  const auto watch = machine.platform.directoryWatcher->watch(
      *machine.platform.containers->groupContainer("group.com.halvercine.shared"),
      [&] { ++changes; });
  machine.pass(100);
  EXPECT_EQ(reportSecond(machine), 80);
  EXPECT_EQ(changes, 2);
  machine.diskutil({"unmount", "/dev/disk4s1"});
  EXPECT_EQ(reportSecond(machine), -1);
  EXPECT_EQ(changes, 3);
  machine.pass(1000);
  EXPECT_EQ(reportSecond(machine), -1);
}

TEST(SimulatedModule, leavesItsReportWhenItDiesOrTheDiskIsPulledOut) {
  for (const std::string end : {"death", "unplug"}) {
    SCOPED_TRACE(end);
    const auto module =
        end == "death" ? R"({"reportDelay": 2, "diesAfter": 90})" : R"({"reportDelay": 2})";
    ScenarioMachine machine(ntfs(std::string(R"(, "module": )") + module));
    machine.diskutil({"mount", "/dev/disk4s1"});
    machine.pass(60);
    if (end == "unplug") machine.mac.machine().unplug("disk4");
    machine.pass(1000);
    EXPECT_EQ(reportSecond(machine), 62) << "mounted at 0.05, reported at 2.05, refreshed at 62.05";
    if (end == "unplug") continue;
    machine.diskutil({"unmount", "/dev/disk4s1"});
    EXPECT_EQ(reportSecond(machine), 62);
  }
}

TEST(SimulatedModule, leavesReportsOfTheScenarioAlone) {
  ScenarioMachine machine(ntfs(R"(, "mount": {}, "report": {})"));
  machine.pass(1000);
  EXPECT_EQ(reportSecond(machine), 0);
  machine.diskutil({"unmount", "/dev/disk4s1"});
  EXPECT_EQ(reportSecond(machine), 0);
}

TEST(SimulatedBitLocker, recordsAVolumeAndItsRemoval) {
  ScenarioMachine machine(volume(R"(, "bitLocker": {"guid": "KEY", "state": "unlocked",
                                      "tpmOnly": true, "encryptionMethod": 32772})"));
  const std::string name = "bitlocker-status-KEY.json";
  EXPECT_EQ(machine.shared(name),
            R"({"guid":"KEY","bsdName":"disk4s1","timestamp":1.7734761E9,"state":"unlocked",)"
            R"("hasPasswordProtector":true,"hasRecoveryProtector":true,"hasClearKey":false,)"
            R"("hasStartupKeyProtector":false,"tpmOnly":true,"encryptionMethod":32772,)"
            R"("deviceID":77})");
  machine.mac.machine().unplug("disk4");
  EXPECT_THAT(machine.shared(name), HasSubstr(R"("state":"locked")"));
  EXPECT_THAT(machine.shared(name), HasSubstr(R"("ejected":true)"));
  machine.mac.machine().plug("disk4");
  machine.pass(0);
  EXPECT_THAT(machine.shared(name), HasSubstr(R"("state":"unlocked")"));
  EXPECT_THAT(machine.shared(name), Not(HasSubstr("ejected")));
}

TEST(ScenarioFolders, holdTheFilesOfTheScenario) {
  ScenarioMachine machine(R"("files": {"/Library/Filesystems/x.fs/": null, "~/a/b": "text"})");
  auto& containers = *machine.platform.containers;
  EXPECT_TRUE(std::filesystem::is_directory(containers.systemPath("/Library/Filesystems/x.fs")));
  std::ifstream file(*containers.home() / "a" / "b");
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), "text");
}

TEST(SimulatedUserDefaults, areKeptForTheNextPlatform) {
  ScenarioMachine machine(R"("description": "")");
  EXPECT_TRUE(machine.platform.userDefaults->setValue("key", PropertyDictionary{{"a", 1.5}}));
  const auto again = machine.mac.takePlatform();
  EXPECT_EQ(again.userDefaults->value("key"), PropertyValue(PropertyDictionary{{"a", 1.5}}));
}

}  // namespace
}  // namespace halvercine::platform::simulated
