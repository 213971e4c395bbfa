#include "mount/explanation/catalogue.h"

#include <functional>
#include <utility>

namespace halvercine::tests {
namespace {

using mount::ReadOnlyReason;
using mount::Recovery;
using mount::VolumeFacts;
using mount::VolumeState;
using Owner = mount::PersonalityProbe::Owner;
using Commands = std::vector<std::string>;

const std::string explainIt = "halvercine explain disk4s1";
const std::string mountIt = "halvercine mount disk4s1";
const std::string checkIt = "halvercine check disk4s1";
const std::string unlockIt = "halvercine unlock disk4s1";
const std::string remountIt = "halvercine unmount disk4s1 && halvercine mount disk4s1";
const std::string takeItOver = "halvercine takeover disk4s1";
const std::string runIt = "halvercine run";

/// `facts` with a change.
VolumeFacts with(VolumeFacts facts, const std::function<void(VolumeFacts&)>& change) {
  change(facts);
  return facts;
}

VolumeFacts encrypted(const std::string& state,
                      const std::function<void(bitlocker::BitLockerState&)>& change = {}) {
  auto facts = unmountedFacts();
  facts.disk.fileSystem = "BitLocker";
  auto& volume = facts.disk.bitLocker.emplace();
  volume.state = state;
  volume.hasPasswordProtector = true;
  if (change) change(volume);
  return facts;
}

VolumeFacts withTakeover(VolumeFacts facts,
                         const std::function<void(mount::TakeoverFacts&)>& change) {
  facts.takeover.controllerRuns = true;
  change(facts.takeover);
  return facts;
}

void waits(mount::TakeoverFacts& takeover) {
  takeover.attempt = 2;
  takeover.nextAttempt = platform::WallTime(std::chrono::seconds(1'800'000'090));
  takeover.lastError = "Volume on disk4s1 failed to mount";
}
void works(mount::TakeoverFacts& takeover) {
  takeover.attempt = 1;
  takeover.isWorking = true;
}
void stops(mount::TakeoverFacts& takeover) {
  takeover.attempt = 5;
  takeover.stopped = true;
}
void isOfOther(VolumeFacts& facts) { facts.personality = {Owner::thirdParty, "Paragon NTFS"}; }
void isHeld(VolumeFacts& facts) {
  facts.holders = std::vector<disks::Occupant>{{501, "Preview", "/Volumes/Travel/a.pdf"}};
}

void addNoVolumes(std::vector<Situation>& all) {
  const auto present = unmountedFacts();
  const auto presence = [&present](VolumeFacts::Presence value) {
    return with(present, [value](auto& facts) { facts.presence = value; });
  };
  all.push_back({"The disk is pulled out while it is looked at",
                 presence(VolumeFacts::Presence::gone), VolumeState::gone});
  all.push_back({"Another disk is plugged in while it is looked at",
                 presence(VolumeFacts::Presence::replaced),
                 VolumeState::replaced,
                 Recovery::none,
                 {explainIt}});
  all.push_back({"A system volume, or one of a disk image",
                 with(presence(VolumeFacts::Presence::unlisted),
                      [](auto& facts) { facts.disk.name.clear(); }),
                 VolumeState::unlisted});
  const auto unknown = with(present, [](auto& facts) {
    facts.disk.fileSystem = "Unknown";
    facts.fileSystemKnown = false;
  });
  all.push_back({"A whole disk with volumes on it",
                 with(unknown, [](auto& facts) { facts.disk.id = "disk4"; }),
                 VolumeState::wholeDisk,
                 Recovery::none,
                 {"halvercine list"}});
  all.push_back({"A file system that nobody recognises", unknown, VolumeState::unknownFileSystem});
  all.push_back({"Another file system",
                 with(present, [](auto& facts) { facts.disk.fileSystem = "exfat"; }),
                 VolumeState::otherFileSystem});
  all.push_back({"A job that rewrites the disk is running",
                 with(present, [](auto& facts) { facts.destructiveJobHere = true; }),
                 VolumeState::destructiveJob});
  all.push_back({"Its encryption was cancelled half-way",
                 with(unknown, [](auto& facts) { facts.unmount.isCreationInterrupted = true; }),
                 VolumeState::interruptedCreation});
}

void addEncrypted(std::vector<Situation>& all) {
  using bitlocker::BitLockerState;
  all.push_back(
      {"Locked", encrypted("locked"), VolumeState::bitLockerLocked, Recovery::none, {unlockIt}});
  all.push_back({"Being unlocked",
                 with(encrypted("locked"), [](auto& facts) { facts.unlockRequested = true; }),
                 VolumeState::bitLockerUnlocking,
                 Recovery::none,
                 {explainIt}});
  all.push_back({"The module has not made up its mind",
                 encrypted("probing"),
                 VolumeState::bitLockerUndecided,
                 Recovery::none,
                 {explainIt}});
  all.push_back(
      {"The password was wrong",
       encrypted("unlockFailed", [](auto& volume) { volume.errorMessage = "wrongCredential"; }),
       VolumeState::bitLockerUnlockFailed,
       Recovery::none,
       {unlockIt}});
  all.push_back({"An encryption that is not supported", encrypted("unsupported"),
                 VolumeState::bitLockerUnsupported});
  all.push_back({"Damaged encryption data",
                 encrypted("error", [](auto& volume) { volume.errorMessage = "badMetadata"; }),
                 VolumeState::bitLockerError});
  all.push_back({"Bound to the security chip of a PC",
                 encrypted("locked", [](auto& volume) { volume.tpmOnly = true; }),
                 VolumeState::bitLockerTpmOnly});
  all.push_back({"Neither password nor recovery password",
                 encrypted("locked", [](auto& volume) { volume.hasPasswordProtector = false; }),
                 VolumeState::bitLockerNoProtector});
  all.push_back({"Unlocked, and not mounted yet",
                 encrypted("unlocked"),
                 VolumeState::bitLockerUnlocked,
                 Recovery::none,
                 {mountIt}});
}

void addWritable(std::vector<Situation>& all) {
  all.push_back({"All is well", writableFacts(), VolumeState::writable});
  all.push_back({"The module has not reported yet",
                 with(writableFacts(), [](auto& facts) { facts.report.reset(); }),
                 VolumeState::writableUnconfirmed,
                 Recovery::none,
                 {explainIt}});
  all.push_back({"The module has fallen silent",
                 with(writableFacts(),
                      [](auto& facts) {
                        facts.report->age = 900;
                        facts.report->isFresh = false;
                      }),
                 VolumeState::writableStaleReport,
                 Recovery::none,
                 {remountIt}});
  all.push_back({"The module says that it cannot write",
                 with(writableFacts(),
                      [](auto& facts) { facts.report->reason = ReadOnlyReason::openFailed; }),
                 VolumeState::writableContradicted,
                 Recovery::none,
                 {remountIt}});
  all.push_back({"Another vendor's driver writes it", with(writableFacts(), isOfOther),
                 VolumeState::writableOtherDriver});
}

void addRecoverable(std::vector<Situation>& all) {
  const auto resource = readOnlyFacts(ReadOnlyReason::resourceReadOnly);
  const auto state = VolumeState::readOnlyResource;
  const auto idle = [](auto&) {};
  all.push_back({"The system handed it over as read-only; no controller is running",
                 resource,
                 state,
                 Recovery::noController,
                 {runIt, takeItOver}});
  all.push_back({"The same; the controller has just started",
                 withTakeover(resource, idle),
                 state,
                 Recovery::watching,
                 {takeItOver}});
  all.push_back({"The same; the file-system extension is not turned on",
                 withTakeover(resource, [](auto& takeover) { takeover.isModuleOff = true; }),
                 state,
                 Recovery::moduleOff,
                 {takeItOver}});
  all.push_back({"The same; an attempt is under way", withTakeover(resource, works), state,
                 Recovery::running});
  all.push_back({"The same; an attempt failed, and the next is due",
                 withTakeover(resource, waits),
                 state,
                 Recovery::waiting,
                 {takeItOver}});
  all.push_back({"The same; all attempts have failed",
                 withTakeover(resource, stops),
                 state,
                 Recovery::stopped,
                 {takeItOver}});
  all.push_back({"The same; a program has a file open on it",
                 with(withTakeover(resource, waits), isHeld),
                 state,
                 Recovery::waiting,
                 {takeItOver}});
  all.push_back(
      {"The same; another disk is being rewritten",
       with(withTakeover(resource, waits), [](auto& facts) { facts.destructiveJobRuns = true; }),
       state, Recovery::suppressed});
  all.push_back({"The device refused to be written",
                 readOnlyFacts(ReadOnlyReason::deviceProtected),
                 state,
                 Recovery::noController,
                 {runIt, takeItOver}});
}

void addReadOnly(std::vector<Situation>& all) {
  const auto silent = readOnlyFacts(std::nullopt);
  const Commands steps{runIt, takeItOver};
  all.push_back(
      {"Nothing explains it", silent, VolumeState::readOnlyUnknown, Recovery::noController, steps});
  all.push_back({"The module claims to write, and the volume is read-only",
                 readOnlyFacts(ReadOnlyReason::readWrite), VolumeState::readOnlyUnknown,
                 Recovery::noController, steps});
  all.push_back({"Nothing explains it; all attempts have failed",
                 withTakeover(silent, stops),
                 VolumeState::readOnlyUnknown,
                 Recovery::stopped,
                 {takeItOver}});
  all.push_back({"What the module said is too old",
                 with(readOnlyFacts(ReadOnlyReason::eowSafety),
                      [](auto& facts) {
                        facts.report->age = 8000;
                        facts.report->isFresh = false;
                      }),
                 VolumeState::readOnlyStaleReport, Recovery::noController, steps});
  all.push_back({"The system's own driver mounted it",
                 with(silent,
                      [](auto& facts) {
                        facts.personality = {Owner::system, ""};
                      }),
                 VolumeState::readOnlySystemDriver, Recovery::noController, steps});
  all.push_back({"Another vendor's driver mounted it", with(silent, isOfOther),
                 VolumeState::readOnlyOtherDriver, Recovery::noController, steps});
  all.push_back({"Nothing could be found out",
                 with(silent,
                      [](auto& facts) {
                        facts.personality.reset();
                        facts.holders.reset();
                        facts.mediaWritable.reset();
                      }),
                 VolumeState::readOnlyUnknown, Recovery::noController, steps});
  all.push_back({"The medium is write-protected",
                 with(silent, [](auto& facts) { facts.mediaWritable = false; }),
                 VolumeState::readOnlyHardware, Recovery::cannotHelp});
  all.push_back({"A read-only mount was asked for, of a write-protected medium at that",
                 with(readOnlyFacts(ReadOnlyReason::requested),
                      [](auto& facts) { facts.mediaWritable = false; }),
                 VolumeState::readOnlyRequested,
                 Recovery::cannotHelp,
                 {remountIt}});
  all.push_back({"Windows has not let go of it",
                 readOnlyFacts(ReadOnlyReason::unsafeVolume),
                 VolumeState::readOnlyProtected,
                 Recovery::cannotHelp,
                 {checkIt}});
  all.push_back({"The disk could not be opened for writing",
                 readOnlyFacts(ReadOnlyReason::openFailed), VolumeState::readOnlyOpenFailed,
                 Recovery::cannotHelp});
  all.push_back({"Writing was withheld",
                 readOnlyFacts(ReadOnlyReason::eowSafety),
                 VolumeState::readOnlyEndOfWrite,
                 Recovery::cannotHelp,
                 {checkIt}});
}

void addUnmounted(std::vector<Situation>& all) {
  const auto facts = unmountedFacts();
  all.push_back({"A check is running",
                 with(facts, [](auto& found) { found.unmount.isChecking = true; }),
                 VolumeState::unmountedChecking});
  const auto awaits = [&facts](const std::function<void(mount::TakeoverFacts&)>& change) {
    return withTakeover(facts, [&change](auto& takeover) {
      takeover.awaitsRemount = true;
      change(takeover);
    });
  };
  all.push_back({"Between unmounting and mounting again", awaits(works),
                 VolumeState::unmountedForRemount, Recovery::running});
  all.push_back({"Unmounted by the program, to be mounted again",
                 awaits([](auto&) {}),
                 VolumeState::unmountedForRemount,
                 Recovery::watching,
                 {mountIt}});
  all.push_back(
      {"The same; the controller has ended since",
       with(awaits([](auto&) {}), [](auto& found) { found.takeover.controllerRuns = false; }),
       VolumeState::unmountedForRemount,
       Recovery::noController,
       {runIt, mountIt}});
  all.push_back({"Mounting it again has failed, and the next attempt is due",
                 awaits(waits),
                 VolumeState::unmountedRemountFailed,
                 Recovery::waiting,
                 {mountIt}});
  all.push_back({"The user unmounted it",
                 with(facts, [](auto& found) { found.unmountedByUserAt = 1'799'990'000.0; }),
                 VolumeState::unmountedByUser,
                 Recovery::none,
                 {mountIt}});
  all.push_back({"Another vendor's driver claims it", with(facts, isOfOther),
                 VolumeState::unmountedThirdParty});
  all.push_back({"It is not what was recorded",
                 with(facts, [](auto& found) { found.unmount.mismatch = "another size"; }),
                 VolumeState::unmountedMismatch});
  all.push_back({"It needs a check first",
                 with(facts, [](auto& found) { found.unmount.needsCheck = true; }),
                 VolumeState::unmountedNeedsCheck,
                 Recovery::none,
                 {checkIt}});
  all.push_back({"A program holds its device",
                 with(facts, isHeld),
                 VolumeState::unmountedHeld,
                 Recovery::none,
                 {mountIt}});
  all.push_back(
      {"Nothing is in the way", facts, VolumeState::unmounted, Recovery::none, {mountIt}});
}

}  // namespace

VolumeFacts writableFacts() {
  VolumeFacts facts;
  facts.now = platform::WallTime(std::chrono::seconds(1'800'000'000));
  facts.disk.id = "disk4s1";
  facts.disk.name = "Travel";
  facts.disk.fileSystem = "ntfs";
  facts.disk.isMounted = true;
  facts.disk.isWritable = true;
  facts.disk.mountPath = "/Volumes/Travel";
  facts.mediaWritable = true;
  facts.report = {.reason = ReadOnlyReason::readWrite, .age = 60, .isFresh = true, .ownerId = {}};
  facts.personality = {Owner::ownEngine, ""};
  facts.holders.emplace();
  return facts;
}

VolumeFacts readOnlyFacts(std::optional<ReadOnlyReason> reason) {
  auto facts = writableFacts();
  facts.disk.isWritable = false;
  if (reason) {
    facts.report->reason = *reason;
  } else {
    facts.report.reset();
  }
  return facts;
}

VolumeFacts unmountedFacts() {
  auto facts = writableFacts();
  facts.disk.isMounted = facts.disk.isWritable = false;
  facts.disk.mountPath.reset();
  facts.report.reset();
  return facts;
}

std::vector<Situation> catalogue() {
  std::vector<Situation> all;
  for (const auto add :
       {addWritable, addRecoverable, addReadOnly, addUnmounted, addEncrypted, addNoVolumes}) {
    add(all);
  }
  return all;
}

}  // namespace halvercine::tests
