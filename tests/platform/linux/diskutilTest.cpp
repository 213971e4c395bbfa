// The disk tool: its texts, and the program itself on real volumes.
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/wait.h>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/Json.h"
#include "base/PrivateFiles.h"
#include "platform/DiskArbitration.h"
#include "platform/linux/LoopDevice.h"
#include "platform/linux/Storage.h"
#include "platform/linux/diskutil/MountDirectory.h"
#include "platform/linux/diskutil/Request.h"
#include "platform/linux/diskutil/accessReport.h"
#include "platform/linux/diskutil/infoText.h"
#include "platform/linux/diskutil/mountVolume.h"
#include "platform/linux/diskutil/ntfsState.h"
#include "platform/linux/diskutil/runBounded.h"
#include "platform/linux/diskutil/unmountVolume.h"

namespace halvercine::platform::gnulinux {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

TEST(DiskRequestTest, UnderstandsTheControllersCommandLines) {
  const auto parsed = [](std::vector<std::string_view> words) { return parseRequest(words); };
  EXPECT_EQ(parsed({"info", "/dev/disk4s1"})->verb, DiskVerb::info);
  EXPECT_EQ(parsed({"mount", "disk4"})->verb, DiskVerb::mount);
  EXPECT_EQ(parsed({"mount", "readOnly", "/dev/disk4s1"})->verb, DiskVerb::mountReadOnly);
  EXPECT_EQ(parsed({"unmount", "/dev/disk4s1"})->verb, DiskVerb::unmount);
  EXPECT_EQ(parsed({"unmount", "force", "disk4s12"})->id, (MediumId{4, 12}));
  for (const auto* disk :
       {"/dev/sda1", "/dev/../disk4s1", "disk04", "", "readOnly", "/dev/disk4s1 "}) {
    EXPECT_EQ(parsed({"mount", disk})->id, std::nullopt) << disk;
  }
  EXPECT_FALSE(parsed({"mount"}));
  EXPECT_FALSE(parsed({"mount", "force", "disk4s1"}));
  EXPECT_FALSE(parsed({"eject", "disk4"}));
  EXPECT_FALSE(parsed({"unmount", "force", "force", "disk4"}));
}

TEST(MountDirectoryTest, NamesFoldersAfterVolumes) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"DATA", "DATA"},       {" Музыка 🎵 ", "Музыка 🎵"}, {"", "Untitled"},
      {"..", "Untitled"},     {".", "Untitled"},          {"../../etc/passwd", "..:..:etc:passwd"},
      {" \t\n ", "Untitled"},
  };
  for (const auto& [volume, folder] : cases) EXPECT_EQ(folderName(volume), folder) << volume;
  const std::string hostile = folderName("a\nb\x1b[2J\xFF");
  EXPECT_EQ(hostile.find_first_of("\n\x1b\xFF"), std::string::npos);
  std::string longName(199, 'a');
  for (int index = 0; index < 40; ++index) longName += "ä";
  EXPECT_EQ(folderName(longName), std::string(199, 'a')) << "a character was cut in two";
}

TEST(DiskInfoTextTest, WritesTheRecordOfAMountedVolume) {
  namespace key = disk_description;
  PropertyDictionary description;
  description.emplace(key::volumeKind, "ntfs");
  description.emplace(key::volumeName, "DATA\n   Mounted:                   No");
  description.emplace(key::volumePath, FileUrl{"/media/DATA"});
  description.emplace(key::mediaContent, "EBD0A0A2-B9E5-4433-87C0-68B6B72699C7");
  description.emplace(key::mediaSize, std::int64_t{2000153477120});
  description.emplace(key::mediaBlockSize, std::int64_t{512});
  description.emplace(key::mediaWritable, true);
  description.emplace(key::mediaRemovable, false);
  description.emplace(key::deviceInternal, false);
  description.emplace(key::deviceProtocol, "USB");
  EXPECT_EQ(infoText({6, 2}, description, {MountState::Access::readOnly, true}),
            R"(   Device Identifier:         disk6s2
   Device Node:               /dev/disk6s2
   Whole:                     No
   Part of Whole:             disk6

   Volume Name:               DATA\u{A}   Mounted:                   No
   Mounted:                   Yes
   Mount Point:               /media/DATA

   Partition Type:            Microsoft Basic Data
   File System Personality:   Halvercine NTFS
   Type (Bundle):             ntfs
   Name (User Visible):       Halvercine NTFS

   Media Type:                Generic
   Protocol:                  USB

   Disk Size:                 2.0 TB (2000153477120 Bytes) (exactly 3906549760 512-Byte-Units)
   Device Block Size:         512 Bytes

   Media Read-Only:           No
   Volume Read-Only:          Yes (read-only mount flag set)

   Device Location:           External
   Removable Media:           Fixed)");

  const auto unmounted = infoText({6, 2}, description, {});
  EXPECT_THAT(unmounted, HasSubstr("   Mounted:                   No\n\n"));
  EXPECT_THAT(unmounted, HasSubstr("Volume Read-Only:          Not applicable (not mounted)"));
  EXPECT_THAT(unmounted, HasSubstr("File System Personality:   NTFS\n"));
  EXPECT_THAT(unmounted, Not(HasSubstr("Mount Point")));
  description.erase(description.find(key::volumeKind));
  EXPECT_THAT(infoText({6, 0}, description, {}),
              HasSubstr("   Mounted:                   Not applicable (no file system)\n"));
}

