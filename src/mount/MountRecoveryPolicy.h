// Why a volume is read-only in the user's terms, and whether trying again can help.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include <boost/describe.hpp>

#include "mount/ReadOnlyReason.h"

namespace halvercine::mount {

/// The explanation that the user gets for a read-only volume.
enum class ReadOnlyCause {
  hardware,          ///< the medium itself is write-protected
  resource,          ///< the module was handed something that it could only read
  requested,         ///< somebody asked for it
  protectedVolume,   ///< the volume is not safe to write
  openFailed,        ///< the device could not be opened for writing
  endOfWriteSafety,  ///< writing was withheld as a precaution
  unknown,
};
BOOST_DESCRIBE_ENUM(ReadOnlyCause, hardware, resource, requested, protectedVolume, openFailed,
                    endOfWriteSafety, unknown)

/// Pure rules about read-only volumes.
struct MountRecoveryPolicy {
  /// How often a takeover is tried.
  static constexpr int attemptLimit = 5;

  /// The cause, from the media's own "Writable" flag (nothing: not known) and the reason of a fresh
  /// report (nothing: no acceptable report). A requested read-only mount explains itself, whatever
  /// the medium is; then the medium decides; a module that claims to write explains nothing.
  static ReadOnlyCause cause(std::optional<bool> mediaWritable,
                             std::optional<ReadOnlyReason> reason);

  /// Key of the text that explains a cause.
  static std::string_view explanationKey(ReadOnlyCause cause);

  /// Whether a retry is worth offering. The other causes stand until the device or the user changes
  /// something.
  static bool isRecoverable(ReadOnlyCause cause);

  /// Keys of what is said beside the cause: what Windows left behind, and that a check can help.
  static std::vector<std::string_view> noteKeys(ReadOnlyCause cause);

  /// One volume's place in the takeover queue, as far as its status line is concerned.
  struct QueuePlace {
    std::uint64_t deviceId = 0;    ///< registry entry ID when the entry was made
    int attempt = 0;               ///< attempts made
    bool hasPendingRetry = false;  ///< a further attempt is due after the current time
  };

  /// A localization key with its whole-number arguments.
  struct StatusLine {
    std::string_view key;
    std::vector<int> arguments;
    bool operator==(const StatusLine&) const = default;
  };

  /// The line under the explanation while the program works on a volume. Nothing when the device is
  /// gone, has no place in the queue, or the place belongs to another device.
  static std::optional<StatusLine> recoveryStatus(std::optional<std::uint64_t> deviceId,
                                                  const std::optional<QueuePlace>& place,
                                                  bool coordinatorIsWorking);
};

}  // namespace halvercine::mount
