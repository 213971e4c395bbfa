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

const RegistryTree::Node* RegistryTree::find(EntryId id) const {
  const auto found = nodes_.find(id);
  return found == nodes_.end() ? nullptr : &found->second;
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
