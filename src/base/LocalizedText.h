// A text for people that has yet to be looked up.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/Localization.h"

namespace halvercine::base {

/// A localization key with the arguments of its text.
struct LocalizedText {
  std::string_view key;  ///< lives as long as the program
  std::vector<std::string> arguments;

  std::string in(const Localization& localization) const {
    return localization.text(key, arguments);
  }

  bool operator==(const LocalizedText&) const = default;
};

}  // namespace halvercine::base
