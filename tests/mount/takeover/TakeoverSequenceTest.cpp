#include "mount/takeover/TakeoverSequence.h"

#include <gtest/gtest.h>

namespace halvercine::mount {
namespace {

using Kind = TakeoverStep::Kind;

const SessionNtfsIdentity ours{7, "UUID-1", 1000};

/// A machine with one volume, as far as a takeover is concerned.
struct World {
  SequenceFacts facts = mountedReadOnly();
  bool isOurs = true;      // the BSD name belongs to the volume that we began with
  bool hasUuid = true;     // that volume had a UUID when we began: it can be told from others
  bool touched = false;    // another device was unmounted or mounted
  bool unmounted = false;  // by us, and not mounted since
  bool destroyed = false;  // something was done during a job that destroys data

  static SequenceFacts mountedReadOnly() {
    SequenceFacts facts;
    facts.isListed = true;
    facts.identity = ours;
    facts.deviceId = ours.deviceID;
    facts.gate.isNtfs = true;
    facts.gate.isMounted = true;
    facts.gate.mediaWritable = true;
    facts.gate.isModuleAuthorized = true;
    return facts;
  }

  /// Whatever is there now is what the takeover is about.
  void begin() {
    isOurs = true;
    hasUuid = facts.identity && facts.identity->volumeUUID;
  }

  void unmount(bool succeeds) {
    act();
    facts.isTicketValid = true;
    facts.toolSucceeded = succeeds;
    if (!succeeds) return;
    facts.gate.isMounted = false;
    unmounted = isOurs;
  }

  void mount(bool succeeds) {
    act();
    facts.toolSucceeded = succeeds;
    if (!succeeds) return;
    facts.gate.isMounted = true;
    unmounted = false;
  }

