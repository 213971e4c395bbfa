#include <gmock/gmock.h>

#include "platform/simulated/ScenarioMachine.h"

namespace halvercine::platform::simulated {
namespace {

using testing::HasSubstr;
using testing::StartsWith;
using tests::ScenarioMachine;

const std::string disks = R"("devices": [
  {"disk": "disk4", "volumes": [
    {"disk": "disk4s1", "name": "Data", "kind": "ntfs", "mount": {}},
    {"disk": "disk4s2", "name": "Data2", "kind": "ntfs", "mount": {}},
    {"disk": "disk4s3", "name": "Rest", "kind": "ntfs"},
    {"disk": "disk4s4", "bitLocker": {}}]},
  {"disk": "disk5", "writable": false, "volumes": [
    {"disk": "disk5s1", "name": "Locked", "kind": "exfat"}]}],
  "processes": [
    {"pid": 12, "command": "A B", "files": ["/Volumes/Data/\u00e9\n", "/Volumes/Data2"]},
    {"pid": 9, "command": "fsck", "files": ["/etc/hosts"], "devices": ["rdisk4s3"]}])";

TEST(SimulatedDiskutil, answersAsTheRealOne) {
  struct Case {
    std::vector<std::string> arguments;
    std::string answer;
  };
  const Case cases[] = {
      {{"unmount", "/dev/disk4s1"},
       "1 Volume Data on disk4s1 failed to unmount: dissented by PID 12 (A B)\n"
       "Dissenter parent PPID 1 (/sbin/launchd)\n"},
      {{"mount", "/dev/disk4s1"}, "1 Volume Data on disk4s1 already mounted\n"},
      {{"unmount", "force", "/dev/disk4s1"}, "0 Volume Data on disk4s1 unmounted\n"},
      {{"unmount", "/dev/disk4s1"}, "0 disk4s1 was already unmounted\n"},
      {{"mount", "readOnly", "/dev/disk4s1"}, "0 Volume Data on /dev/disk4s1 mounted\n"},
      {{"unmount", "/dev/disk4s1"}, "0 Volume Data on disk4s1 unmounted\n"},
      {{"mount", "/dev/disk4s3"}, "1 Volume on disk4s3 timed out waiting to mount\n"},
      {{"mount", "/dev/disk4s4"},
       "1 Volume on disk4s4 failed to mount\n"
       "Perhaps the operation is not supported (kDAReturnUnsupported)\n"
       "If you think the volume is supported but damaged, try the \"readOnly\" option\n"},
      {{"mount", "/dev/disk9s1"}, "1 Unable to find disk for /dev/disk9s1\n"},
      {{"unmount", "/dev/disk9s1"}, "1 Unable to find disk for /dev/disk9s1\n"},
      {{"info", "/dev/disk9"}, "1 Could not find disk: /dev/disk9\n"},
      {{"eraseDisk", "/dev/disk4"},
       "1 diskutil: did not recognize verb \"eraseDisk\"; type \"diskutil\" for a list\n"},
  };
  ScenarioMachine machine(disks);
  for (const auto& [arguments, answer] : cases) EXPECT_EQ(machine.diskutil(arguments), answer);
}

TEST(SimulatedDiskutil, tellsWhatIsMountedAndHow) {
  ScenarioMachine machine(disks);
  machine.diskutil({"mount", "/dev/disk5s1"});
  const std::tuple<std::string, std::string, std::string> cases[] = {
      {"disk4s1", "Mounted:                   Yes\n   Mount Point:               /Volumes/Data\n",
       "Volume Read-Only:          No\n"},
      {"disk4s3", "Mounted:                   No\n\n",
       "Volume Read-Only:          Not applicable (not mounted)\n"},
      {"disk5s1", "Mount Point:               /Volumes/Locked\n",
       "Volume Read-Only:          Yes (read-only mount flag set)\n"},
      {"disk4", "Whole:                     Yes\n",
       "Volume Read-Only:          Not applicable (no file system)\n"},
      {"disk4s1",
       "File System Personality:   Halvercine NTFS\n   Type (Bundle):             ntfs\n",
       "Disk Size:                 16.0 GB (16000000000 Bytes) (exactly 31250000 "
       "512-Byte-Units)\n"},
  };
  for (const auto& [disk, first, second] : cases) {
    const auto text = machine.diskutil({"info", "/dev/" + disk});
    EXPECT_THAT(text, StartsWith("0    Device Identifier:         " + disk + "\n"));
    EXPECT_THAT(text, HasSubstr(first));
    EXPECT_THAT(text, HasSubstr(second));
  }
}

TEST(SimulatedLsof, listsWhatIsOpenInFieldForm) {
  struct Case {
    std::vector<std::string> arguments;
    std::string answer;
  };
  const Case cases[] = {
      {{"-Fn"},
       "0 p9\nf3\nn/etc/hosts\nf4\nn/dev/rdisk4s3\n"
       "p12\nf3\nn/Volumes/Data/\\xc3\\xa9\\n\nf4\nn/Volumes/Data2\n"},
      {{"-F", "pc", "--", "/etc/hosts"}, "0 p9\ncfsck\n"},
      {{"-nP", "-Fpcn", "/dev/rdisk4s3", "/dev/disk4s3"}, "1 p9\ncfsck\nf4\nn/dev/rdisk4s3\n"},
      {{"-t", "/dev/disk4s1"}, "0 12\n"},
      {{"-t", "-f", "--", "/dev/disk4s1"}, "1 "},
      {{"-t", "-f", "--", "/dev/rdisk4s3"}, "0 9\n"},
      {{"-Fpc", "+f", "--", "/Volumes/Data"}, "0 p12\ncA\\x20B\n"},
      {{"-Fpc", "--", "/Volumes/Data"}, "1 "},
      {{"-Fp", "+D", "/Volumes/Dat"},
       "1 lsof: status error on /Volumes/Dat: No such file or "
       "directory\n"},
      {{"/etc/hosts"}, "1 lsof: only -F and -t are simulated\n"},
  };
  ScenarioMachine machine(disks + R"(, "files": {"/etc/hosts": ""})");
  for (const auto& [arguments, answer] : cases) {
    EXPECT_EQ(machine.run("lsof", arguments), answer) << arguments.back();
  }
}

