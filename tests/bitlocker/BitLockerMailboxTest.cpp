#include "bitlocker/BitLockerMailbox.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <fcntl.h>
#include <regex>
#include <string>
#include <sys/stat.h>
#include <thread>

#include <gtest/gtest.h>

#include "base/Json.h"
#include "base/VirtualClock.h"
#include "support/FolderContainers.h"
#include "support/TemporaryFolder.h"
#include "support/modeOf.h"

namespace halvercine::bitlocker {
namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;
using tests::FolderContainers;
using tests::modeOf;
using tests::TemporaryFolder;

const std::string key = "4967D63B-2E29-4AD8-8399-F6A339E3D001";
const std::string requestName = "bitlocker-unlock-" + key + ".json";
const std::string statusName = "bitlocker-status-" + key + ".json";
const auto now = platform::WallTime(1'760'000'000s + 250ms);

UnlockRequest request(std::string_view credential, std::optional<std::string> requestId = {}) {
  return {.method = "password",
          .credential = base::Secret(credential),
          .readOnly = {},
          .requestID = std::move(requestId)};
}

Status locked(std::string guid) {
  Status status;
  status.guid = std::move(guid);
  status.bsdName = "disk4s1";
  status.state = "locked";
  return status;
}

void setModified(const std::filesystem::path& path, platform::WallTime time) {
  const auto since = time.time_since_epoch();
  const auto seconds = std::chrono::floor<std::chrono::seconds>(since);
  const timespec stamp{seconds.count(), (since - seconds).count()};
  const std::array<timespec, 2> times{stamp, stamp};
  ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times.data(), AT_SYMLINK_NOFOLLOW), 0);
}

struct BitLockerMailboxTest : testing::Test {
  /// Makes the request so old.
  void makeOld(platform::Uptime age) const { setModified(requestFile, now - age); }

  TemporaryFolder folder;
  const std::filesystem::path requestFile = folder.path() / requestName;
  FolderContainers containers{folder.path()};
  base::VirtualClock clock{now};
  BitLockerMailbox mailbox{containers, clock};
};

TEST_F(BitLockerMailboxTest, writesPrivateRequestsThatReplaceOlderOnes) {
  ASSERT_TRUE(mailbox.writeRequest(key, request("old")));
  UnlockRequest second{.method = "recovery",
                       .credential = base::Secret("pass\"wörd\n"),
                       .readOnly = true,
                       .requestID = "R-2"};
  ASSERT_TRUE(mailbox.writeRequest(key, second));

  EXPECT_EQ(
      folder.read(requestName),
      R"({"method":"recovery","credential":"pass\"wörd\n","readOnly":true,"requestID":"R-2"})");
  EXPECT_EQ(folder.names(), std::set{requestName});
  EXPECT_EQ(modeOf(requestFile), 0600u);
  makeOld(0s);
  EXPECT_EQ(mailbox.pendingRequest(key), second);
}

