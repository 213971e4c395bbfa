#include "base/PropertyList.h"

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
  char* raw = nullptr;
  std::uint64_t size = 0;
  plist_get_data_val(node, &raw, &size);
  const std::unique_ptr<char, Free> owner(raw);
  if (!raw) return {};
  const auto* bytes = reinterpret_cast<const std::byte*>(raw);
  return Blob{std::vector<std::byte>(bytes, bytes + size)};
}

std::optional<PropertyValue> convertText(plist_t node) {
  char* raw = nullptr;
  plist_get_string_val(node, &raw);
  const std::unique_ptr<char, Free> text(raw);
  if (!text) return std::nullopt;
  return PropertyValue(text.get());
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

}  // namespace

std::optional<PropertyValue> parsePropertyList(std::string_view bytes) {
  if (bytes.size() > propertyListLimit) return std::nullopt;
  const auto length = static_cast<std::uint32_t>(bytes.size());
  plist_t raw = nullptr;
  if (bytes.starts_with("bplist00")) {
    if (!screenBinaryPropertyList(bytes)) return std::nullopt;
    plist_from_bin(bytes.data(), length, &raw);
  } else {
    // The parser looks at the byte behind the text.
    const std::string terminated(bytes);
    plist_from_xml(terminated.c_str(), length, &raw);
  }
  const Node node(raw);
  return node ? convert(node.get(), 1) : std::nullopt;
}

}  // namespace halvercine::base
