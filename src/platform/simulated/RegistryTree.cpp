#include "platform/simulated/RegistryTree.h"

#include <utility>

namespace halvercine::platform::simulated {

EntryId RegistryTree::add(Node node, std::optional<EntryId> wanted) {
  const auto id = wanted && claim(*wanted) ? *wanted : nextId();
  nodes_.emplace(id, std::move(node));
  return id;
}

bool RegistryTree::claim(EntryId id) {
  // Those from the first up to the last one may have been given without having been wanted.
  if (id == 0 || (id >= firstId && id <= last_ && !reserved_.contains(id))) return false;
  return !std::exchange(reserved_[id], true);
}

void RegistryTree::removeChain(EntryId id) {
  while (const auto node = nodes_.extract(id)) id = node.mapped().parent;
}

std::optional<std::string> RegistryTree::className(EntryId id) const {
  const auto found = nodes_.find(id);
  if (found == nodes_.end()) return std::nullopt;
  return found->second.className;
}

std::optional<EntryId> RegistryTree::parent(EntryId id) const {
  const auto found = nodes_.find(id);
  if (found == nodes_.end()) return std::nullopt;
  return found->second.parent;
}

std::optional<PropertyValue> RegistryTree::property(EntryId id, std::string_view key) const {
  const auto found = nodes_.find(id);
  if (found == nodes_.end()) return std::nullopt;
  const auto value = found->second.properties.find(key);
  if (value == found->second.properties.end()) return std::nullopt;
  return value->second;
}

void RegistryTree::setProperties(EntryId id, PropertyDictionary properties) {
  const auto found = nodes_.find(id);
  if (found != nodes_.end()) found->second.properties = std::move(properties);
}

EntryId RegistryTree::nextId() {
  do ++last_;
  while (reserved_.contains(last_));
  return last_;
}

}  // namespace halvercine::platform::simulated
