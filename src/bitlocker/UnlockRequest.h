// What the program asks of the file-system module to unlock a volume.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <boost/describe.hpp>

#include "base/Secret.h"

namespace halvercine::bitlocker {

/// Which protector a credential belongs to: the words of `UnlockRequest::method`.
namespace unlock_method {
inline constexpr std::string_view password = "password";
inline constexpr std::string_view recovery = "recovery";  ///< the 48-digit recovery password
}  // namespace unlock_method

/// One unlock request, coded as JSON in the mailbox. The credential is there in plain text: the
/// file is private, and lives until the module takes it or its sender withdraws it.
struct UnlockRequest {
  std::string method;
  base::Secret credential;       ///< exactly as entered or remembered
  std::optional<bool> readOnly;  ///< true: present the volume read-only; absent: read-write
  /// Fresh UUID text of this one submission, which the module's answer repeats. Always sent.
  std::optional<std::string> requestID;

  bool operator==(const UnlockRequest&) const = default;
};
BOOST_DESCRIBE_STRUCT(UnlockRequest, (), (method, credential, readOnly, requestID))

}  // namespace halvercine::bitlocker
