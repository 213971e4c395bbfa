// The simulated Mac with BitLocker volumes, and what unlocks them.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "base/Resources.h"
#include "bitlocker/BitLockerMailbox.h"
#include "bitlocker/unlock/BitLockerKeychain.h"
#include "bitlocker/unlock/UnlockContext.h"
#include "support/SimulatedFixture.h"
#include "support/runTask.h"

namespace halvercine::tests {

/// The machine of the bundled scenario "bitlocker", with a monitor that runs.
struct UnlockFixture : SimulatedFixture {
  UnlockFixture() : SimulatedFixture(read(base::resource("scenarios/bitlocker.json").value())) {
    EXPECT_TRUE(monitor.start());
  }

  bitlocker::UnlockContext context() {
    const auto inUse = [this](const disks::Disk& disk) { return disk.id == usedDisk; };
    const auto addToLog = [this](std::string_view category, std::string_view message) {
      log.push_back(std::string(category).append(": ").append(message));
    };
    return {actor, platform, monitor, utility, inUse, addToLog};
  }

  const disks::Disk& disk(const std::string& bsdName) { return *monitor.find(bsdName); }

  /// The credential that is remembered of a volume, or "none".
  std::string remembered(const std::string& key) {
    const auto payload = run(actor, keychain.load(key));
    return payload ? std::string(payload->credential.reveal()) : "none";
  }

  /// Writes the module's record, as the machine's own module would.
  void writeStatus(const bitlocker::Status& status) {
    mailbox.writeStatus(status);
    mac.machine().folderWatches().announce(*mailbox.containerURL());
  }

  disks::DiskMonitor monitor{actor, platform, localization};
  disks::DiskUtility utility{*platform.toolRunner, *platform.clock, *platform.mediaRegistry};
  bitlocker::BitLockerMailbox mailbox{*platform.containers, *platform.clock};
  bitlocker::BitLockerKeychain keychain{actor, *platform.clock, *platform.secretStore};
  std::vector<std::string> log;
  std::string usedDisk;  ///< something else works on it
};

}  // namespace halvercine::tests
