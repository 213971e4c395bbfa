// Texts of diskutil. Volume names in them are somebody else's.
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "disks/DiskUtilityText.h"
#include "require.h"

using halvercine::fuzz::require;
namespace disks = halvercine::disks;

namespace {

/// Values are parts of the text, on one line, without blanks around them, and never empty.
void requireValue(std::string_view text, const std::optional<std::string_view>& value) {
  if (!value) return;
  require(
      value->data() >= text.data() && value->data() + value->size() <= text.data() + text.size(),
      "a value is a part of the text");
  require(!value->empty() && value->find('\n') == std::string_view::npos, "a value is on one line");
  require(value->front() != ' ' && value->back() != ' ', "a value is trimmed");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const auto fields = disks::volumeIdentityFields(text);
  requireValue(text, fields.volumeUuid);
  requireValue(text, fields.personality);
  requireValue(text, fields.diskSize);
  requireValue(text, disks::mountPoint(text));
  require(!disks::isNtfs(text) || fields.personality, "NTFS has a personality");
  const auto probed = disks::probedPersonality(text);
  require(!probed || text.contains("File System Personality"), "a probed personality is said");
  require(disks::isReadOnly(text) || text.contains("Read-Only"), "in doubt it is read-only");
  require(!disks::isMounted(text) || text.contains("Mounted:"), "mounted is said");
  require(disks::errorKey(text).starts_with("disk.err."), "every text has a key");
  require(!disks::isOwnEngine(text) || disks::driverDisplayName(text), "the own engine has a name");

  // A line in front that says nothing changes nothing.
  const auto longer = "2017-01-17 16:08:57.159 diskutil[39833] note\n" + std::string(text);
  require(disks::isReadOnly(longer) == disks::isReadOnly(text), "a log line is passed over");
  require(disks::mountPoint(longer) == disks::mountPoint(text), "a log line is passed over");
  return 0;
}
