// Settings by the system's preferences.
#pragma once

#include "platform/UserDefaults.h"

namespace halvercine::platform::macos {

/// The user's preferences of the domain "com.halvercine.app", whichever program of the bundle runs.
/// The preferences daemon keeps each key by itself, so that processes do not undo one another's
/// changes; what it has is asked for before each call. UUIDs and URLs cannot be stored.
class MacUserDefaults : public UserDefaults {
 public:
  std::optional<PropertyValue> value(std::string_view key) override;
  bool setValue(std::string_view key, const PropertyValue& value) override;
  bool remove(std::string_view key) override;
};

}  // namespace halvercine::platform::macos
