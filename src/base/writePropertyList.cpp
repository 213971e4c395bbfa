#include "base/writePropertyList.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>

#include <plist/plist.h>

#include "base/Text.h"

namespace halvercine::base {
namespace {

struct FreeNode {
  void operator()(void* node) const { plist_free(node); }
};
using Node = std::unique_ptr<void, FreeNode>;

bool fitsXml(std::string_view text) {
  return isUtf8(text) && std::ranges::none_of(text, [](char character) {
           return static_cast<unsigned char>(character) < 0x20 || character == 0x7F;
         });
}

Node toNode(const platform::PropertyValue& value);

/// Whether the member could be made; the dictionary owns it then.
bool add(plist_t dictionary, const std::string& key, const platform::PropertyValue& value) {
  auto node = toNode(value);
  if (!node || !fitsXml(key)) return false;
  plist_dict_set_item(dictionary, key.c_str(), node.release());
  return true;
}

struct NodeMaker {
  Node operator()(bool value) const { return Node(plist_new_bool(value ? 1 : 0)); }
  Node operator()(std::int64_t value) const {
    return Node(plist_new_uint(static_cast<std::uint64_t>(value)));
  }
  Node operator()(double value) const { return Node(plist_new_real(value)); }
  Node operator()(const std::string& text) const {
    return fitsXml(text) ? Node(plist_new_string(text.c_str())) : nullptr;
  }
  Node operator()(const platform::Blob& blob) const {
    return Node(
        plist_new_data(reinterpret_cast<const char*>(blob.bytes.data()), blob.bytes.size()));
  }
  Node operator()(const platform::PropertyArray& array) const {
    Node list(plist_new_array());
    for (const auto& element : array) {
      auto node = toNode(element);
      if (!node) return nullptr;
      plist_array_append_item(list.get(), node.release());
    }
    return list;
  }
  Node operator()(const platform::PropertyDictionary& members) const {
    Node dictionary(plist_new_dict());
    const bool isWhole = std::ranges::all_of(members, [&](const auto& member) {
      return add(dictionary.get(), member.first, member.second);
    });
    return isWhole ? std::move(dictionary) : nullptr;
  }
  Node operator()(const platform::Uuid&) const { return nullptr; }
  Node operator()(const platform::FileUrl&) const { return nullptr; }
};

Node toNode(const platform::PropertyValue& value) { return std::visit(NodeMaker(), value.storage); }

}  // namespace

std::optional<std::string> writeXmlPropertyList(const OrderedProperties& properties) {
  const Node dictionary(plist_new_dict());
  for (const auto& [key, value] : properties) {
    if (!add(dictionary.get(), key, value)) return std::nullopt;
  }
  char* text = nullptr;
  std::uint32_t length = 0;
  plist_to_xml(dictionary.get(), &text, &length);
  if (!text) return std::nullopt;
  std::string list(text, length);
  std::free(text);
  return list;
}

}  // namespace halvercine::base
