#include "base/Properties.h"

#include <algorithm>
#include <cctype>
#include <cmath>

#include <boost/uuid/uuid.hpp>
#include <boost/uuid/uuid_io.hpp>

#include "base/Text.h"

namespace halvercine::base {

std::optional<bool> booleanValue(const platform::PropertyValue& value) {
  if (const auto* boolean = value.as<bool>()) return *boolean;
  return std::nullopt;
}

std::optional<std::int64_t> integerValue(const platform::PropertyValue& value) {
  if (const auto* integer = value.as<std::int64_t>()) return *integer;
  const auto* fractional = value.as<double>();
  if (!fractional || *fractional < -0x1p63 || *fractional >= 0x1p63 ||
      std::trunc(*fractional) != *fractional) {
    return std::nullopt;
  }
  return static_cast<std::int64_t>(*fractional);
}

std::optional<std::string> textValue(const platform::PropertyValue& value) {
  const auto* text = value.as<std::string>();
  if (!text || trimmed(*text).empty()) return std::nullopt;
  return *text;
}

std::optional<std::string> trimmedTextValue(const platform::PropertyValue& value) {
  const auto* text = value.as<std::string>();
  if (!text || trimmed(*text).empty()) return std::nullopt;
  return std::string(trimmed(*text));
}

std::optional<std::string> uuidValue(const platform::PropertyValue& value) {
  const auto* uuid = value.as<platform::Uuid>();
  if (!uuid) return std::nullopt;
  boost::uuids::uuid object;
  std::copy(uuid->bytes.begin(), uuid->bytes.end(), object.begin());
  auto text = to_string(object);
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char digit) { return static_cast<char>(std::toupper(digit)); });
  return text;
}

std::optional<std::string> pathValue(const platform::PropertyValue& value) {
  const auto* url = value.as<platform::FileUrl>();
  if (!url || url->path.empty()) return std::nullopt;
  return url->path;
}

}  // namespace halvercine::base