TEST(DiskInfoTextTest, RoundsSizesAsDiskutilDoes) {
  EXPECT_THAT(exactSizeText(170426368), StartsWith("170.4 MB (170426368 Bytes) (exactly 332864 "));
  EXPECT_THAT(exactSizeText(0), StartsWith("0 B (0 Bytes)"));
  EXPECT_THAT(exactSizeText(999'960'000), StartsWith("1.0 GB"));
  EXPECT_THAT(exactSizeText(999'940'000), StartsWith("999.9 MB"));
}

TEST(DiskutilTest, DoesNotUnmountTheSystem) {
  EXPECT_TRUE(isSystemFolder("/"));
  EXPECT_TRUE(isSystemFolder("/home"));
  EXPECT_FALSE(isSystemFolder("/media/DATA"));
}

struct ToolAnswer {
  int status = 0;
  std::string text;
};

class DiskutilVolumeTest : public testing::Test {
 protected:
  void SetUp() override {
    if (const auto reason = LoopDevice::whyUnavailable(); !reason.empty()) GTEST_SKIP() << reason;
    container_ = home_ / "halvercine" / "group.com.halvercine.shared";
    ASSERT_TRUE(loop_.partition("label: gpt\nstart=2048, size=20480\nstart=22528, size=20480\n"));
    ASSERT_TRUE(loop_.attach());
    ASSERT_TRUE(loop_.addPartition(1, 2048 * 512, 20480 * 512));
    ASSERT_TRUE(runProgram({"mkntfs", "-Q", "-F", "-L", label_, loop_.partitionNode(1)}));
    id_ = idOf(loop_.kernelName() + "p1");
    disk_ = "/dev/" + bsdName(id_);
    report_ = container_ / ("mount-access-" + bsdName(id_) + ".json");
  }

  void TearDown() override {
    if (!disk_.empty()) tool("unmount force " + disk_);
    std::error_code ignored;
    std::filesystem::remove_all(home_, ignored);
  }

  static MediumId idOf(const std::string& kernelName) {
    const auto device = readBlockDevice("/sys", kernelName);
    return device ? device->id : MediumId{};
  }

  ToolAnswer tool(const std::string& arguments) const {
    const auto command = fmt::format("XDG_DATA_HOME='{}' '{}' {} 2>&1", home_.string(),
                                     HALVERCINE_DISKUTIL, arguments);
    ToolAnswer answer;
    std::FILE* const pipe = ::popen(command.c_str(), "r");
    for (int byte = std::fgetc(pipe); byte != EOF; byte = std::fgetc(pipe)) {
      answer.text += static_cast<char>(byte);
    }
    answer.status = WEXITSTATUS(::pclose(pipe));
    return answer;
  }

  std::string mountPoint() const {
    const auto directory = MountDirectory::find(id_);
    return directory ? directory->path() : "";
  }

  std::optional<Mount> mount() const {
    const auto mounts = readMounts("/proc/self/mountinfo");
    const auto device = readBlockDevice("/sys", loop_.kernelName() + "p1");
    const auto* found = device ? mounts.principal(device->number) : nullptr;
    return found == nullptr ? std::nullopt : std::optional(*found);
  }

  std::string reportedReason() const {
    const auto text = base::readRegularFile(report_, 4096);
    const auto report = base::decodeJson<AccessReport>(text.value_or(""));
    if (!report) return "no report";
    EXPECT_EQ(report->deviceID, id_.entryId());
    EXPECT_EQ(report->bootSession.size(), 36u);
    EXPECT_THAT(*text, StartsWith("{\"deviceID\":"));
    EXPECT_EQ(report->ownerID, diskToolOwner);
    return boost::describe::enum_to_string(report->reason, "");
  }

