#include "speedtest/SpeedTestFailure.h"

#include <cerrno>

namespace halvercine::speedtest {
namespace {

/// The errors that media and file systems have; others are only numbers.
base::LocalizedText errorText(int error) {
  switch (error) {
    case EPERM:
      return {"speed.errno.eperm"};
    case EACCES:
      return {"speed.errno.eacces"};
    case EROFS:
      return {"speed.errno.erofs"};
    case ENOENT:
      return {"speed.errno.enoent"};
    case ENOSPC:
    case EDQUOT:
      return {"speed.errno.enospc"};
    case EIO:
      return {"speed.errno.eio"};
    case ENXIO:
    case ENODEV:
      return {"speed.errno.enxio"};
    case EFBIG:
      return {"speed.errno.efbig"};
    case EINVAL:
    case EOPNOTSUPP:
      return {"speed.errno.einval"};
    default:
      return {"speed.errno.other", {std::to_string(error)}};
  }
}

}  // namespace

SpeedTestFailure SpeedTestFailure::insufficientFree() {
  return {"insufficient-free", {"speed.error.space"}, std::nullopt};
}

SpeedTestFailure SpeedTestFailure::openFailed(int error) {
  return {"open-failed:" + std::to_string(error),
          {"speed.error.open.fmt", {}, {errorText(error)}},
          error};
}

SpeedTestFailure SpeedTestFailure::ioFailed(int error) {
  return {
      "io-failed:" + std::to_string(error), {"speed.error.io.fmt", {}, {errorText(error)}}, error};
}

SpeedTestFailure SpeedTestFailure::generic() {
  return {"generic", {"speed.error.generic"}, std::nullopt};
}

}  // namespace halvercine::speedtest
