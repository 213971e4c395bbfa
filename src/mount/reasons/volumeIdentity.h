// What a volume is remembered by.
#pragma once

#include <optional>
#include <string>

#include "disks/Disk.h"

namespace halvercine::mount {

/// The text under which reasons and manual unmounts are kept: the volume's UUID, else the identity
/// of its medium; nothing for a volume with neither, of which nothing can be remembered. It stays
/// when the BSD name changes. Exact copies of a volume share it: whoever acts on a volume compares
/// the device as well.
std::optional<std::string> volumeIdentity(const disks::Disk& disk);

}  // namespace halvercine::mount
