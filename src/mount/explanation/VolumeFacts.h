// All that was found out about one disk, to explain the state that it is in.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <boost/describe.hpp>

#include "disks/Disk.h"
#include "disks/LsofOutput.h"
#include "mount/ReadOnlyReason.h"
#include "mount/reasons/PersonalityProbe.h"
#include "mount/reasons/UnmountReason.h"
#include "platform/Clock.h"

namespace halvercine::mount {

/// The file-system module's report on this device of this start of the machine.
struct ReportFacts {
  ReadOnlyReason reason = ReadOnlyReason::readWrite;
  double age = 0;  ///< seconds
  bool isFresh = false;
  std::optional<std::string> ownerId;
};

/// What the resident controller has done for the volume, and is about to do.
struct TakeoverFacts {
  bool controllerRuns = false;
  bool isWorking = false;      ///< it is unmounting and mounting the volume now
  std::optional<int> attempt;  ///< attempts made, out of `MountRecoveryPolicy::attemptLimit`
  std::optional<platform::WallTime> nextAttempt;
  bool stopped = false;                  ///< all attempts are made
  bool awaitsRemount = false;            ///< it has unmounted the volume and is to mount it again
  std::optional<std::string> lastError;  ///< the disk tool's words when it last failed
  bool isModuleOff = false;  ///< the user has not turned the file-system module on: it holds back
};

/// Facts of one moment. A probe that failed or took too long leaves its fact absent: not known.
struct VolumeFacts {
  enum class Presence {
    present,
    gone,      ///< went while the facts were gathered
    replaced,  ///< another device has its name since
    unlisted,  ///< a system volume or disk image: only `disk.id` is known
  };
  BOOST_DESCRIBE_NESTED_ENUM(Presence, present, gone, replaced, unlisted)

  platform::WallTime now;
  Presence presence = Presence::present;
  disks::Disk disk;
  bool fileSystemKnown = true;  ///< `disk.fileSystem` is no word for "unknown"
  std::optional<bool> mediaWritable;
  std::optional<ReportFacts> report;  ///< absent: there is none
  std::optional<PersonalityProbe> personality;
  std::vector<std::string> foreignDrivers;  ///< names of other vendors' drivers on this machine
  /// Who has files open on a mounted volume, or holds the device of one that is not.
  std::optional<std::vector<disks::Occupant>> holders;
  /// Seconds since 1970; absent: not unmounted by hand, as far as is remembered.
  std::optional<double> unmountedByUserAt;
  UnmountFindings unmount;  ///< without the foreign driver, which the personality tells
  bool unlockRequested = false;
  bool destructiveJobRuns = false;  ///< on any disk
  bool destructiveJobHere = false;  ///< on this one
  TakeoverFacts takeover;
};

}  // namespace halvercine::mount
