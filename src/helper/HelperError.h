// Why a call to the helper has no answer.
#pragma once

#include <expected>
#include <string>

#include "platform/SystemError.h"

namespace halvercine::helper {

struct HelperError {
  enum class Kind {
    timedOut,    ///< no answer within the time limit; the helper may still be at work
    connection,  ///< the connection could not be made, or broke
    protocol     ///< what answers does not speak the protocol
  } kind = Kind::timedOut;
  platform::SystemError cause;  ///< of `connection`

  bool operator==(const HelperError&) const = default;
};

template <class T>
using HelperResult = std::expected<T, HelperError>;

/// Whether nobody can be reached at the helper's mach service, and registering it anew may help.
/// A call that had no answer in time does not say so: the helper may be at work on a disk, and a
/// registration would end it. Nor does this program's own sandbox in the way.
bool isEndpointUnreachable(const HelperError& error);

/// For the log, in English.
std::string describe(const HelperError& error);

}  // namespace halvercine::helper