 private:
  void act() {
    touched |= !isOurs;
    destroyed |= facts.isDestructive;
  }
};

struct Event {
  const char* name;
  void (*happen)(World&);
};

void nothing(World&) {}
void vanish(World& world) {
  world.isOurs = false;
  world.unmounted = false;
  world.facts.isListed = false;
  world.facts.identity.reset();
  world.facts.deviceId.reset();
  world.facts.gate = {};
}
/// The same device, out of the list for a moment.
void flicker(World& world) {
  world.facts.isListed = false;
  world.facts.identity.reset();
}
void replace(World& world) {
  world.isOurs = false;
  world.unmounted = false;
  const bool isMounted = world.facts.gate.isMounted;
  const auto before = world.facts.identity.value_or(ours);
  world.facts = World::mountedReadOnly();
  world.facts.identity = before;
  ++world.facts.identity->deviceID;  // a clone, even
  world.facts.deviceId = world.facts.identity->deviceID;
  world.facts.gate.isMounted = isMounted;
}
void reformat(World& world) {
  if (!world.facts.identity || !world.hasUuid) return;
  world.isOurs = false;
  world.unmounted = false;
  world.facts.identity->volumeUUID = world.facts.identity->volumeUUID.value_or("UUID") + "-new";
}
void forgetUuid(World& world) {
  if (world.facts.identity) world.facts.identity->volumeUUID.reset();
}
void beginDestruction(World& world) { world.facts.isDestructive = true; }
void becomeWritable(World& world) { world.facts.gate.isWritable = true; }
void mountByHand(World& world) {
  world.facts.gate.isMounted = world.facts.isListed;
  world.unmounted = false;
}

const Event events[] = {{"nothing", nothing},
                        {"vanish", vanish},
                        {"flicker", flicker},
                        {"replace", replace},
                        {"reformat", reformat},
                        {"forget UUID", forgetUuid},
                        {"destruction", beginDestruction},
                        {"writable", becomeWritable},
                        {"mount by hand", mountByHand}};

/// The decisions that a sequence takes, and where it can be interrupted.
constexpr std::size_t moments = 4;

/// Plays a sequence with up to two events before any of its decisions.
TakeoverEnd play(World& world, const std::array<const Event*, moments>& timeline, bool unmounts,
                 bool mounts) {
  TakeoverSequence sequence;
  for (std::size_t moment = 0; moment < moments; ++moment) {
    timeline[moment]->happen(world);
    if (moment == 0) world.begin();
    const auto step = sequence.next(world.facts);
    if (step.kind == Kind::end) return step.end;
    if (step.kind == Kind::unmount) world.unmount(unmounts);
    if (step.kind == Kind::mount) world.mount(mounts);
  }
  ADD_FAILURE() << "a takeover has four decisions";
  return {};
}

// Every pair of events before every pair of decisions, with tools that work and that fail.
TEST(TakeoverSequenceTest, NeverTouchesAnotherDeviceNorForgetsItsOwn) {
  int played = 0;
  for (const auto& first : events) {
    for (const auto& second : events) {
      for (std::size_t one = 0; one < moments; ++one) {
        for (std::size_t other = one; other < moments; ++other) {
          for (const int tools : {0, 1, 2, 3}) {
            std::array<const Event*, moments> timeline;
            timeline.fill(&events[0]);
            timeline[one] = &first;
            if (other != one) timeline[other] = &second;
            World world;
            const auto end = play(world, timeline, (tools & 1) != 0, (tools & 2) != 0);
            const auto what = std::string(first.name) + " at " + std::to_string(one) + ", " +
                              second.name + " at " + std::to_string(other) + ", tools " +
                              std::to_string(tools);
            EXPECT_FALSE(world.touched) << what;
            EXPECT_FALSE(world.destroyed) << what;
            EXPECT_TRUE(!world.unmounted || leavesUnmounted(end)) << what;
            ++played;
          }
        }
      }
    }
  }
  EXPECT_EQ(played, 9 * 9 * 10 * 4);
}

TEST(TakeoverSequenceTest, NorDoesOneThatIsTakenUpAgain) {
  for (const auto& first : events) {
    for (const auto& second : events) {
      for (const bool mounts : {false, true}) {
        World world;
        world.facts.gate.isMounted = false;
        world.facts.isTicketValid = true;
        world.unmounted = true;
        auto sequence = TakeoverSequence::resumed(ours);
        TakeoverStep step;
        for (const auto* event : {&first, &second}) {
          event->happen(world);
          step = sequence.next(world.facts);
          if (step.kind == Kind::end) break;
          world.mount(mounts);
        }
        const auto what = std::string(first.name) + ", then " + second.name;
        EXPECT_FALSE(world.touched) << what;
        EXPECT_FALSE(world.destroyed) << what;
        EXPECT_TRUE(!world.unmounted || leavesUnmounted(step.end)) << what;
      }
    }
  }
}

struct NamedEnd {
  const char* when;
  std::size_t moment;
  void (*happen)(World&);
  TakeoverEnd end;
  const char* logText;  // its beginning
};

TEST(TakeoverSequenceTest, EveryEndHasItsNameAndItsText) {
  const NamedEnd cases[] = {
      {"write-protected", 0, [](World& world) { world.facts.gate.mediaWritable = false; },
       TakeoverEnd::notEligible, "跳过（资格门未过 recovery=final cause=hardware"},
      {"no identity", 0, [](World& world) { world.facts.identity.reset(); },
       TakeoverEnd::noMediaIdentity, "跳过（mediaID 读取失败）"},
      {"busy", 0, [](World& world) { world.facts.isCoordinatorBusy = true; },
       TakeoverEnd::coordinatorBusy, "跳过（协调器忙）"},
      {"repair", 0, [](World& world) { world.facts.isRepairingAuthorization = true; },
       TakeoverEnd::repairingAuthorization, "跳过（授权修复进行中）"},
      {"destruction", 0, beginDestruction, TakeoverEnd::destructiveOperation, ""},
      {"vanished", 1, vanish, TakeoverEnd::vanished, "复核中止（磁盘快照消失）"},
      {"replaced", 1, replace, TakeoverEnd::deviceChanged, "复核中止（设备身份已变）"},
      {"writable meanwhile", 1, becomeWritable, TakeoverEnd::noLongerEligible,
       "复核中止（资格门未过 recovery="},
      {"replaced while unmounted", 2, replace, TakeoverEnd::deviceChangedAfterUnmount,
       "卸载后中止（设备身份已变）"},
      {"ticket expired", 2, [](World& world) { world.facts.isTicketValid = false; },
       TakeoverEnd::ticketRefused, "重挂前中止（恢复票据守卫未过 ticketValid=false"},
      {"unmounted by the user", 2, [](World& world) { world.facts.isUnmountedByUser = true; },
       TakeoverEnd::ticketRefused, "重挂前中止（恢复票据守卫未过"},
      {"all well", 3, nothing, TakeoverEnd::mounted, "挂载完成，尚未确认读写"},
  };
  for (const auto& known : cases) {
    World world;
    TakeoverSequence sequence;
    TakeoverStep step;
    for (std::size_t moment = 0; moment < moments; ++moment) {
      if (moment == known.moment) known.happen(world);
      step = sequence.next(world.facts);
      if (step.kind == Kind::end) break;
      if (step.kind == Kind::unmount) world.unmount(true);
      if (step.kind == Kind::mount) world.mount(true);
    }
    EXPECT_EQ(step.end, known.end) << known.when;
    EXPECT_TRUE(step.logText.starts_with(known.logText)) << known.when << ": " << step.logText;
    EXPECT_EQ(step.logText.empty(), std::string_view(known.logText).empty()) << known.when;
  }
}

TEST(TakeoverSequenceTest, FactsCountForMoreThanTheTool) {
  World stoppedHalfWay;  // the tool was killed, the volume is unmounted all the same
  TakeoverSequence sequence;
  sequence.next(stoppedHalfWay.facts);
  ASSERT_EQ(sequence.next(stoppedHalfWay.facts).kind, Kind::unmount);
  stoppedHalfWay.unmount(true);
  stoppedHalfWay.facts.toolSucceeded = false;
  EXPECT_EQ(sequence.next(stoppedHalfWay.facts).kind, Kind::mount);

  World mountedMeanwhile;
  auto resumed = TakeoverSequence::resumed(ours);
  EXPECT_EQ(resumed.next(mountedMeanwhile.facts).end, TakeoverEnd::mountedByOthers);
}

TEST(TakeoverGateTest, WhoMayPass) {
  const auto open = World::mountedReadOnly().gate;
  struct Case {
    const char* name;
    void (*change)(TakeoverGate&);
    bool isOpen;
  };
  const Case cases[] = {
      {"system mount", [](TakeoverGate&) {}, true},
      {"claims to write", [](TakeoverGate& gate) { gate.reason = ReadOnlyReason::readWrite; },
       true},
      {"medium not known", [](TakeoverGate& gate) { gate.mediaWritable.reset(); }, true},
      {"unsafe", [](TakeoverGate& gate) { gate.reason = ReadOnlyReason::unsafeVolume; }, false},
      {"stale verdict",
       [](TakeoverGate& gate) { gate.standingVerdict = ReadOnlyCause::protectedVolume; }, false},
      {"newer report than the verdict",
       [](TakeoverGate& gate) {
         gate.standingVerdict = ReadOnlyCause::protectedVolume;
         gate.reason = ReadOnlyReason::resourceReadOnly;
       },
       true},
      {"protected medium", [](TakeoverGate& gate) { gate.mediaWritable = false; }, false},
      {"writable", [](TakeoverGate& gate) { gate.isWritable = true; }, false},
      {"unmounted", [](TakeoverGate& gate) { gate.isMounted = false; }, false},
      {"no NTFS", [](TakeoverGate& gate) { gate.isNtfs = false; }, false},
      {"module turned off", [](TakeoverGate& gate) { gate.isModuleAuthorized = false; }, false},
  };
  for (const auto& known : cases) {
    auto gate = open;
    known.change(gate);
    EXPECT_EQ(gate.isOpen(), known.isOpen) << known.name;
  }
}

}  // namespace
}  // namespace halvercine::mount
