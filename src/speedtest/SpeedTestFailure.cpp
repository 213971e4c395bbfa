#include "speedtest/SpeedTestFailure.h"

#include <system_error>

namespace halvercine::speedtest {
namespace {

std::string errorText(int error) { return std::generic_category().message(error); }

}  // namespace

SpeedTestFailure SpeedTestFailure::insufficientFree() {
  return {"insufficient-free", {"speed.error.space"}, std::nullopt};
}

SpeedTestFailure SpeedTestFailure::openFailed(int error) {
  return {
      "open-failed:" + std::to_string(error), {"speed.error.open.fmt", {errorText(error)}}, error};
}

SpeedTestFailure SpeedTestFailure::ioFailed(int error) {
  return {"io-failed:" + std::to_string(error), {"speed.error.io.fmt", {errorText(error)}}, error};
}

SpeedTestFailure SpeedTestFailure::generic() {
  return {"generic", {"speed.error.generic"}, std::nullopt};
}

}  // namespace halvercine::speedtest
