// What `unmount` and `mount` keep in mind.
#include <gtest/gtest.h>

#include "app/Machine.h"
#include "app/commands.h"
#include "mount/reasons/ManualUnmountRegistry.h"
#include "support/TemporaryFolder.h"

namespace halvercine::app {
namespace {

class ManualUnmountTest : public testing::Test {
 protected:
  void SetUp() override {
    options.scenario = folder
                           .write("scenario.json", R"({"format": 1,
                "devices": [{"disk": "disk4", "volumes": [
                  {"disk": "disk4s1", "kind": "ntfs", "name": "Free", "mount": {}, "uuid": "11111111-2222-3333-4444-555555555555"},
                  {"disk": "disk4s2", "kind": "ntfs", "name": "Used", "mount": {}}]}],
                "processes": [{"pid": 7, "command": "cat", "files": ["/Volumes/Used/x"]}]})")
                           .string();
    auto made = Machine::make(options);
    ASSERT_TRUE(made) << made.error();
    machine = std::move(*made);
  }

  ExitStatus run(Answer (*command)(const CommandContext&, Machine&), std::string disk) {
    options.disk = std::move(disk);
    const CommandContext context{options, localization, machine->platform(), terminal};
    return command(context, *machine).status;
  }
  std::vector<std::string> remembered() {
    std::vector<std::string> identities;
    const auto& platform = machine->platform();
    const mount::ManualUnmountRegistry registry(*platform.userDefaults, *platform.clock);
    for (const auto& [identity, time] : registry.registry()) identities.push_back(identity);
    return identities;
  }

  tests::TemporaryFolder folder;
  Options options;
  base::Localization localization{base::Language::en};
  Terminal terminal{false};
  std::unique_ptr<Machine> machine;
};

using Identities = std::vector<std::string>;

TEST_F(ManualUnmountTest, OnlyWhatSucceededIsRemembered) {
  EXPECT_EQ(run(unmountCommand, "Used"), ExitStatus::busy);
  EXPECT_EQ(run(unmountCommand, "disk4"), ExitStatus::failed) << "its volumes are mounted";
  EXPECT_EQ(remembered(), Identities());
  EXPECT_EQ(run(unmountCommand, "Free"), ExitStatus::done);
  const Identities free{"11111111-2222-3333-4444-555555555555"};
  EXPECT_EQ(remembered(), free);
  EXPECT_EQ(run(mountCommand, "Free"), ExitStatus::done);
  EXPECT_EQ(remembered(), Identities());
  EXPECT_EQ(run(unmountCommand, "Free"), ExitStatus::done);
  EXPECT_EQ(run(unmountCommand, "Free"), ExitStatus::done) << "unmounted already";
  EXPECT_EQ(remembered(), free);
}

}  // namespace
}  // namespace halvercine::app
