// When to try again.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "mount/MountRecoveryPolicy.h"
#include "platform/Clock.h"

namespace halvercine::mount {

/// The volumes whose takeover did not end writable, by BSD name. The attempt that brings a volume
/// here is not counted; up to five retries follow it, each after the next of the delays. A delay
/// begins when the attempt before it has ended, so a machine that slept makes one retry, not all
/// that it missed. Times are those of the monotonic clock. Plain values; main actor.
class MountRetryQueue {
 public:
  static constexpr std::array<std::chrono::seconds, MountRecoveryPolicy::attemptLimit> delays{
      std::chrono::seconds(10), std::chrono::seconds(30), std::chrono::seconds(120),
      std::chrono::seconds(300), std::chrono::seconds(600)};

  struct Entry {
    std::uint64_t deviceID = 0;    ///< registry entry ID when the entry was made
    int count = 0;                 ///< retries begun, at most 5
    platform::Uptime nextAfter{};  ///< the earliest time of the next one; passed, if none is left

    bool hasPendingRetry() const { return count < MountRecoveryPolicy::attemptLimit; }

    /// As the status line wants it. While a retry runs it tells the retry's number, else that of
    /// the one to come.
    MountRecoveryPolicy::QueuePlace place(bool isRunning) const;

    bool operator==(const Entry&) const = default;
  };

  /// The entry of a name, or null; also when it belongs to another device than this one.
  const Entry* find(const std::string& bsdName, std::uint64_t deviceId) const;

  /// An attempt has ended without success: makes the entry, or sets when the next retry is due.
  /// What another device left under the name is forgotten.
  void failed(const std::string& bsdName, std::uint64_t deviceId, platform::Uptime now);

  /// Counts a retry that begins now. False when there is no entry of the device, none is left, or
  /// none is due yet.
  bool begin(const std::string& bsdName, std::uint64_t deviceId, platform::Uptime now);

  /// Puts an entry of an earlier run back.
  void restore(const std::string& bsdName, Entry entry);

  void remove(const std::string& bsdName) { entries_.erase(bsdName); }

  /// When the next retry of any volume becomes due after `now`; nothing when none does.
  std::optional<platform::Uptime> nextDue(platform::Uptime now) const;

  const std::map<std::string, Entry>& entries() const { return entries_; }

  /// The place of the name's entry, whatever its device.
  std::optional<MountRecoveryPolicy::QueuePlace> place(const std::string& bsdName,
                                                       bool isRunning) const;

 private:
  std::map<std::string, Entry> entries_;
};

}  // namespace halvercine::mount
