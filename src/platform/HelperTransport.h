// Messages to the privileged helper: one XPC connection for each call.
#pragma once

#include <cstdint>
#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>

#include "platform/SystemError.h"

namespace halvercine::platform {

/// The messages of the helper's protocol (`NTFSHelperProtocol`), named as their selectors begin.
/// Behind each are its arguments, in order, and the alternative of `HelperReply` that answers it.
enum class HelperSelector {
  createBitLocker,              ///< text, text, text (secret), uint32, uint64, bool: HelperVerdict
  bitLockerCreationProgress,    ///< none: HelperText
  cancelBitLockerCreation,      ///< none: bool
  decryptBitLocker,             ///< text, text (secret), uint64: HelperVerdict
  bitLockerDecryptionProgress,  ///< none: HelperText
  cancelBitLockerDecryption,    ///< none: bool
  changeBitLockerPassword,      ///< text, text (secret), text (secret), uint64: HelperVerdict
  reformatNTFS,                 ///< text, text, uint64, text, text: HelperVerdict
  reformatNTFSProgress,         ///< text: HelperText
  probeDeviceOpen,              ///< text: int32
  formattingAvailable,          ///< none: bool
  repairAuthorization,          ///< none: HelperVerdict
  installFsPackage,             ///< text: HelperVerdict
  deregisterFSKitModules,       ///< list of texts: HelperVerdict
  prepareForUninstall,          ///< none: HelperVerdict
  removeLegacyInstall,          ///< none: HelperVerdict
  removeFsPackage,              ///< none: HelperVerdict
};

/// One argument. Texts are UTF-8.
using HelperArgument = std::variant<std::string_view, std::uint32_t, std::uint64_t, bool,
                                    std::span<const std::string>>;

/// A message. Selector and arguments fit each other.
struct HelperMessage {
  HelperSelector selector = HelperSelector::formattingAvailable;
  std::span<const HelperArgument> arguments;
};

/// An optional text, the only value of its reply.
struct HelperText {
  std::optional<std::string_view> text;
};

/// Success, and an optional text: why not, or what came of it, which can be a secret.
struct HelperVerdict {
  bool ok = false;
  std::optional<std::string_view> message;
};

/// What a reply block was called with. The texts stand during that call only, so that a secret is
/// copied by nobody but the one who knows how to keep it.
using HelperReply = std::variant<HelperVerdict, HelperText, bool, std::int32_t>;

/// The helper's end of one connection.
class HelperProxy {
 public:
  virtual ~HelperProxy() = default;

  /// Sends a message, whose views need to stand during this call only. `replied` is called when the
  /// helper calls its reply block: on any thread, perhaps from inside this call, and as often as a
  /// faulty helper does. Main actor.
  virtual void send(const HelperMessage& message,
                    std::function<void(const HelperReply&)> replied) = 0;
};

/// One connection. It may be destroyed on any thread, inside its own calls too.
class HelperConnection {
 public:
  virtual ~HelperConnection() = default;

  /// Begins to work and answers the helper's end, which lives as long as the connection; null when
  /// it does not conform to the protocol. `failed` gets the error when the connection cannot be
  /// made, breaks before the reply, or is invalidated: on any thread, beside a reply too. Called
  /// once. Main actor.
  virtual HelperProxy* remoteObject(std::function<void(SystemError)> failed) = 0;

  /// Ends the connection. What was under way may still call back. Any thread.
  virtual void invalidate() = 0;
};

class HelperTransport {
 public:
  virtual ~HelperTransport() = default;

  /// A connection to the mach service of a daemon that runs as root (NSXPCConnectionPrivileged), or
  /// why this system has none. Whether anybody listens shows later. Main actor.
  virtual std::expected<std::unique_ptr<HelperConnection>, SystemError> open(
      const std::string& machService) = 0;
};

}  // namespace halvercine::platform
