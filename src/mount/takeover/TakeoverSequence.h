// The decisions of one takeover: facts in, next step out.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <boost/describe.hpp>

#include "mount/takeover/SessionNtfsIdentity.h"
#include "mount/takeover/TakeoverGate.h"

namespace halvercine::mount {

/// What is known when the next step is asked for. Everything is looked up anew each time.
struct SequenceFacts {
  bool isListed = false;  ///< the list of disks has the BSD name
  /// What has the BSD name now; nothing when the identity of its medium cannot be read.
  std::optional<SessionNtfsIdentity> identity;
  /// Registry entry ID of the medium that has the name, listed or not; nothing: no medium has it.
  std::optional<std::uint64_t> deviceId;
  TakeoverGate gate;
  bool isCoordinatorBusy = false;         ///< another sequence works on the device
  bool isRepairingAuthorization = false;  ///< of the file-system module
  bool isDestructive = false;             ///< a job that destroys data holds a disk
  bool isTicketValid = false;      ///< the sequence's own ticket, for the device as it is now
  bool isUnmountedByUser = false;  ///< the user wants the volume to stay unmounted
  bool toolSucceeded = false;      ///< of the step before
};

/// How a takeover can end.
enum class TakeoverEnd {
  // Skipped: nothing has been done.
  notEligible,
  noMediaIdentity,
  coordinatorBusy,
  repairingAuthorization,
  destructiveOperation,
  notRecorded,  ///< the journal cannot be written: a crash would forget the volume
  // Aborted before the unmount: nothing has been done.
  vanished,
  deviceChanged,
  noLongerEligible,
  // The volume is as it was.
  unmountFailed,
  // What has the BSD name now is another device, or nothing: it is left alone.
  deviceChangedAfterUnmount,
  // The volume is unmounted, and stays so for now.
  ticketRefused,
  unrecognized,  ///< the same device, but it does not look like the volume just now
  mountFailed,
  // The volume is mounted, by this sequence or in spite of it.
  mounted,
  mountedByOthers,
};
BOOST_DESCRIBE_ENUM(TakeoverEnd, notEligible, noMediaIdentity, coordinatorBusy,
                    repairingAuthorization, destructiveOperation, notRecorded, vanished,
                    deviceChanged, noLongerEligible, unmountFailed, deviceChangedAfterUnmount,
                    ticketRefused, unrecognized, mountFailed, mounted, mountedByOthers)

/// Whether the program has left the volume unmounted, so that it must mount it again.
bool leavesUnmounted(TakeoverEnd end);

/// Whether the volume is mounted, as far as can be told at once.
bool isMountedEnd(TakeoverEnd end);

struct TakeoverStep {
  enum class Kind {
    look,     ///< bring the list of disks up to date
    unmount,  ///< issue a ticket, and unmount the volume
    mount,
    end,
  };

  Kind kind = Kind::end;
  TakeoverEnd end = TakeoverEnd::notEligible;  ///< of `Kind::end`
  std::string logText;                         ///< for the system log; empty: nothing to say
};

/// One volume's way from read-only to mounted again. It has no effects: whoever drives it carries
/// out each step, looks at the machine again, and asks for the next one. No step that touches a
/// device is given while the facts tell of another device than the one it began with.
class TakeoverSequence {
 public:
  /// Begins with a mounted volume.
  TakeoverSequence() = default;

  /// Begins with a volume that was unmounted to be mounted again.
  static TakeoverSequence resumed(SessionNtfsIdentity identity);

  /// Not asked again after `Kind::end`.
  TakeoverStep next(const SequenceFacts& facts);

  /// The volume that this is about; set by the gates.
  const std::optional<SessionNtfsIdentity>& identity() const { return identity_; }

 private:
  enum class Stage { gates, recheck, unmounted, remount, mounted };

  TakeoverStep passGates(const SequenceFacts& facts);
  TakeoverStep recheck(const SequenceFacts& facts);
  TakeoverStep afterUnmount(const SequenceFacts& facts);
  TakeoverStep beforeRemount(const SequenceFacts& facts);
  TakeoverStep guardTicket(const SequenceFacts& facts);
  TakeoverStep afterMount(const SequenceFacts& facts) const;
  bool isSame(const SequenceFacts& facts) const;
  TakeoverStep leaveAlone(const SequenceFacts& facts) const;

  Stage stage_ = Stage::gates;
  std::optional<SessionNtfsIdentity> identity_;
};

}  // namespace halvercine::mount
