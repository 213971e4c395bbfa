// Why a speed test came to nothing.
#pragma once

#include <optional>
#include <string>

#include "base/LocalizedText.h"

namespace halvercine::speedtest {

struct SpeedTestFailure {
  /// "insufficient-free", "open-failed:" or "io-failed:" with the errno value, "generic".
  std::string reason;
  base::LocalizedText text;
  std::optional<int> error = std::nullopt;  ///< the errno value

  static SpeedTestFailure insufficientFree();
  static SpeedTestFailure openFailed(int error);
  static SpeedTestFailure ioFailed(int error);
  static SpeedTestFailure generic();

  bool operator==(const SpeedTestFailure&) const = default;
};

}  // namespace halvercine::speedtest
