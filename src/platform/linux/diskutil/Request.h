// The command lines that the disk tool understands.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "platform/linux/MediumId.h"

namespace halvercine::platform::gnulinux {

enum class DiskVerb { info, mount, mountReadOnly, unmount, unmountForce };

struct DiskRequest {
  DiskVerb verb = DiskVerb::info;
  std::string disk;            ///< as it was typed
  std::optional<MediumId> id;  ///< nothing when what was typed is no disk's name
};

/// Reads the arguments behind the program's name: "info DISK", "mount [readOnly] DISK" or
/// "unmount [force] DISK", with a BSD name as DISK, "/dev/" before it or not. Nothing for any
/// other.
std::optional<DiskRequest> parseRequest(std::span<const std::string_view> arguments);

/// What the tool says, and with which exit status it ends. Texts end without a line end; those of
/// failures go to standard error.
struct DiskAnswer {
  int status = 0;
  std::string text;
};

}  // namespace halvercine::platform::gnulinux