  void expectNothingLeft(const std::string& folder) const {
    EXPECT_FALSE(mount());
    EXPECT_EQ(mountPoint(), "");
    EXPECT_FALSE(std::filesystem::exists(folder)) << folder;
    EXPECT_FALSE(std::filesystem::exists(report_));
  }

  // In the record of the volume and its copy, which the drivers compare.
  void markDirty() const {
    std::fstream volume(loop_.partitionNode(1), std::ios::in | std::ios::out | std::ios::binary);
    std::array<char, 512> boot{};
    volume.read(boot.data(), boot.size());
    const auto place = volumeRecordPlace(std::as_bytes(std::span(boot))).value();
    const std::uint64_t cluster = 4096;
    std::uint64_t copy = 0;
    std::memcpy(&copy, boot.data() + 0x38, sizeof copy);
    for (const std::uint64_t offset : {place.offset, copy * cluster + 3 * place.size}) {
      std::vector<char> record(place.size);
      volume.seekg(static_cast<std::streamoff>(offset)).read(record.data(), place.size);
      EXPECT_EQ(isMarkedDirty(std::as_bytes(std::span(record))), false);
      // The flags follow the version, which is 3.1 ever since Windows XP.
      const std::string version("\x03\x01\x00\x00", 4);
      const auto found = std::search(record.begin(), record.end(), version.begin(), version.end());
      ASSERT_NE(found, record.end());
      found[2] = 1;
      EXPECT_EQ(isMarkedDirty(std::as_bytes(std::span(record))), true);
      volume.seekp(static_cast<std::streamoff>(offset)).write(record.data(), place.size);
      record[510] = static_cast<char>(record[510] + 1);
      EXPECT_EQ(isMarkedDirty(std::as_bytes(std::span(record))), std::nullopt) << "torn";
    }
  }

  void hibernate() {
    ASSERT_EQ(tool("mount " + disk_).status, 0);
    std::ofstream(mountPoint() + "/hiberfil.sys") << "hibr" << std::string(8192, '\0');
    ASSERT_EQ(tool("unmount " + disk_).status, 0);
  }

  LoopDevice loop_;
  MediumId id_;
  std::string disk_;
  const std::string label_ = "HV test " + std::to_string(::getpid());
  const std::filesystem::path home_ = std::filesystem::temp_directory_path() /
                                      ("halvercine-diskutil-" + std::to_string(::getpid()));
  std::filesystem::path container_;
  std::filesystem::path report_;
};

