// Reading described structs from JSON that a person wrote: whatever is not understood is an error
// that names its place, where records of other programs are read with base/Json.h, which forgives.
#pragma once

#include <algorithm>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <boost/describe.hpp>
#include <boost/mp11/algorithm.hpp>

#include "base/Json.h"
#include "platform/simulated/Scenario.h"

namespace halvercine::platform::simulated {

/// What went wrong, with its place; nothing when all went well.
using Fault = std::optional<ScenarioError>;

inline Fault fault(const std::string& place, std::string_view message) {
  return ScenarioError{place + ": " + std::string(message)};
}

inline std::string below(const std::string& place, std::string_view key) {
  return place.empty() ? std::string(key) : place + "." + std::string(key);
}

inline std::string below(const std::string& place, std::size_t index) {
  return place + "[" + std::to_string(index) + "]";
}

namespace detail {

using namespace boost::describe;

template <class T>
using AllMembers = describe_members<T, mod_public | mod_inherited>;

/// Two keys are words of the language and cannot be members.
inline std::string_view keyOf(std::string_view member) {
  if (member == "className") return "class";
  if (member == "isProtected") return "protected";
  return member;
}

template <class T>
bool isKnownKey(std::string_view key) {
  bool known = false;
  boost::mp11::mp_for_each<AllMembers<T>>(
      [&](auto member) { known = known || keyOf(member.name) == key; });
  return known;
}

template <class T>
bool isRequiredKey(std::string_view key) {
  if constexpr (requires { T::requiredKeys; }) {
    return std::ranges::find(T::requiredKeys, key) != std::end(T::requiredKeys);
  } else {
    return false;
  }
}

template <class T>
std::string knownWords() {
  std::string words;
  boost::mp11::mp_for_each<describe_enumerators<T>>([&](auto enumerator) {
    words += (words.empty() ? "" : ", ") + std::string(enumerator.name);
  });
  return words;
}

template <class T>
struct IsDoubleOptional : std::false_type {};
template <class T>
struct IsDoubleOptional<std::optional<std::optional<T>>> : std::true_type {};

}  // namespace detail

template <class T>
Fault readStrictly(const boost::json::value& value, const std::string& place, T& result);

inline Fault readStrictly(const boost::json::value& value, const std::string& place,
                          PropertyOverrides& result) {
  if (!value.is_object()) return fault(place, "expected an object");
  for (const auto& member : value.get_object()) {
    auto& target = result[std::string(member.key())];
    if (member.value().is_null()) continue;
    auto converted = propertyFromJson(member.value());
    if (!converted) return ScenarioError{below(place, member.key()) + converted.error()};
    target = std::move(*converted);
  }
  return std::nullopt;
}

inline Fault readStrictly(const boost::json::value& value, const std::string& place,
                          PropertyDictionary& result) {
  PropertyOverrides overrides;
  if (auto found = readStrictly(value, place, overrides)) return found;
  applyOverrides(overrides, result);
  return std::nullopt;
}

inline Fault readStrictly(const boost::json::value& value, const std::string& place,
                          TextOrList& result) {
  result.texts.clear();
  if (!value.is_array()) return readStrictly(value, place, result.texts.emplace_back());
  if (value.get_array().empty()) return fault(place, "must not be empty");
  for (const auto& element : value.get_array()) {
    const auto at = below(place, result.texts.size());
    if (auto found = readStrictly(element, at, result.texts.emplace_back())) return found;
  }
  return std::nullopt;
}

inline Fault readStrictly(const boost::json::value& value, const std::string& place,
                          ScenarioFiles& result) {
  if (!value.is_object()) return fault(place, "expected an object");
  for (const auto& member : value.get_object()) {
    auto& content = result[std::string(member.key())];
    if (member.value().is_null()) continue;
    const auto at = place + "['" + std::string(member.key()) + "']";
    if (auto found = readStrictly(member.value(), at, content.emplace())) return found;
  }
  return std::nullopt;
}

template <class T>
Fault readStrictly(const boost::json::value& value, const std::string& place,
                   std::vector<T>& result) {
  if (!value.is_array()) return fault(place, "expected a list");
  for (const auto& element : value.get_array()) {
    const auto at = below(place, result.size());
    if (auto found = readStrictly(element, at, result.emplace_back())) return found;
  }
  return std::nullopt;
}

template <class T>
Fault readStrictly(const boost::json::value& value, const std::string& place,
                   std::optional<T>& result) {
  // Only a value that is optional twice has a meaning for null.
  if (detail::IsDoubleOptional<std::optional<T>>::value && value.is_null()) {
    result.emplace();
    return std::nullopt;
  }
  return readStrictly(value, place, result.emplace());
}

template <class T>
Fault readStructStrictly(const boost::json::value& value, const std::string& place, T& result) {
  if (!value.is_object()) return fault(place.empty() ? "scenario" : place, "expected an object");
  const auto& object = value.get_object();
  for (const auto& member : object) {
    if (!detail::isKnownKey<T>(member.key())) {
      return fault(below(place, member.key()), "unknown key");
    }
  }
  Fault found;
  boost::mp11::mp_for_each<detail::AllMembers<T>>([&](auto member) {
    if (found) return;
    const auto key = detail::keyOf(member.name);
    if (const auto* given = object.if_contains(key)) {
      found = readStrictly(*given, below(place, key), result.*member.pointer);
    } else if (detail::isRequiredKey<T>(key)) {
      found = fault(below(place, key), "missing");
    }
  });
  return found;
}

template <class T>
Fault readStrictly(const boost::json::value& value, const std::string& place, T& result) {
  if constexpr (base::detail::DescribedStruct<T>) {
    return readStructStrictly(value, place, result);
  } else {
    auto decoded = base::fromJson<T>(value);
    if (decoded) {
      result = std::move(*decoded);
      return std::nullopt;
    }
    if constexpr (base::detail::DescribedEnum<T>) {
      return fault(place, "expected one of: " + detail::knownWords<T>());
    } else {
      return fault(place, decoded.error().message);
    }
  }
}

}  // namespace halvercine::platform::simulated
