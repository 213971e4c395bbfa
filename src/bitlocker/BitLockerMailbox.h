// The files through which the program and the file-system module talk about BitLocker volumes.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "bitlocker/Status.h"
#include "bitlocker/UnlockRequest.h"
#include "platform/Clock.h"
#include "platform/Containers.h"

namespace halvercine::bitlocker {

/// The program's side of the mailbox. Each volume has a status file, written by the module, and at
/// times a request file, written here; both are named after the volume's key, the `guid` of its
/// status. Nobody locks: writers replace files in one step, and the `requestID` tells whose a file
/// is.
///
/// Nothing is kept in memory. Every failure is silent: without a container, or with a key that
/// cannot be part of a file name, reads give nothing and writes do nothing. Main actor.
class BitLockerMailbox {
 public:
  BitLockerMailbox(platform::Containers& containers, platform::Clock& clock)
      : containers_(containers), clock_(clock) {}

  /// The folder of all these files.
  std::optional<std::filesystem::path> containerURL() const;

  /// The status file of a key; nothing for a key that is empty, "." or "..", or holds a slash or a
  /// zero byte.
  std::optional<std::filesystem::path> statusURL(std::string_view key) const;

  /// The request file of a key, with the same conditions.
  std::optional<std::filesystem::path> requestURL(std::string_view key) const;

  /// Puts a request in place, instead of an older one. False when it is not there: it cannot be
  /// written, or the module could not read it (invalid UTF-8, 64 KiB and more).
  bool writeRequest(std::string_view key, const UnlockRequest& request) const;

  /// The request that waits for the module. One that is 300 seconds old is deleted and is none.
  std::optional<UnlockRequest> pendingRequest(std::string_view key) const;

  /// Deletes the request file. With `requestId`, only if the waiting request carries that one: any
  /// other belongs to somebody else and stays.
  void removeRequest(std::string_view key, const std::optional<std::string>& requestId = {}) const;

  /// Every record that can be read, in the order of the folder, of whatever age.
  std::vector<Status> allStatuses() const;

  /// The record in the status file of a key.
  std::optional<Status> readStatus(std::string_view key) const;

  /// Replaces the status file of the record's own `guid`, which keeps its permissions.
  void writeStatus(const Status& status) const;

  /// Deletes requests, and what interrupted writes of them left, that are more than 300 seconds
  /// old. Status files stay.
  void sweepStale() const;

 private:
  std::optional<std::filesystem::path> fileURL(std::string_view prefix, std::string_view key) const;

  platform::Containers& containers_;
  platform::Clock& clock_;
};

}  // namespace halvercine::bitlocker
