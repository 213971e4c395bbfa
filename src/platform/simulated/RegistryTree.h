// The objects of the simulated Mac's I/O registry.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "platform/PropertyValue.h"

namespace halvercine::platform::simulated {

/// Identity of an object, never used twice; 0 stands for none.
using EntryId = std::uint64_t;

class RegistryTree {
 public:
  struct Node {
    std::string className;
    PropertyDictionary properties;
    EntryId parent = 0;
  };

  /// Keeps an ID for the object that will want it.
  void reserve(EntryId id) { reserved_.emplace(id, false); }

  /// Adds an object. It gets the wanted ID the first time that this is wanted, else a new one.
  EntryId add(Node node, std::optional<EntryId> wanted = std::nullopt);

  /// Removes an object and all above it.
  void removeChain(EntryId id);

  /// Of an object; nothing when it has gone.
  std::optional<std::string> className(EntryId id) const;
  std::optional<EntryId> parent(EntryId id) const;
  std::optional<PropertyValue> property(EntryId id, std::string_view key) const;

  void setProperties(EntryId id, PropertyDictionary properties);

 private:
  // Real ones begin at 2^32: a program that keeps only 32 bits of them shall not get away with it.
  static constexpr EntryId firstId = 0x1'0000'0300;

  bool claim(EntryId id);
  EntryId nextId();

  std::map<EntryId, Node> nodes_;
  std::map<EntryId, bool> reserved_;  // whether it has been given
  EntryId last_ = firstId - 1;
};

}  // namespace halvercine::platform::simulated
