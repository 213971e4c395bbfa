#include "disks/DiskUtilityText.h"

#include <algorithm>
#include <array>
#include <initializer_list>

#include "base/Text.h"

namespace halvercine::disks {
namespace {

constexpr std::string_view personalityLabel = "File System Personality";

std::string_view withoutBlanks(std::string_view text) {
  constexpr std::string_view blanks = " \t\r\v\f";
  const auto first = text.find_first_not_of(blanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(blanks) + 1 - first);
}

/// The first line, trimmed, that `accept` accepts.
template <class Accept>
std::optional<std::string_view> findLine(std::string_view text, Accept accept) {
  while (!text.empty()) {
    const auto end = std::min(text.find('\n'), text.size());
    if (const auto line = withoutBlanks(text.substr(0, end)); accept(line)) return line;
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return std::nullopt;
}

/// What stands behind `label` on the first line that begins with it, unless that is nothing.
std::optional<std::string_view> valueOf(std::string_view info, std::string_view label) {
  const auto line =
      findLine(info, [label](std::string_view candidate) { return candidate.starts_with(label); });
  if (!line) return std::nullopt;
  const auto value = withoutBlanks(line->substr(label.size()));
  if (value.empty()) return std::nullopt;
  return value;
}

bool containsAny(std::string_view text, std::initializer_list<std::string_view> phrases) {
  return std::any_of(phrases.begin(), phrases.end(),
                     [text](std::string_view phrase) { return text.contains(phrase); });
}

}  // namespace

bool isReadOnly(std::optional<std::string_view> info) {
  constexpr std::array<std::string_view, 2> labels = {"Read-Only Volume:", "Volume Read-Only:"};
  if (!info) return true;
  std::string_view value;
  const auto line = findLine(*info, [&](std::string_view candidate) {
    for (const auto label : labels) {
      if (!candidate.starts_with(label)) continue;
      value = withoutBlanks(candidate.substr(label.size()));
      return true;
    }
    return false;
  });
  return !line || value.ends_with("Yes") || value.starts_with("Yes ");
}

bool isMounted(std::string_view info) {
  return findLine(info,
                  [](std::string_view line) {
                    return line.starts_with("Mounted:") && line.ends_with("Yes");
                  })
      .has_value();
}

std::optional<std::string_view> mountPoint(std::string_view info) {
  return valueOf(info, "Mount Point:");
}

VolumeIdentityFields volumeIdentityFields(std::string_view info) {
  return {.volumeUuid = valueOf(info, "Volume UUID:"),
          .personality = valueOf(info, "File System Personality:"),
          .diskSize = valueOf(info, "Disk Size:")};
}

bool isNtfs(std::string_view info) {
  const auto personality = volumeIdentityFields(info).personality;
  return personality && base::asciiLowered(*personality).contains("ntfs");
}

std::optional<std::string> probedPersonality(std::string_view info) {
  const auto line = findLine(
      info, [](std::string_view candidate) { return candidate.contains(personalityLabel); });
  if (!line) return std::nullopt;
  const auto colon = line->find(':');
  if (colon == std::string_view::npos) return std::nullopt;
  return base::asciiLowered(withoutBlanks(line->substr(colon + 1)));
}

bool isOwnEngine(std::string_view personalityOrDriver) {
  return containsAny(base::asciiLowered(personalityOrDriver), {"halvercine", "tarnwel"});
}

std::optional<std::string_view> driverDisplayName(std::string_view personality) {
  const auto lowered = base::asciiLowered(personality);
  if (isOwnEngine(lowered)) return "Tarnwel Extension";
  if (lowered.contains("iboysoft")) return "iBoysoft NTFS";
  // Paragon's driver calls its file system "ufsd_NTFS" and does not name its maker.
  if (lowered.contains("paragon") || (lowered.contains("ufsd") && lowered.contains("ntfs"))) {
    return "Paragon NTFS";
  }
  if (lowered.contains("tuxera")) return "Tuxera NTFS";
  return std::nullopt;
}

std::string_view errorKey(std::string_view errorText) {
  // In this order: a text can hold several phrases, and the first rule is the more telling one.
  struct Rule {
    std::string_view key;
    std::initializer_list<std::string_view> phrases;
  };
  static const Rule rules[] = {
      {"disk.err.notfound", {"failed to find disk", "unable to find disk", "could not find disk"}},
      {"disk.err.mounted", {"already mounted"}},
      {"disk.err.dissenter", {"dissenter"}},
      {"disk.err.busy", {"resource busy", "is busy"}},
      {"disk.err.perm", {"not permitted", "not authorized", "permission"}},
      {"disk.err.mount",
       {"could not be mounted", "unable to mount", "mount failed", "failed to mount"}},
      {"disk.err.timeout", {"timed out"}},
      {"disk.err.badvolname", {"does not appear to be a valid volume name", "invalid volume name"}},
  };
  const auto lowered = base::asciiLowered(errorText);
  for (const auto& rule : rules) {
    if (containsAny(lowered, rule.phrases)) return rule.key;
  }
  return "disk.err.unknown";
}

}  // namespace halvercine::disks
