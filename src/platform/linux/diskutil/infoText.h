// "info": the record of a disk or volume.
#pragma once

#include <cstdint>
#include <string>

#include "platform/PropertyValue.h"
#include "platform/linux/Storage.h"

namespace halvercine::platform::gnulinux {

/// What the record tells beside the description of the medium.
struct MountState {
  enum class Access { notMounted, writable, readOnly } access = Access::notMounted;
  bool isOwn = false;  ///< the disk tool mounted it
};

/// The record, with the labels and the layout of the current diskutil. No text of the medium can
/// begin a line of its own. Without a line end at the end.
std::string infoText(MediumId id, const PropertyDictionary& description, const MountState& state);

/// The record of a medium of this machine. Any user.
std::string infoText(const BlockDevice& device, Storage& storage);

/// "500.1 GB (500107862016 Bytes) (exactly 976773168 512-Byte-Units)"
std::string exactSizeText(std::int64_t bytes);

}  // namespace halvercine::platform::gnulinux
