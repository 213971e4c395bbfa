#include "platform/AdministratorShellContract.h"
#include "platform/DirectoryWatchContract.h"
#include "platform/PortContracts.h"
#include "platform/SecretStoreContract.h"
#include "platform/ToolRunnerContract.h"
#include "platform/simulated/SimulatedMac.h"
#include "support/ScenarioBuilder.h"

namespace halvercine::tests {
namespace {

class SimulatedMachineUnderTest {
 public:
  SimulatedMachineUnderTest()
      : mac_(actor_, scenario(), platform::simulated::ClockKind::virtualTime) {}

  base::MainActor& actor() { return actor_; }
  platform::Platform& platform() { return platform_; }
  std::optional<std::string> mountedVolume() const { return "disk4s1"; }

  static std::string writableFolder() { return "/Volumes/DATA"; }

  platform::ToolInvocation printingTool() const { return diskutil("disk4s1"); }
  platform::ToolInvocation failingTool() const { return diskutil("disk99"); }
  platform::ToolInvocation endlessTool() const { return diskutil("disk4"); }
  platform::SecretStore* secretStore() { return platform_.secretStore.get(); }
  std::string whyUnavailable() const { return ""; }

  void settle() { mac_.advance(std::chrono::hours(1)); }

  std::filesystem::path watchedFolder() const {
    return *platform_.containers->groupContainer("group.com.halvercine.shared");
  }
  void change(const std::string&) {
    mac_.machine().writeReport("disk4s1", {});
    mac_.machine().removeReport("disk4s1");
  }

 private:
  static platform::simulated::Scenario scenario() {
    using platform::simulated::Attachment;
    ScenarioBuilder builder;
    for (const auto attachment :
         {Attachment::nvme, Attachment::uas, Attachment::sata, Attachment::sd,
          Attachment::thunderbolt, Attachment::image, Attachment::apfs}) {
      const auto name = "disk" + std::to_string(10 + static_cast<int>(attachment));
      builder.disk(name, attachment).volume(name + "s1", "Any", "apfs").mounted();
    }
    auto scenario = builder.usbDisk("disk4").ntfs("disk4s1", "DATA").mounted().build();
    auto& endless = scenario.tools.emplace_back();
    endless.match = {"info", "/dev/disk4"};
    endless.hang = true;
    return scenario;
  }

  static platform::ToolInvocation diskutil(const std::string& disk) {
    return {"/usr/sbin/diskutil", {"info", "/dev/" + disk}};
  }

  base::MainActor actor_;
  platform::simulated::SimulatedMac mac_;
  platform::Platform platform_ = mac_.takePlatform();
};

INSTANTIATE_TYPED_TEST_SUITE_P(SimulatedMac, PortContracts, SimulatedMachineUnderTest);
INSTANTIATE_TYPED_TEST_SUITE_P(SimulatedMac, ToolRunnerContract, SimulatedMachineUnderTest);
INSTANTIATE_TYPED_TEST_SUITE_P(SimulatedMac, AdministratorShellContract, SimulatedMachineUnderTest);
INSTANTIATE_TYPED_TEST_SUITE_P(SimulatedMac, DirectoryWatchContract, SimulatedMachineUnderTest);
INSTANTIATE_TYPED_TEST_SUITE_P(SimulatedMac, SecretStoreContract, SimulatedMachineUnderTest);

}  // namespace
}  // namespace halvercine::tests
