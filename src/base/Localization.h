// The texts of the user interface.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace halvercine::base {

/// The languages that have a string table; `en` is the fallback of everything else.
enum class Language { en, zhHans };

/// The language for a tag or locale name: any Chinese in simplified script ("zh-Hans",
/// "zh_CN.UTF-8", "zh-SG", "zh") is `zhHans`; all others `en`.
Language languageOf(std::string_view tag);

/// The tag of a language: "en", "zh-Hans".
std::string_view languageTag(Language language);

/// The string table of one language. Immutable, any thread.
class Localization {
 public:
  explicit Localization(Language language);

  Language language() const { return language_; }

  /// The text of a key with its arguments at "{0}", "{1}" and so on. A key that the table lacks
  /// comes back as it is, so that a gap is visible and harmless.
  std::string text(std::string_view key, const std::vector<std::string>& arguments = {}) const;

  const std::map<std::string, std::string, std::less<>>& table() const { return table_; }

 private:
  Language language_;
  std::map<std::string, std::string, std::less<>> table_;
};

}  // namespace halvercine::base
