#include "base/PropertyList.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>

#include <plist/plist.h>

#include "base/screenBinaryPropertyList.h"

namespace halvercine::base {
namespace {

using platform::Blob;
using platform::PropertyArray;
using platform::PropertyDictionary;
using platform::PropertyValue;

constexpr int deepestLevel = 32;

struct Free {
  void operator()(void* memory) const { std::free(memory); }
};
struct FreeNode {
  void operator()(void* node) const { plist_free(node); }
};
using Node = std::unique_ptr<void, FreeNode>;

std::optional<PropertyValue> convert(plist_t node, int level);

PropertyArray convertArray(plist_t node, int level) {
  PropertyArray array;
  const auto count = plist_array_get_size(node);
  array.reserve(count);
  plist_array_iter position = nullptr;
  plist_array_new_iter(node, &position);
  const std::unique_ptr<void, Free> owner(position);
  for (std::uint32_t index = 0; index < count; ++index) {
    plist_t item = nullptr;
    plist_array_next_item(node, position, &item);
    if (!item) break;
    if (auto value = convert(item, level)) array.push_back(std::move(*value));
  }
  return array;
}

PropertyDictionary convertDictionary(plist_t node, int level) {
  PropertyDictionary dictionary;
  plist_dict_iter position = nullptr;
  plist_dict_new_iter(node, &position);
  const std::unique_ptr<void, Free> owner(position);
  while (position) {
    char* rawKey = nullptr;
    plist_t item = nullptr;
    plist_dict_next_item(node, position, &rawKey, &item);
    const std::unique_ptr<char, Free> key(rawKey);
    if (!item || !key) break;
    if (auto value = convert(item, level)) {
      dictionary.insert_or_assign(key.get(), std::move(*value));
    }
  }
  return dictionary;
}

std::optional<PropertyValue> convertInteger(plist_t node) {
  std::uint64_t bits = 0;
  plist_get_uint_val(node, &bits);
  return PropertyValue(static_cast<std::int64_t>(bits));
}

Blob convertBytes(plist_t node) {
  std::uint64_t size = 0;
  const auto* bytes = reinterpret_cast<const std::byte*>(plist_get_data_ptr(node, &size));
  if (!bytes) return {};
  return Blob{std::vector<std::byte>(bytes, bytes + size)};
}

std::optional<PropertyValue> convertText(plist_t node) {
  std::uint64_t size = 0;
  const char* text = plist_get_string_ptr(node, &size);
  if (!text) return std::nullopt;
  return PropertyValue(std::string(text, size));
}

std::optional<PropertyValue> convert(plist_t node, int level) {
  if (level > deepestLevel) return std::nullopt;
  switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: {
      std::uint8_t value = 0;
      plist_get_bool_val(node, &value);
      return PropertyValue(value != 0);
    }
    case PLIST_REAL: {
      double value = 0;
      plist_get_real_val(node, &value);
      return PropertyValue(value);
    }
    case PLIST_UINT:
      return convertInteger(node);
    case PLIST_STRING:
      return convertText(node);
    case PLIST_DATA:
      return PropertyValue(convertBytes(node));
    case PLIST_ARRAY:
      return PropertyValue(convertArray(node, level + 1));
    case PLIST_DICT:
      return PropertyValue(convertDictionary(node, level + 1));
    default:  // the library's enumeration grows: dates, references, null
      return std::nullopt;
  }
}

/// Whether a text names the character zero, as "&#0;" or "&#x0;".
bool refersToZero(std::string_view text) {
  for (auto at = text.find("&#"); at != std::string_view::npos; at = text.find("&#", at + 1)) {
    auto digits = text.substr(at + 2);
    if (digits.starts_with('x') || digits.starts_with('X')) digits.remove_prefix(1);
    const auto end = std::min(digits.find_first_not_of('0'), digits.size());
    if (end > 0 && digits.substr(end).starts_with(';')) return true;
  }
  return false;
}

}  // namespace

std::optional<PropertyValue> parsePropertyList(std::string_view bytes) {
  if (bytes.size() > propertyListLimit) return std::nullopt;
  const auto length = static_cast<std::uint32_t>(bytes.size());
  plist_t raw = nullptr;
  if (bytes.starts_with("bplist00")) {
    if (!screenBinaryPropertyList(bytes)) return std::nullopt;
    plist_from_bin(bytes.data(), length, &raw);
  } else {
    // The library ends the program over a key with a zero byte in it.
    if (bytes.find('\0') != std::string_view::npos || refersToZero(bytes)) return std::nullopt;
    // The parser looks at the byte behind the text.
    const std::string terminated(bytes);
    plist_from_xml(terminated.c_str(), length, &raw);
  }
  const Node node(raw);
  return node ? convert(node.get(), 1) : std::nullopt;
}

}  // namespace halvercine::base
