// Small settings that outlive the program.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/PropertyValue.h"

namespace halvercine::platform {

class UserDefaults {
 public:
  virtual ~UserDefaults() = default;

  /// The value stored under `key`, with its type; nothing when there is none or the store cannot be
  /// read. Main actor.
  virtual std::optional<PropertyValue> value(std::string_view key) = 0;

  /// Stores `value` under `key`, in place of what was there. Other keys keep their values, also
  /// those that another process of the program set meanwhile. False when it could not be stored:
  /// then the old value stands. Main actor.
  virtual bool setValue(std::string_view key, const PropertyValue& value) = 0;

  /// Takes `key` away; a missing key is fine. Main actor.
  virtual bool remove(std::string_view key) = 0;
};

}  // namespace halvercine::platform
