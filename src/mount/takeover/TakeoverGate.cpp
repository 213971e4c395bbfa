#include "mount/takeover/TakeoverGate.h"

#include <fmt/format.h>

#include "base/Json.h"

namespace halvercine::mount {
namespace {

template <class Enum>
std::string nameOf(Enum value) {
  return std::string(base::toJson(value).as_string());
}

}  // namespace

bool TakeoverGate::isOpen() const {
  return isNtfs && isMounted && !isWritable && mediaWritable != false && isModuleAuthorized &&
         MountRecoveryPolicy::isRecoverable(cause());
}

std::string TakeoverGate::description() const {
  const auto* const verdict = MountRecoveryPolicy::isRecoverable(cause()) ? "retry" : "final";
  return fmt::format(
      "{} cause={} ntfs={} mounted={} writable={} mediaWritable={} authorized={} reason={}",
      verdict, nameOf(cause()), isNtfs, isMounted, isWritable,
      mediaWritable ? fmt::to_string(*mediaWritable) : "unknown", isModuleAuthorized,
      reason ? nameOf(*reason) : "none");
}

}  // namespace halvercine::mount
