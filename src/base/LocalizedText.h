// A text for people that has yet to be looked up.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/Localization.h"

namespace halvercine::base {

/// A localization key with the arguments of its text.
struct LocalizedText {
  std::string_view key;                  ///< lives as long as the program
  std::vector<std::string> arguments{};  ///< "{0}" and so on
  std::vector<LocalizedText> texts{};    ///< further arguments, to be looked up themselves

  std::string in(const Localization& localization) const {
    auto all = arguments;
    all.reserve(arguments.size() + texts.size());
    for (const auto& text : texts) all.push_back(text.in(localization));
    return localization.text(key, all);
  }

  bool operator==(const LocalizedText&) const = default;
};

}  // namespace halvercine::base
