// Settings that live in a test.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "platform/UserDefaults.h"

namespace halvercine::tests {

struct MapDefaults : platform::UserDefaults {
  std::optional<platform::PropertyValue> value(std::string_view key) override {
    const auto found = values.find(key);
    return found == values.end() ? std::nullopt : std::optional(found->second);
  }
  bool setValue(std::string_view key, const platform::PropertyValue& value) override {
    values.insert_or_assign(std::string(key), value);
    return true;
  }
  bool remove(std::string_view key) override { return values.erase(std::string(key)) > 0; }

  std::map<std::string, platform::PropertyValue, std::less<>> values;
};

}  // namespace halvercine::tests
