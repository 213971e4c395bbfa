#include "platform/PortContracts.h"
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
    return builder.usbDisk("disk4").ntfs("disk4s1", "DATA").mounted().build();
  }

  base::MainActor actor_;
  platform::simulated::SimulatedMac mac_;
  platform::Platform platform_ = mac_.takePlatform();
};

INSTANTIATE_TYPED_TEST_SUITE_P(SimulatedMac, PortContracts, SimulatedMachineUnderTest);

}  // namespace
}  // namespace halvercine::tests
