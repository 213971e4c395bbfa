// What the I/O registry says about the device that a medium belongs to.
#pragma once

#include <optional>
#include <string>

#include "platform/MediaRegistry.h"

namespace halvercine::disks {

/// Facts gathered on the way from a media object up to the root. Texts are trimmed and never empty.
struct HardwareFacts {
  enum class Attachment { unknown, usb, pci };

  std::optional<std::string> revision;
  std::optional<std::string> serial;
  std::optional<std::string> productName;
  std::optional<std::string> vendorName;
  bool isSolidState = false;
  Attachment attachment = Attachment::unknown;  ///< the nearest that says so
  std::optional<std::string> linkDetail;        ///< such as "5 Gb/s" or "NVMe"

  /// Reads `media` and its parents; what stands nearer to the medium wins. Null has no facts.
  static HardwareFacts gather(const platform::RegistryEntry* media);

  /// Maker and product as one text, or nothing.
  std::optional<std::string> displayName() const;
};

}  // namespace halvercine::disks
