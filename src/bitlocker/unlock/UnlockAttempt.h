// One request to unlock a volume, from being written to being answered.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <boost/signals2/connection.hpp>

#include "base/OwnedPost.h"
#include "base/Secret.h"
#include "base/Task.h"
#include "bitlocker/BitLockerMailbox.h"
#include "bitlocker/unlock/UnlockContext.h"
#include "bitlocker/unlock/unlockResult.h"
#include "disks/Disk.h"

namespace halvercine::bitlocker {

/// Whoever drops it withdraws the request, however it comes to that: the credential lies in the
/// shared folder no longer than anybody waits for the answer. Main actor.
class UnlockAttempt {
 public:
  static constexpr auto pollInterval = std::chrono::milliseconds(250);
  static constexpr auto answerLimit = std::chrono::seconds(25);
  static constexpr auto refreshInterval = std::chrono::seconds(1);
  /// The system mounts an unlocked volume by itself. After this time it is asked to.
  static constexpr auto mountPatience = std::chrono::seconds(3);

  /// Begins now: no answer from before counts. `disk` has a mailbox key; `deviceId` is the registry
  /// entry ID that it had when the user chose it, as far as known.
  UnlockAttempt(const UnlockContext& context, disks::Disk disk,
                std::optional<std::uint64_t> deviceId);
  ~UnlockAttempt() { withdraw(); }
  UnlockAttempt(const UnlockAttempt&) = delete;
  UnlockAttempt& operator=(const UnlockAttempt&) = delete;

  /// Whether the BSD name does not belong to another device, as of the monitor's last refresh. A
  /// disk that is not listed may come back.
  bool isSameDevice() const;

  /// Puts the request in place; false when it is not there.
  bool submit(std::string_view method, base::Secret credential, bool readOnly);

  /// Waits for the answer and for the volume to be mounted, at most `answerLimit`. `accepted` is
  /// called when the module has accepted the credential. Called once.
  base::Task<UnlockResult> wait(std::function<void()> accepted);

  /// Takes the request back, if it is still this one. More than once is fine.
  void withdraw();

  double submitTime() const { return submitTime_; }
  const std::string& requestID() const { return requestID_; }
  const std::optional<std::string>& originalMediaID() const { return disk_.mediaID; }

 private:
  const std::string& key() const { return disk_.bitLocker->guid; }
  bool isAnswer(const Status& status) const;
  bool isEjection(const Status& status) const;
  bool isOverdue() const;
  base::Task<UnlockResult> waitForEnd();
  bool wasAccepted() const;
  std::optional<UnlockResult> look();
  std::optional<UnlockResult> lookAtDisk() const;
  void noteAcceptance();
  bool isMountDue() const;
  base::Task<std::optional<UnlockResult>> mount();
  base::Task<void> nextLook();

  const UnlockContext& context_;
  platform::Clock& clock_;
  BitLockerMailbox mailbox_;
  const disks::Disk disk_;
  const std::optional<std::uint64_t> deviceId_;
  const double submitTime_;  // seconds since 1970
  const std::string requestID_;

  bool isSubmitted_ = false;
  bool readOnly_ = false;
  bool isMountTried_ = false;
  std::function<void()> accepted_;
  std::optional<platform::Uptime> acceptedAt_;
  platform::Uptime deadline_{};
  platform::Uptime nextRefresh_{};

  std::function<void()> wake_;  // set while the attempt sleeps
  boost::signals2::scoped_connection refreshed_;
  base::OwnedPost post_;
  std::unique_ptr<platform::DirectoryWatch> watch_;
};

}  // namespace halvercine::bitlocker
