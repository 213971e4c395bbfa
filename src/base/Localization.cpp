#include "base/Localization.h"

#include <algorithm>

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>
#include <boost/json/monotonic_resource.hpp>
#include <fmt/args.h>
#include <fmt/format.h>

#include "base/Json.h"
#include "base/Resources.h"
#include "base/Text.h"

namespace halvercine::base {

Language languageOf(std::string_view tag) {
  // A locale name's character set and variant follow a point or an at sign.
  const auto lowered = asciiLowered(tag.substr(0, tag.find_first_of(".@")));
  std::vector<std::string> parts;
  boost::algorithm::split(parts, lowered, boost::algorithm::is_any_of("-_"));
  const auto has = [&parts](std::string_view part) {
    return std::find(parts.begin(), parts.end(), part) != parts.end();
  };
  if (parts.front() != "zh") return Language::en;
  // A named script outweighs what the region writes: "zh-Hans-HK" is simplified.
  if (has("hans")) return Language::zhHans;
  const bool isTraditional = has("hant") || has("tw") || has("hk") || has("mo");
  return isTraditional ? Language::en : Language::zhHans;
}

std::string_view languageTag(Language language) {
  switch (language) {
    case Language::en:
      return "en";
    case Language::zhHans:
      return "zh-Hans";
  }
  return "en";
}

Localization::Localization(Language language) : language_(language) {
  const auto text = resource("strings/" + std::string(languageTag(language)) + ".json");
  // The parsed document goes again at once: its memory is one block.
  const auto parsed = parseJson(
      text.value_or("{}"), boost::json::make_shared_resource<boost::json::monotonic_resource>());
  if (!parsed || !parsed->is_object()) return;
  for (const auto& [key, value] : parsed->get_object()) {
    if (value.is_string()) table_.emplace(key, value.get_string());
  }
}

std::string Localization::text(std::string_view key,
                               const std::vector<std::string>& arguments) const {
  const auto found = table_.find(key);
  if (found == table_.end()) return std::string(key);
  fmt::dynamic_format_arg_store<fmt::format_context> store;
  for (const auto& argument : arguments) store.push_back(argument);
  try {
    return fmt::vformat(found->second, store);
  } catch (const fmt::format_error&) {  // fewer arguments than places
    return found->second;
  }
}

}  // namespace halvercine::base
