#include "mount/EnabledModules.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "base/BoundedCalls.h"
#include "base/PrivateFiles.h"
#include "base/PropertyList.h"
#include "base/Text.h"

namespace halvercine::mount {
namespace {

using platform::PropertyDictionary;
using platform::PropertyValue;

constexpr std::string_view settingsFile =
    "Library/Group Containers/group.com.apple.fskit.settings/enabledModules.plist";

bool isOn(const PropertyValue& flag) {
  if (const auto* boolean = flag.as<bool>()) return *boolean;
  const auto* number = flag.as<std::int64_t>();
  return number && *number != 0;
}

bool isEnabled(const PropertyValue& state) {
  const auto* settings = state.as<PropertyDictionary>();
  if (!settings) return isOn(state);
  for (const auto& [key, value] : *settings) {
    const auto lowered = base::asciiLowered(key);
    if (lowered == "enabled" || lowered == "isenabled") return isOn(value);
  }
  return false;
}

}  // namespace

std::vector<std::string> enabledModules(std::string_view propertyList) {
  std::vector<std::string> identifiers;
  const auto root = base::parsePropertyList(propertyList);
  if (!root) return identifiers;
  const auto add = [&](const std::string& identifier) {
    if (!identifier.empty()) identifiers.push_back(identifier);
  };
  if (const auto* array = root->as<platform::PropertyArray>()) {
    for (const auto& element : *array) {
      if (const auto* identifier = element.as<std::string>()) add(*identifier);
    }
  } else if (const auto* dictionary = root->as<PropertyDictionary>()) {
    for (const auto& [identifier, state] : *dictionary) {
      if (isEnabled(state)) add(identifier);
    }
  }
  return identifiers;
}

std::optional<std::vector<std::string>> enabledModules(platform::Containers& containers) {
  const auto home = containers.home();
  if (!home) return std::nullopt;
  constexpr std::chrono::seconds patience{1};
  static base::BoundedCalls<std::optional<std::string>> reads(patience);
  const auto path = *home / settingsFile;
  const auto text = reads(path, [path] {
    auto read = base::readRegularFile(path, base::propertyListLimit);
    return read ? std::optional(std::move(*read)) : std::nullopt;
  });
  if (!text || !*text) return std::nullopt;
  return enabledModules(**text);
}

bool isModuleAuthorized(platform::Containers& containers) {
  const auto modules = enabledModules(containers);
  return !modules || std::ranges::find(*modules, ownModule) != modules->end();
}

}  // namespace halvercine::mount