TEST_F(DiskutilVolumeTest, MountsDescribesAndUnmounts) {
  const auto mounted = tool("mount " + disk_);
  EXPECT_EQ(mounted.text, fmt::format("Volume {} on {} mounted\n", label_, disk_));
  ASSERT_EQ(mounted.status, 0);
  const std::string folder = mountPoint();
  EXPECT_EQ(mount()->target, folder);
  EXPECT_FALSE(mount()->readOnly);
  EXPECT_EQ(reportedReason(), "readWrite");
  EXPECT_THAT(tool("info " + disk_).text,
              testing::AllOf(HasSubstr("Mount Point:               " + folder + "\n"),
                             HasSubstr("File System Personality:   Halvercine NTFS\n"),
                             HasSubstr("Volume Read-Only:          No\n")));
  EXPECT_EQ(tool("mount readOnly " + disk_).text,
            fmt::format("Volume {} on {} already mounted\n", label_, disk_));

  // Not handed down to the shell that runs the tool, which would be in the way as well.
  base::UniqueFd held(::open((folder + "/file").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
  const auto busy = tool("unmount " + disk_);
  EXPECT_EQ(busy.status, 1);
  EXPECT_THAT(busy.text,
              StartsWith(fmt::format("Volume {} on {} failed to unmount: dissented by PID {} (",
                                     label_, bsdName(id_), ::getpid())));
  EXPECT_THAT(busy.text, HasSubstr(fmt::format("\nDissenter parent PPID {} (", ::getppid())));
  EXPECT_EQ(reportedReason(), "readWrite") << "still mounted";

  held = {};
  EXPECT_EQ(tool("unmount " + disk_).text,
            fmt::format("Volume {} on {} unmounted\n", label_, bsdName(id_)));
  expectNothingLeft(folder);
  const auto again = tool("unmount " + disk_);
  EXPECT_EQ(again.text, bsdName(id_) + " was already unmounted\n");
  EXPECT_EQ(again.status, 0);
}

TEST_F(DiskutilVolumeTest, ReportsWhyAVolumeIsReadOnly) {
  const auto expectReadOnly = [&](const std::string& verb, const std::string& reason) {
    SCOPED_TRACE(reason);
    const auto answer = tool(verb + disk_);
    ASSERT_EQ(answer.status, 0) << answer.text;
    EXPECT_TRUE(mount()->readOnly);
    EXPECT_EQ(reportedReason(), reason);
    EXPECT_EQ(tool("unmount " + disk_).status, 0);
  };
  expectReadOnly("mount readOnly ", "requested");

  const base::UniqueFd device(::open(loop_.partitionNode(1).c_str(), O_RDONLY | O_CLOEXEC));
  int protection = 1;
  ASSERT_EQ(::ioctl(device.get(), BLKROSET, &protection), 0);
  expectReadOnly("mount ", "deviceProtected");
  protection = 0;
  ASSERT_EQ(::ioctl(device.get(), BLKROSET, &protection), 0);

  ASSERT_NO_FATAL_FAILURE(hibernate());
  expectReadOnly("mount ", "unsafeVolume");
  ASSERT_TRUE(runProgram({"mkntfs", "-Q", "-F", loop_.partitionNode(1)}));
  ASSERT_NO_FATAL_FAILURE(markDirty());
  expectReadOnly("mount ", "unsafeVolume");
}

TEST_F(DiskutilVolumeTest, ForcedUnmountKeepsWhatWasWritten) {
  ASSERT_EQ(tool("mount " + disk_).status, 0);
  const std::string folder = mountPoint();
  auto held = std::ofstream(folder + "/file");
  held << std::string(300'000, 'x') << std::flush;
  const auto forced = tool("unmount force " + disk_);
  EXPECT_EQ(forced.text, fmt::format("Volume {} on {} force-unmounted\n", label_, bsdName(id_)));
  expectNothingLeft(folder);
  EXPECT_FALSE(held << "more" << std::flush);
  held.close();

  ASSERT_EQ(tool("mount " + disk_).status, 0);
  EXPECT_FALSE(mount()->readOnly);
  EXPECT_EQ(std::filesystem::file_size(folder + "/file"), 300'000u);
}

TEST_F(DiskutilVolumeTest, FailuresLeaveNothing) {
  const std::string folder = "/media/" + label_;
  {
    const base::UniqueFd claimed(
        ::open(loop_.partitionNode(1).c_str(), O_RDONLY | O_EXCL | O_CLOEXEC));
    const auto answer = tool("mount " + disk_);
    EXPECT_EQ(answer.status, 1);
    EXPECT_EQ(answer.text, fmt::format("Volume {} on {} failed to mount\nDevice or resource busy\n",
                                       label_, bsdName(id_)));
    expectNothingLeft(folder);
  }
  // The first volume's folder is taken by somebody else's.
  ASSERT_TRUE(std::filesystem::create_directory(folder));
  EXPECT_EQ(tool("mount " + disk_).status, 0);
  EXPECT_EQ(mountPoint(), folder + " 1");
  EXPECT_EQ(tool("unmount " + disk_).status, 0);
  EXPECT_TRUE(std::filesystem::remove(folder));
  EXPECT_FALSE(std::filesystem::exists(folder + " 1"));

  const auto whole = tool("mount /dev/" + bsdName({id_.sequence, 0}));
  EXPECT_EQ(whole.status, 1);
  EXPECT_THAT(whole.text, HasSubstr("failed to mount"));
  const auto none = tool("unmount /dev/disk999999999s1");
  EXPECT_EQ(none.text, "Unable to find disk for /dev/disk999999999s1\n");
  EXPECT_EQ(none.status, 1);
}

TEST_F(DiskutilVolumeTest, AnInterruptedMountIsWholeOrNotThere) {
  const pid_t child = ::fork();
  if (child == 0) {  // the signal waits until the program lets it through
    sigset_t signals;
    ::sigemptyset(&signals);
    ::sigaddset(&signals, SIGTERM);
    ::sigprocmask(SIG_BLOCK, &signals, nullptr);
    ::kill(::getpid(), SIGTERM);
    ::setenv("XDG_DATA_HOME", home_.c_str(), 1);
    ::execl(HALVERCINE_DISKUTIL, HALVERCINE_DISKUTIL, "mount", disk_.c_str(), nullptr);
    ::_exit(127);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFSIGNALED(status)) << status;
  if (mount()) {
    EXPECT_EQ(reportedReason(), "readWrite");
    EXPECT_EQ(mountPoint(), mount()->target);
  } else {
    expectNothingLeft("/media/" + label_);
  }
}

}  // namespace
}  // namespace halvercine::platform::gnulinux
