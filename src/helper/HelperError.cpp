#include "helper/HelperError.h"

namespace halvercine::helper {

bool isEndpointUnreachable(const HelperError& error) {
  constexpr std::int64_t connectionInvalid = 4099;  // NSXPCConnectionInvalid
  return error.kind == HelperError::Kind::connection &&
         error.cause.domain == "NSCocoaErrorDomain" && error.cause.code == connectionInvalid &&
         error.cause.text.find("error 159") == std::string::npos;
}

std::string describe(const HelperError& error) {
  switch (error.kind) {
    case HelperError::Kind::timedOut:
      return "no answer in time";
    case HelperError::Kind::connection:
      return error.cause.text;
    case HelperError::Kind::protocol:
      return "what answers does not speak the helper's protocol";
  }
  return "";
}

}  // namespace halvercine::helper
