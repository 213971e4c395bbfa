#include <stdlib.h>

#include "platform/DirectoryWatchContract.h"
#include "platform/PortContracts.h"
#include "platform/linux/LoopDevice.h"
#include "platform/linux/makeLinuxPlatform.h"
#include "support/TemporaryFolder.h"

namespace halvercine::tests {
namespace {

using platform::gnulinux::LoopDevice;
using platform::gnulinux::runProgram;

/// A variable of the environment while the object lives.
class Variable {
 public:
  Variable(const char* name, const std::string& value) : name_(name) {
    if (const char* const old = ::getenv(name)) old_ = old;
    ::setenv(name, value.c_str(), 1);
  }
  ~Variable() { old_ ? ::setenv(name_, old_->c_str(), 1) : ::unsetenv(name_); }

 private:
  const char* name_;
  std::optional<std::string> old_;
};

/// The program's own folders are in a folder of the test. Where this computer allows it, a volume
/// on a loop device is mounted when a test needs one.
class LinuxMachineUnderTest {
 public:
  base::MainActor& actor() { return actor_; }
  platform::Platform& platform() { return platform_; }

  std::optional<std::string> mountedVolume() {
    if (!LoopDevice::whyUnavailable().empty() || !mountVolume()) return {};
    for (const auto& medium : platform_.mediaRegistry->allMedia()) {
      const auto node = medium->property(platform::registry_key::deviceNode);
      if (node != platform::PropertyValue(device_->node())) continue;
      return *medium->property(platform::registry_key::bsdName)->as<std::string>();
    }
    return std::nullopt;
  }

  std::string writableFolder() const { return folder_.path().string(); }
  std::filesystem::path watchedFolder() const { return folder_.path(); }
  void change(const std::string& name) {
    folder_.write(name, "x");
    std::filesystem::remove(folder_.path() / name);
  }

 private:
  bool mountVolume() {
    device_.emplace();
    return device_->attach() && runProgram({"mkntfs", "-Q", "-F", device_->node()}) &&
           device_->mount(device_->node(), "ro");
  }

  TemporaryFolder folder_;
  Variable dataHome_{"XDG_DATA_HOME", folder_.path()};
  std::optional<LoopDevice> device_;
  base::MainActor actor_;
  platform::Platform platform_ = platform::gnulinux::makeLinuxPlatform(actor_);
};

INSTANTIATE_TYPED_TEST_SUITE_P(Linux, PortContracts, LinuxMachineUnderTest);
INSTANTIATE_TYPED_TEST_SUITE_P(Linux, DirectoryWatchContract, LinuxMachineUnderTest);

}  // namespace
}  // namespace halvercine::tests
