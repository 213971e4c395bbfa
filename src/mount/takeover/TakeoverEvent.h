// What the automatic takeover tells its front ends.
#pragma once

#include <chrono>
#include <optional>
#include <string>

#include <boost/describe.hpp>

#include "mount/MountRecoveryPolicy.h"

namespace halvercine::mount {

enum class TakeoverEventKind {
  began,       ///< a volume is about to be unmounted and mounted again
  remounted,   ///< it is mounted; whether it is writable is not known yet
  confirmed,   ///< it is writable
  readOnly,    ///< it is mounted, and still read-only
  failed,      ///< it could not be unmounted, or not be mounted again
  aborted,     ///< it was no longer what it had been, and was left alone
  suppressed,  ///< nothing was done: another job destroys data on a disk
  waiting,     ///< it will be tried again
  stopped,     ///< it will not be tried again
  unrecorded,  ///< nothing was done: it could not be noted first
  found,       ///< it was found unmounted, left so by an earlier run of the program
  restored,    ///< it is mounted again as it can be
};
BOOST_DESCRIBE_ENUM(TakeoverEventKind, began, remounted, confirmed, readOnly, failed, aborted,
                    suppressed, waiting, stopped, unrecorded, found, restored)

struct TakeoverEvent {
  TakeoverEventKind kind = TakeoverEventKind::began;
  std::string bsdName;
  std::string diskName;
  std::string toolText;                       ///< of `failed`
  std::optional<int> attempt;                 ///< number of the retry that begins or is to come
  std::optional<std::chrono::seconds> delay;  ///< of `waiting`
  std::optional<ReadOnlyCause> cause;         ///< of `readOnly`
  bool isUnmounted = false;                   ///< of `stopped`
};

}  // namespace halvercine::mount
