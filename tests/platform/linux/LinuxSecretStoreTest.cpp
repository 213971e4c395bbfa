#include "platform/linux/LinuxSecretStore.h"

#include <chrono>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/SecretStoreContract.h"
#include "platform/linux/KeyringSession.h"
#include "support/TemporaryFolder.h"

namespace halvercine::tests {
namespace {

using Lookup = platform::SecretStore::Lookup;
using platform::gnulinux::LinuxSecretStore;
using platform::gnulinux::SecretServiceStore;

struct Keyring {
  ~Keyring() {
    for (const char* service : {"a", "b"}) store.removeAll(service);
  }
  platform::SecretStore* secretStore() { return whyUnavailable().empty() ? &store : nullptr; }
  std::string whyUnavailable() const { return KeyringSession::shared().whyUnavailable(); }

  SecretServiceStore store;
};

INSTANTIATE_TYPED_TEST_SUITE_P(Keyring, SecretStoreContract, Keyring);

bool hasFiles(const TemporaryFolder& folder) { return !folder.names().empty(); }

TEST(LinuxSecretStoreTest, WithoutAKeyringFilesAreUsed) {
  const TemporaryFolder folder;
  // In a process of its own, which has not talked to any bus.
  const pid_t child = ::fork();
  if (child == 0) {
    ::setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus", 1);
    LinuxSecretStore store(folder.path());
    const bool isKept = store.add("a", "x", "secret") &&
                        store.copyMatching("a", "x", [](std::string_view) {}) == Lookup::found;
    std::_Exit(isKept ? 0 : 1);
  }
  int status = -1;
  ::waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  EXPECT_TRUE(hasFiles(folder));
}

TEST(LinuxSecretStoreTest, TheKeyringIsTakenAndFilesOnlyWithoutOne) {
  auto& session = KeyringSession::shared();
  if (!session.whyUnavailable().empty()) GTEST_SKIP() << session.whyUnavailable();
  const TemporaryFolder folder;
  LinuxSecretStore store(folder.path());
  ASSERT_TRUE(store.add("a", "x", "secret"));
  EXPECT_FALSE(hasFiles(folder));
  SecretServiceStore keyring;
  const auto isSecret = [](std::string_view value) { EXPECT_EQ(value, "secret"); };
  EXPECT_EQ(keyring.copyMatching("a", "x", isSecret), Lookup::found);
  EXPECT_TRUE(store.remove("a", "x"));

  session.setHanging(true);
  constexpr std::chrono::milliseconds impatient{20};
  LinuxSecretStore hurried(folder.path(), impatient);
  EXPECT_FALSE(hurried.add("a", "z", "secret"));
  EXPECT_EQ(hurried.copyMatching("a", "z", isSecret), Lookup::unreadable);
  session.setHanging(false);
  EXPECT_FALSE(hasFiles(folder)) << "a keyring that hangs is a keyring";

  // What was kept in a file before there was a keyring is found, and forgotten, too.
  platform::posix::FileSecretStore(folder.path()).add("a", "y", "older");
  const auto isOlder = [](std::string_view value) { EXPECT_EQ(value, "older"); };
  EXPECT_EQ(store.copyMatching("a", "y", isOlder), Lookup::found);
  EXPECT_FALSE(store.add("a", "y", "newer"));
  EXPECT_TRUE(store.removeAll("a"));
  EXPECT_EQ(store.copyMatching("a", "y", isOlder), Lookup::absent);
}

}  // namespace
}  // namespace halvercine::tests