TEST_F(BitLockerMailboxTest, failedWritesLeaveNothingBehind) {
  // The rename fails on a folder, after the temporary file was written.
  std::filesystem::create_directories(requestFile / "inside");
  EXPECT_FALSE(mailbox.writeRequest(key, request("secret")));
  EXPECT_EQ(folder.names(), std::set{requestName});

  EXPECT_FALSE(mailbox.writeRequest("other", request("not \xff UTF-8")));
  EXPECT_FALSE(mailbox.writeRequest("other", request(std::string(70'000, 'x'))));
  EXPECT_FALSE(mailbox.writeRequest(std::string(300, 'k'), request("name too long")));
  EXPECT_EQ(folder.names(), std::set{requestName});
}

TEST_F(BitLockerMailboxTest, refusesKeysThatLeaveTheFolder) {
  for (const auto& bad : {""s, "."s, ".."s, "a/b"s, "../x"s, "a\0b"s}) {
    EXPECT_FALSE(mailbox.statusURL(bad)) << bad;
    EXPECT_FALSE(mailbox.requestURL(bad)) << bad;
    EXPECT_FALSE(mailbox.writeRequest(bad, request("x"))) << bad;
    mailbox.writeStatus(locked(bad));
  }
  EXPECT_EQ(folder.names(), std::set<std::string>());
  EXPECT_EQ(mailbox.statusURL("{A b}"), folder.path() / "bitlocker-status-{A b}.json");
}

TEST_F(BitLockerMailboxTest, doesNothingWithoutContainer) {
  for (const auto& none :
       {std::optional<std::filesystem::path>(), std::optional(folder.path() / "not there")}) {
    containers.folder = none;
    EXPECT_FALSE(mailbox.writeRequest(key, request("x")));
    EXPECT_FALSE(mailbox.pendingRequest(key));
    EXPECT_FALSE(mailbox.readStatus(key));
    EXPECT_TRUE(mailbox.allStatuses().empty());
    mailbox.removeRequest(key);
    mailbox.sweepStale();
    mailbox.writeStatus(locked(key));
  }
  EXPECT_EQ(folder.names(), std::set<std::string>());
}

TEST_F(BitLockerMailboxTest, handsOutRequestsForThreeHundredSeconds) {
  // One that is from the future is new.
  for (const platform::Uptime age :
       {-3600s + 0ns, 299s + 0ns, 300s - 1ns, 300s + 0ns, 86400s + 0ns}) {
    const bool returned = age < 300s;
    SCOPED_TRACE(age.count());
    ASSERT_TRUE(mailbox.writeRequest(key, request("x")));
    makeOld(age);
    EXPECT_EQ(mailbox.pendingRequest(key).has_value(), returned);
    EXPECT_EQ(folder.names().contains(requestName), returned);
  }
}

TEST_F(BitLockerMailboxTest, leavesWhatIsNoRequestUntilItIsOld) {
  const char* const contents[] = {
      "{\"method\":",
      R"({"method":"password"})",
      R"({"method":"password","credential":48})",
      R"({"method":"password","credential":"x","readOnly":1})",
  };
  for (const auto* content : contents) {
    folder.write(requestName, content);
    makeOld(10s);
    EXPECT_FALSE(mailbox.pendingRequest(key)) << content;
    EXPECT_EQ(folder.read(requestName), content);
  }
}

TEST_F(BitLockerMailboxTest, readsNeitherLinksNorPipes) {
  const auto elsewhere = folder.write("elsewhere", R"({"method":"password","credential":"x"})");
  std::filesystem::create_symlink(elsewhere, requestFile);
  makeOld(0s);
  EXPECT_FALSE(mailbox.pendingRequest(key));

  ASSERT_EQ(::mkfifo((folder.path() / statusName).c_str(), 0600), 0);
  EXPECT_FALSE(mailbox.readStatus(key));
  EXPECT_TRUE(mailbox.allStatuses().empty());

  // A request replaces the link and leaves alone what it points to.
  EXPECT_TRUE(mailbox.writeRequest(key, request("mine")));
  EXPECT_EQ(folder.read("elsewhere"), R"({"method":"password","credential":"x"})");
}

TEST_F(BitLockerMailboxTest, withdrawsOnlyTheRequestWithTheIdentifier) {
  const struct {
    const char* name;
    std::optional<std::string> waiting;
    std::optional<std::string> withdrawn;
    bool stays;
  } cases[] = {
      {"same", "R-1", "R-1", false},
      {"other", "R-2", "R-1", true},
      {"letter case counts", "r-1", "R-1", true},
      {"without one", {}, "R-1", true},
      {"whatever waits", "R-2", {}, false},
  };
  for (const auto& [name, waiting, withdrawn, stays] : cases) {
    ASSERT_TRUE(mailbox.writeRequest(key, request("x", waiting)));
    makeOld(0s);
    mailbox.removeRequest(key, withdrawn);
    EXPECT_EQ(folder.names().contains(requestName), stays) << name;
  }
}

const std::string minimalStatus =
    R"({"guid":"G","bsdName":"disk4s1","timestamp":1760000000.125,"state":"locked",)"
    R"("hasPasswordProtector":true,"hasRecoveryProtector":false,"hasClearKey":true,)"
    R"("hasStartupKeyProtector":false,"tpmOnly":false})";

TEST_F(BitLockerMailboxTest, readsStatusesWithAndWithoutOptionalFields) {
  folder.write("bitlocker-status-G.json", minimalStatus);
  auto expected = locked("G");
  expected.timestamp = 1760000000.125;
  expected.hasPasswordProtector = true;
  expected.hasClearKey = true;
  EXPECT_EQ(mailbox.readStatus("G"), expected);

  std::string full = minimalStatus;
  full.back() = ',';
  full += R"("label":"Daten","encryptionMethod":32772,"errorMessage":"tpmOnly","requestID":"R",)"
          R"("deviceID":18446744073709551615,"usedSpaceOnly":true,"ejected":false,"next":[1]})";
  folder.write("bitlocker-status-G.json", full);
  auto more = expected;
  more.label = "Daten";
  more.encryptionMethod = 0x8004;
  more.errorMessage = "tpmOnly";
  more.requestID = "R";
  more.deviceID = 18446744073709551615u;
  more.usedSpaceOnly = true;
  more.ejected = false;
  EXPECT_EQ(mailbox.readStatus("G"), more);
  EXPECT_EQ(stateOf(more),
            (BitLockerState{"G", "locked", true, false, true, false, false, "tpmOnly"}));
}

TEST_F(BitLockerMailboxTest, listsEveryReadableStatusAndSkipsTheRest) {
  folder.write("bitlocker-status-G.json", minimalStatus);
  folder.write("bitlocker-status-other.json", minimalStatus);
  folder.write(".bitlocker-status-G.json.tmp-1", minimalStatus);
  folder.write("bitlocker-unlock-G.json", minimalStatus);
  folder.write("bitlocker-status-short.json", minimalStatus.substr(0, 100));
  folder.write("bitlocker-status-large.json", minimalStatus + std::string(70'000, ' '));
  std::filesystem::create_directory(folder.path() / "bitlocker-status-folder.json");
  int number = 0;
  for (const auto* required : {"state", "tpmOnly", "hasClearKey", "hasPasswordProtector",
                               "hasRecoveryProtector", "hasStartupKeyProtector"}) {
    const auto text = std::regex_replace(minimalStatus, std::regex(required), "x");
    folder.write("bitlocker-status-" + std::to_string(++number) + ".json", text);
  }
  for (const auto* wrong : {R"("encryptionMethod":-1})", R"("encryptionMethod":4294967296})",
                            R"("deviceID":"7"})", R"("ejected":0})"}) {
    auto text = minimalStatus;
    text.back() = ',';
    folder.write("bitlocker-status-" + std::to_string(++number) + ".json", text + wrong);
  }
  const auto statuses = mailbox.allStatuses();
  EXPECT_EQ(statuses.size(), 2u);
  EXPECT_EQ(std::ranges::count(statuses, "G", &Status::guid), 2);
}

TEST_F(BitLockerMailboxTest, rewritesAStatusWithThePermissionsItHad) {
  auto status = locked("G");
  status.timestamp = 1760000000.123456;
  status.ejected = true;
  mailbox.writeStatus(status);
  EXPECT_EQ(modeOf(folder.path() / "bitlocker-status-G.json"), 0600u);
  EXPECT_EQ(mailbox.readStatus("G"), status);

  const auto file = folder.write("bitlocker-status-G.json", minimalStatus);
  ASSERT_EQ(::chmod(file.c_str(), 0664), 0);
  mailbox.writeStatus(status);
  EXPECT_EQ(modeOf(file), 0664u);
  EXPECT_EQ(mailbox.readStatus("G"), status);

  auto unreadable = status;
  unreadable.label = "\xC3";  // cut in the middle of a character
  mailbox.writeStatus(unreadable);
  EXPECT_EQ(mailbox.readStatus("G"), status);
  EXPECT_EQ(folder.names().size(), 1u);
}

TEST_F(BitLockerMailboxTest, sweepsRequestsAndInterruptedWritesOnly) {
  const struct {
    std::string name;
    platform::Uptime age;
    bool stays;
  } cases[] = {
      {"bitlocker-unlock-A.json", 300s + 1ns, false},
      {"bitlocker-unlock-B.json", 300s, true},
      {"bitlocker-unlock-C.json.bak", 24h, true},
      {".bitlocker-unlock-D.json.tmp-0D6B6A3C-6A54-4D0C-9C7E-0F4B8C3A1E11", 301s, false},
      {".bitlocker-unlock-E.json.tmp-0D6B6A3C-6A54-4D0C-9C7E-0F4B8C3A1E11", 299s, true},
      {".bitlocker-unlock-F.json", 24h, true},
      {"bitlocker-status-G.json", 24h * 365, true},
      {".bitlocker-status-H.json.tmp-1", 24h, true},
      {"mount-access-disk4s1.json", 24h, true},
  };
  std::set<std::string> expected;
  for (const auto& [name, age, stays] : cases) {
    setModified(folder.write(name, "{}"), now - age);
    if (stays) expected.insert(name);
  }
  mailbox.sweepStale();
  EXPECT_EQ(folder.names(), expected);
}

TEST_F(BitLockerMailboxTest, aLookTakesNothingFromAnotherWriter) {
  const BitLockerMailbox other(containers, clock);
  std::atomic<bool> isDone = false;
  std::thread looking([&] {
    while (!isDone) mailbox.pendingRequest(key);
  });
  int lost = 0;
  for (int i = 0; i < 2000; ++i) {
    if (!other.writeRequest(key, request("x", "R"))) ++lost;
    if (!std::filesystem::exists(requestFile)) ++lost;
    std::filesystem::remove(requestFile);
  }
  isDone = true;
  looking.join();
  EXPECT_EQ(lost, 0);
}

}  // namespace
}  // namespace halvercine::bitlocker
