#include "mount/reasons/ManualUnmountRegistry.h"

#include <cmath>
#include <string_view>
#include <utility>

#include "mount/reasons/volumeIdentity.h"

namespace halvercine::mount {
namespace {

constexpr std::string_view defaultsKey = "manualUnmountRegistry";

/// A time, whichever type of number it came back as.
std::optional<double> timeOf(const platform::PropertyValue& value) {
  if (const auto* whole = value.as<std::int64_t>()) return static_cast<double>(*whole);
  const auto* seconds = value.as<double>();
  return seconds && std::isfinite(*seconds) ? std::optional(*seconds) : std::nullopt;
}

}  // namespace

std::map<std::string, double> ManualUnmountRegistry::registry() const {
  std::map<std::string, double> entries;
  const auto value = defaults_.value(defaultsKey);
  const auto* dictionary = value ? value->as<platform::PropertyDictionary>() : nullptr;
  if (!dictionary) return entries;
  for (const auto& [identity, entry] : *dictionary) {
    if (const auto time = timeOf(entry)) entries.emplace(identity, *time);
  }
  return entries;
}

std::optional<double> ManualUnmountRegistry::unmountedAt(const std::string& identity) const {
  const auto entries = registry();
  const auto found = entries.find(identity);
  if (found == entries.end() || std::abs(now() - found->second) > lifetime) return std::nullopt;
  return found->second;
}

bool ManualUnmountRegistry::record(const std::string& identity) {
  auto entries = registry();
  entries.insert_or_assign(identity, now());
  return store(std::move(entries));
}

bool ManualUnmountRegistry::forget(const std::string& identity) {
  auto entries = registry();
  return entries.erase(identity) == 0 || store(std::move(entries));
}

void ManualUnmountRegistry::forgetMounted(const std::vector<disks::Disk>& disks) {
  constexpr double settled = 5;  // seconds
  const auto entries = registry();
  if (entries.empty()) return;
  for (const auto& disk : disks) {
    const auto identity = disk.isMounted ? volumeIdentity(disk) : std::nullopt;
    const auto found = identity ? entries.find(*identity) : entries.end();
    if (found != entries.end() && now() - found->second > settled) forget(*identity);
  }
}

bool ManualUnmountRegistry::store(std::map<std::string, double> entries) {
  const double oldest = now() - lifetime;
  platform::PropertyDictionary dictionary;
  for (auto& [identity, time] : entries) {
    if (time >= oldest) dictionary.emplace(identity, time);
  }
  return defaults_.setValue(defaultsKey, std::move(dictionary));
}

}  // namespace halvercine::mount
