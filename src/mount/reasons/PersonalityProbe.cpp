#include "mount/reasons/PersonalityProbe.h"

#include "base/Text.h"
#include "disks/DiskUtilityText.h"

namespace halvercine::mount {
namespace {

/// The personality in the tool's own letters where the record has it in its usual place.
std::string asWritten(std::string_view info, const std::string& lowered) {
  const auto personality = disks::volumeIdentityFields(info).personality;
  if (personality && base::asciiLowered(*personality) == lowered) return std::string(*personality);
  return lowered;
}

}  // namespace

PersonalityProbe PersonalityProbe::of(std::string_view info) {
  const auto personality = disks::probedPersonality(info);
  if (!personality || !personality->contains("ntfs")) return {};
  if (*personality == "ntfs") return {Owner::system, ""};
  if (disks::isOwnEngine(*personality)) return {Owner::ownEngine, ""};
  if (const auto name = disks::driverDisplayName(*personality)) {
    return {Owner::thirdParty, std::string(*name)};
  }
  return {Owner::thirdParty, asWritten(info, *personality)};
}

base::Task<PersonalityProbe> PersonalityProbe::run(const disks::DiskUtility& utility,
                                                   std::string bsdName) {
  const auto result = co_await utility.info(std::move(bsdName));
  co_return of(result.text);
}

}  // namespace halvercine::mount
