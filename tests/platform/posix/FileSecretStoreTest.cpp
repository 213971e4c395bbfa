#include "platform/posix/FileSecretStore.h"

#include <sys/stat.h>

#include "platform/SecretStoreContract.h"
#include "support/TemporaryFolder.h"

namespace halvercine::tests {
namespace {

using platform::posix::FileSecretStore;

struct Files {
  platform::SecretStore* secretStore() { return &store; }
  std::string whyUnavailable() const { return ""; }

  TemporaryFolder folder;
  FileSecretStore store{folder.path() / "Secrets"};
};

INSTANTIATE_TYPED_TEST_SUITE_P(Files, SecretStoreContract, Files);

mode_t modeOf(const std::filesystem::path& path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

TEST(FileSecretStoreTest, NobodyElseCanReadTheFiles) {
  const TemporaryFolder folder;
  const auto service = folder.path() / "Secrets" / "a";
  std::filesystem::create_directories(service);  // made by somebody with a wide mask
  std::filesystem::permissions(service, std::filesystem::perms::all);
  FileSecretStore store(folder.path() / "Secrets");
  ASSERT_TRUE(store.add("a", "x", "secret"));
  EXPECT_EQ(modeOf(service), 0700u);
  EXPECT_EQ(modeOf(service / "x"), 0600u);
}

TEST(FileSecretStoreTest, WithoutAPlaceNothingIsKept) {
  FileSecretStore nowhere(std::nullopt);
  EXPECT_FALSE(nowhere.add("a", "x", "secret"));
  const TemporaryFolder folder;
  FileSecretStore store(folder.path());
  EXPECT_FALSE(store.add("a", std::string(300, 'x'), "secret")) << "no file has such a name";
  EXPECT_FALSE(store.add("a", "", "secret"));
  std::filesystem::create_directories(folder.path() / "a");
  std::filesystem::create_symlink("/etc/hostname", folder.path() / "a" / "link");
  EXPECT_EQ(store.copyMatching("a", "link", [](std::string_view) { FAIL(); }),
            platform::SecretStore::Lookup::absent);
  EXPECT_FALSE(store.add("a", "link", "secret"));
}

}  // namespace
}  // namespace halvercine::tests
