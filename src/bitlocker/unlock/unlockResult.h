// What an attempt to unlock a volume comes to.
#pragma once

#include <string>
#include <string_view>

namespace halvercine::bitlocker {

/// Result codes of our own; the module has its own ones.
namespace unlock_code {
inline constexpr std::string_view mailboxUnavailable = "mailboxUnavailable";
inline constexpr std::string_view diskBusy = "diskBusy";
inline constexpr std::string_view deviceChanged = "deviceChanged";
inline constexpr std::string_view mountNotConfirmed = "mountNotConfirmed";
inline constexpr std::string_view timeout = "timeout";
}  // namespace unlock_code

struct UnlockResult {
  enum class End {
    unlocked,  ///< and mounted
    failed,
    ejected  ///< the module has let go of the device: it has to be plugged in anew
  };

  End end = End::failed;
  std::string code;  ///< of a failure; empty when the module gave none
  /// Whether the module has accepted the credential. Something else may have opened the volume.
  bool isAccepted = false;
};

/// The text of a mount that failed after the module had accepted the credential; a result code too.
std::string mountFailureText(std::string_view volumeName, std::string_view reason);

/// The localization key of a result code's message.
std::string_view unlockMessageKey(std::string_view code);

}  // namespace halvercine::bitlocker
