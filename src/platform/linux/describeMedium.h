// A medium as disk arbitration describes it.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/PropertyValue.h"
#include "platform/linux/Storage.h"

namespace halvercine::platform::gnulinux {

/// The description of a medium, with the keys of platform/DiskArbitration.h. What the machine does
/// not know is left out. Any thread.
PropertyDictionary describeMedium(const BlockDevice& device, Storage& storage);

/// A text of 36 characters that spells a UUID, as an object; nothing for any other text.
std::optional<Uuid> parsedUuid(std::string_view text);

/// The same text with capital letters, as macOS writes UUIDs; nothing when it spells none.
std::optional<std::string> uuidText(std::string_view text);

/// The UUID of a volume: the one that the text spells, and for the short serial numbers of NTFS and
/// FAT one that is made from the text and so always the same. Nothing for an empty text.
std::optional<Uuid> volumeUuid(std::string_view text);

}  // namespace halvercine::platform::gnulinux
