// System objects for typed values, as far as the system can store them.
#pragma once

#include <optional>
#include <utility>
#include <variant>
#include <vector>

#include "platform/PropertyValue.h"
#include "platform/macos/readSystemValue.h"

namespace halvercine::platform::macos {

/// The object of a value, an owner that is empty when there is none. Property lists know no UUIDs
/// and no URLs, what is nested deeper than it would be read has no object, and a list or dictionary
/// with a part that cannot be stored cannot be stored either: half a record is worse than none.
///
/// `Maker` has `Owner`, an owner of one object, and functions that make one: `boolean`, `integer`,
/// `floating`, `text`, `data`, `array` of a list of owners and `dictionary` of a list of pairs of
/// owners. Each may answer an empty owner.
template <class Maker>
typename Maker::Owner makeSystemValue(const PropertyValue& value, int depth = 0) {
  using Owner = typename Maker::Owner;
  struct Visitor {
    int depth;
    Owner operator()(bool flag) const { return Maker::boolean(flag); }
    Owner operator()(std::int64_t number) const { return Maker::integer(number); }
    Owner operator()(double number) const { return Maker::floating(number); }
    Owner operator()(const std::string& text) const { return Maker::text(text); }
    Owner operator()(const Uuid&) const { return {}; }
    Owner operator()(const FileUrl&) const { return {}; }
    Owner operator()(const Blob& blob) const { return Maker::data(blob); }
    Owner operator()(const PropertyArray& elements) const {
      std::vector<Owner> owners;
      owners.reserve(elements.size());
      for (const auto& element : elements) {
        owners.push_back(makeSystemValue<Maker>(element, depth + 1));
        if (!owners.back()) return {};
      }
      return Maker::array(owners);
    }
    Owner operator()(const PropertyDictionary& entries) const {
      std::vector<std::pair<Owner, Owner>> owners;
      owners.reserve(entries.size());
      for (const auto& [key, member] : entries) {
        owners.emplace_back(Maker::text(key), makeSystemValue<Maker>(member, depth + 1));
        if (!owners.back().first || !owners.back().second) return {};
      }
      return Maker::dictionary(owners);
    }
  };
  if (depth > deepestNesting) return {};
  return std::visit(Visitor{depth}, value.storage);
}

}  // namespace halvercine::platform::macos
