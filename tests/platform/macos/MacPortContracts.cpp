#include <cstdlib>
#include <string>

#include "platform/AdministratorShellContract.h"
#include "platform/DirectoryWatchContract.h"
#include "platform/PortContracts.h"
#include "platform/macos/makeMacPlatform.h"
#include "support/TemporaryFolder.h"

namespace halvercine::tests {
namespace {

/// This Mac as it is. What a contract changes on it, it changes back; the shared container stays.
class MacMachineUnderTest {
 public:
  base::MainActor& actor() { return actor_; }
  platform::Platform& platform() { return platform_; }

  /// The one that every Mac has, and that stays.
  std::optional<std::string> mountedVolume() {
    const auto data = platform_.fileSystems->statistics("/System/Volumes/Data");
    constexpr std::string_view devices = "/dev/";
    if (!data || !data->mountedFrom.starts_with(devices)) return std::nullopt;
    return data->mountedFrom.substr(devices.size());
  }

  std::string writableFolder() const { return folder_.path().string(); }
  std::filesystem::path watchedFolder() const { return folder_.path(); }
  void change(const std::string& name) {
    folder_.write(name, "x");
    std::filesystem::remove(folder_.path() / name);
  }

 private:
  TemporaryFolder folder_;
  base::MainActor actor_;
  platform::Platform platform_ = platform::macos::makeMacPlatform(actor_);
};

/// Asks whoever sits before it for the password of an administrator.
class AskingMac : public MacMachineUnderTest {
 public:
  static std::string whyUnavailable() {
    if (std::getenv("HALVERCINE_TEST_ADMINISTRATOR") != nullptr) return "";
    return "asks for an administrator: set HALVERCINE_TEST_ADMINISTRATOR to allow it";
  }
  static void settle() {}
};

INSTANTIATE_TYPED_TEST_SUITE_P(Mac, AdministratorShellContract, AskingMac);
INSTANTIATE_TYPED_TEST_SUITE_P(Mac, PortContracts, MacMachineUnderTest);
INSTANTIATE_TYPED_TEST_SUITE_P(Mac, DirectoryWatchContract, MacMachineUnderTest);

}  // namespace
}  // namespace halvercine::tests