TEST(SimulatedLsof, forgetsWhatIsOnADiskThatGoes) {
  ScenarioMachine machine(disks);
  machine.mac.machine().unplug("disk4");
  EXPECT_EQ(machine.run("lsof", {"-Fn"}), "0 p9\nf3\nn/etc/hosts\n");
}

TEST(ToolScripts, changeWhatTheToolDoes) {
  ScenarioMachine machine(disks + R"(, "tools": [
    {"match": ["info"], "times": 1, "startError": "no more processes"},
    {"match": ["info", "/dev/disk5"], "status": 3, "text": "odd\n"},
    {"match": ["unmount", "/dev/disk4s2"], "signal": 11},
    {"tool": "lsof", "megabytes": 1, "text": "end"},
    {"match": ["unmount", "force"], "text": "lies", "then": "do"},
    {"match": ["mount"], "hang": true}])");
  EXPECT_EQ(machine.diskutil({"info", "/dev/disk5"}), "no more processes");
  EXPECT_EQ(machine.diskutil({"info", "/dev/disk5"}), "3 odd\n");
  EXPECT_THAT(machine.diskutil({"info", "/dev/disk4"}), StartsWith("0    Device"));
  EXPECT_EQ(machine.diskutil({"unmount", "/dev/disk4s2"}), "signal 11 ");
  EXPECT_EQ(machine.run("lsof", {"-F"}).size(), 2 + 1024 * 1024 + 3);
  EXPECT_EQ(machine.diskutil({"unmount", "force", "/dev/disk4s1"}), "0 lies");
  EXPECT_FALSE(machine.mac.machine().look("disk4s1")->mountPath);
  EXPECT_EQ(machine.diskutil({"mount", "/dev/disk4s1"}), "runs ");
  EXPECT_FALSE(machine.mac.machine().look("disk4s1")->mountPath);
}

TEST(ToolScripts, aRunTakesItsTimeAndDoesItsWorkAtTheEnd) {
  ScenarioMachine machine(disks + R"(, "tools": [
    {"match": ["unmount"], "seconds": 7, "ignoresTerminate": true}])");
  const auto record = std::make_shared<tests::ToolRecord>();
  auto process = machine.platform.toolRunner->start(
      {"/usr/sbin/diskutil", {"unmount", "force", "/dev/disk4s1"}},
      tests::ToolRecord::events(machine.actor, record));
  const auto isMounted = [&] {
    return machine.mac.machine().look("disk4s1")->mountPath.has_value();
  };
  machine.pass(6.9);
  (*process)->terminate();
  machine.pass(0);
  EXPECT_TRUE(isMounted());
  machine.pass(0.2);
  EXPECT_FALSE(isMounted());
  EXPECT_EQ(record->exit->status, 0);

  process = machine.platform.toolRunner->start(
      {"/usr/sbin/diskutil", {"unmount", "force", "/dev/disk4s2"}},
      tests::ToolRecord::events(machine.actor, record));
  (*process)->kill();
  machine.pass(30);
  EXPECT_EQ(record->exit->status, 9);
  EXPECT_TRUE(machine.mac.machine().look("disk4s2")->mountPath) << "killed before it did anything";
}

TEST(ToolScripts, errorsCanComeApart) {
  ScenarioMachine machine(disks);
  std::string output;
  std::string errors;
  const auto process = machine.platform.toolRunner->start(
      {"/usr/sbin/diskutil", {"mount", "/dev/disk9"}, ToolInvocation::Errors::apart},
      {[&](auto bytes) { output += bytes; }, [&](auto bytes) { errors += bytes; }, {}, {}});
  machine.pass(1);
  EXPECT_EQ(output, "");
  EXPECT_EQ(errors, "Unable to find disk for /dev/disk9\n");
}

TEST(ToolScripts, anEventMayDestroyTheProcess) {
  ScenarioMachine machine(disks);
  std::unique_ptr<ToolProcess> process;
  bool exited = false;
  process = std::move(*machine.platform.toolRunner->start(
      {"/usr/sbin/diskutil", {"info", "/dev/disk4"}},
      {[&](auto) { process.reset(); }, {}, [&] { exited = true; }, [&](auto) { exited = true; }}));
  machine.pass(1);
  EXPECT_FALSE(process);
  EXPECT_FALSE(exited);
}

TEST(ScenarioProcesses, comeAndGoWithTheTimeline) {
  ScenarioMachine machine(disks + R"(, "timeline": [
    {"at": 40, "event": "close", "pid": 12, "files": ["/Volumes/Data2"]},
    {"at": 40, "event": "open", "pid": 9, "files": ["/Volumes/Data2/x"]},
    {"at": 80, "event": "endProcess", "pid": 9}])");
  const std::vector<std::string> unmount{"unmount", "/dev/disk4s2"};
  EXPECT_THAT(machine.diskutil(unmount), HasSubstr("PID 12"));
  machine.pass(15);
  EXPECT_THAT(machine.diskutil(unmount), HasSubstr("PID 9"));
  machine.pass(15);
  EXPECT_THAT(machine.diskutil(unmount), StartsWith("0"));
}

}  // namespace
}  // namespace halvercine::platform::simulated
