// Unlocking a BitLocker volume as the user sees it, without a window.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <boost/signals2/connection.hpp>
#include <boost/signals2/dummy_mutex.hpp>
#include <boost/signals2/signal_type.hpp>

#include "base/LocalizedText.h"
#include "base/Secret.h"
#include "base/spawn.h"
#include "bitlocker/unlock/BitLockerKeychain.h"
#include "bitlocker/unlock/UnlockAttempt.h"
#include "bitlocker/unlock/UnlockContext.h"
#include "disks/Disk.h"

namespace halvercine::bitlocker {

/// The dialog's model; a window and the command line drive it alike. The form can be filled and
/// submitted; while a submission is under way, it stays as it was submitted: a second one is
/// ignored, and so are changes of the form. It closes itself after a success. Destroying it is
/// closing it: the request is withdrawn. Main actor.
class BitLockerUnlock {
 public:
  template <class Signature>
  using Signal = typename boost::signals2::signal_type<
      Signature, boost::signals2::keywords::mutex_type<boost::signals2::dummy_mutex>>::type;

  enum class Method { password, recovery };

  /// From the success to the end: long enough to be seen.
  static constexpr auto closingDelay = std::chrono::milliseconds(300);

  struct State {
    disks::Disk disk;
    Method method = Method::password;
    base::Secret password;
    base::Secret recovery;  ///< as the field shows it: groups of digits, joined by hyphens
    std::vector<base::LocalizedText> recoveryFaults;  ///< what is wrong with what was entered there
    bool showPassword = false;
    bool rememberCredential = false;
    bool mountReadOnly = false;
    bool isFilling = false;       ///< what is remembered is being looked for
    bool busy = false;            ///< a submission is under way
    bool awaitingReplug = false;  ///< instead of the form: the disk is to be replugged
    bool isUnlocked = false;      ///< the volume is unlocked and mounted
    bool isClosed = false;        ///< nothing happens any more
    std::optional<std::string_view> errorText;  ///< localization key of the message
    std::string resultCode;                     ///< what the message was made from
    std::string_view stageKey;                  ///< localization key of the progress, while busy
    double submitTime = 0;                      ///< seconds since 1970
    std::string requestID;
    std::optional<std::string> originalMediaID;
  };

  /// `deviceId` is the registry entry ID of the disk that the user chose, as far as known.
  BitLockerUnlock(UnlockContext context, disks::Disk disk, std::optional<std::uint64_t> deviceId);
  ~BitLockerUnlock() { close(); }
  BitLockerUnlock(const BitLockerUnlock&) = delete;
  BitLockerUnlock& operator=(const BitLockerUnlock&) = delete;

  const State& state() const { return state_; }

  /// Fills the form with what is remembered of the volume, soon.
  void open();

  void selectMethod(Method method);
  void enterPassword(base::Secret text);
  /// Any text: the digits are taken from it, and its faults are kept.
  void enterRecovery(std::string_view text);
  void setShowPassword(bool show) { state_.showPassword = show; }
  void setRememberCredential(bool remember);
  void setMountReadOnly(bool readOnly);

  /// Hands the credential of the chosen method to the module. An invalid recovery password is
  /// refused with a message.
  void submit();

  void close();

  /// The state has changed by itself. Slots may call anything here, but not destroy the model.
  Signal<void()> changed;

 private:
  std::string key() const { return state_.disk.bitLocker ? state_.disk.bitLocker->guid : ""; }
  bool isForm() const { return !state_.busy && !state_.isClosed; }
  bool takeRemembered(BitLockerKeychain::Payload remembered);
  const base::Secret& credential() const;
  base::Task<void> fill();
  base::Task<void> submission();
  base::Task<void> waiting();
  base::Task<void> succeed(bool isAccepted);
  bool isSameMedium(const disks::Disk& disk) const;
  void fail(std::string_view code);
  void endSubmission();
  void lookForReplug();

  const UnlockContext context_;
  BitLockerKeychain keychain_;
  State state_;
  bool isMethodChosen_ = false;  // by the user
  std::optional<std::uint64_t> deviceId_;
  std::unique_ptr<UnlockAttempt> attempt_;
  boost::signals2::scoped_connection refreshed_;
  base::TaskScope submissionTask_;
  base::TaskScope pollTask_;
};

/// The mailbox's word for a method.
std::string_view methodName(BitLockerUnlock::Method method);

}  // namespace halvercine::bitlocker
