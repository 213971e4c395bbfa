// JSON records, read and written by the description of their struct.
//
// A record is a plain struct with BOOST_DESCRIBE_STRUCT; the JSON keys are the member names, in the
// order of the description. Reading ignores unknown keys, takes `null` or a missing key for an
// absent optional, and refuses the whole record when a required key is missing or a value has the
// wrong type. Enumerations with BOOST_DESCRIBE_ENUM are texts: the names of their enumerators.
#pragma once

#include <concepts>
#include <cstdint>
#include <expected>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include <boost/describe.hpp>
#include <boost/json/value.hpp>
#include <boost/mp11/algorithm.hpp>

#include "base/Secret.h"

namespace halvercine::base {

/// Why a text is not the record that was expected, in English, for logs and diagnostics.
struct JsonError {
  std::string message;
};

/// Parses a whole text. Numbers keep their exact value: integers all 64 bits, others the nearest
/// double (Boost's own reading can be off in the last place). Nesting deeper than 32, numbers out
/// of range, invalid UTF-8 and anything behind the value are errors. All memory comes from
/// `storage`.
std::expected<boost::json::value, JsonError> parseJson(std::string_view text,
                                                       boost::json::storage_ptr storage = {});

/// Compact text of a value. It is JSON if all texts in the value are UTF-8.
std::string serializeJson(const boost::json::value& value);

/// Readable text of a value, indented by two blanks, with an end of line; JSON under the same
/// condition.
std::string prettyJson(const boost::json::value& value);

namespace detail {

template <class T>
struct IsOptional : std::false_type {};
template <class T>
struct IsOptional<std::optional<T>> : std::true_type {};
template <class T>
struct IsVector : std::false_type {};
template <class T>
struct IsVector<std::vector<T>> : std::true_type {};

template <class T>
concept DescribedStruct = boost::describe::has_describe_members<T>::value && !std::is_enum_v<T>;
template <class T>
concept DescribedEnum = boost::describe::has_describe_enumerators<T>::value;

/// A number without a fraction, however it was written (1000, 1e3); nothing for anything else.
std::optional<std::int64_t> signedInteger(const boost::json::value& value);
std::optional<std::uint64_t> unsignedInteger(const boost::json::value& value);
std::optional<double> number(const boost::json::value& value);

template <class T>
using Members = boost::describe::describe_members<T, boost::describe::mod_public>;

}  // namespace detail

/// The JSON value of a record, in memory of `storage`. What holds a `Secret` is encoded and decoded
/// through base/SecretJson.h, which wipes that memory.
template <class T>
boost::json::value toJson(const T& value, const boost::json::storage_ptr& storage = {}) {
  if constexpr (std::same_as<T, boost::json::value> || std::is_arithmetic_v<T>) {
    return boost::json::value(value, storage);
  } else if constexpr (std::same_as<T, Secret>) {
    return boost::json::value(value.reveal(), storage);
  } else if constexpr (std::convertible_to<const T&, std::string_view>) {
    return boost::json::value(std::string_view(value), storage);
  } else if constexpr (detail::DescribedEnum<T>) {
    return boost::json::value(boost::describe::enum_to_string(value, ""), storage);
  } else if constexpr (detail::IsOptional<T>::value) {
    return value ? toJson(*value, storage) : boost::json::value(nullptr, storage);
  } else if constexpr (detail::IsVector<T>::value) {
    boost::json::array array(storage);
    array.reserve(value.size());
    for (const auto& element : value) array.push_back(toJson(element, storage));
    return array;
  } else {
    static_assert(detail::DescribedStruct<T>, "describe the struct to encode it");
    boost::json::object object(storage);
    boost::mp11::mp_for_each<detail::Members<T>>([&](auto member) {
      const auto& field = value.*member.pointer;
      if constexpr (detail::IsOptional<std::remove_cvref_t<decltype(field)>>::value) {
        if (field) object.emplace(member.name, toJson(*field, storage));
      } else {
        object.emplace(member.name, toJson(field, storage));
      }
    });
    return object;
  }
}

template <class T>
std::expected<T, JsonError> fromJson(const boost::json::value& value) {
  const auto mismatch = [](std::string_view expected) {
    return std::unexpected(JsonError{std::string("expected ") + std::string(expected)});
  };
  if constexpr (std::same_as<T, boost::json::value>) {
    return value;
  } else if constexpr (std::same_as<T, bool>) {
    if (value.is_bool()) return value.get_bool();
    return mismatch("a boolean");
  } else if constexpr (std::signed_integral<T>) {
    const auto integer = detail::signedInteger(value);
    if (integer && std::in_range<T>(*integer)) return static_cast<T>(*integer);
    return mismatch("an integer in range");
  } else if constexpr (std::unsigned_integral<T>) {
    const auto integer = detail::unsignedInteger(value);
    if (integer && std::in_range<T>(*integer)) return static_cast<T>(*integer);
    return mismatch("an unsigned integer in range");
  } else if constexpr (std::same_as<T, double>) {
    if (const auto number = detail::number(value)) return *number;
    return mismatch("a number");
  } else if constexpr (std::same_as<T, std::string>) {
    if (value.is_string()) return std::string(value.get_string());
    return mismatch("a text");
  } else if constexpr (std::same_as<T, Secret>) {
    if (value.is_string()) return Secret(value.get_string());
    return mismatch("a text");
  } else if constexpr (detail::DescribedEnum<T>) {
    T result{};
    // The look-up ends at a zero byte, the word must not.
    if (value.is_string() && value.get_string().find('\0') == boost::json::string::npos &&
        boost::describe::enum_from_string(value.get_string().c_str(), result)) {
      return result;
    }
    return mismatch("one of the known words");
  } else if constexpr (detail::IsOptional<T>::value) {
    if (value.is_null()) return T();
    auto inner = fromJson<typename T::value_type>(value);
    if (!inner) return std::unexpected(std::move(inner.error()));
    return T(std::move(*inner));
  } else if constexpr (detail::IsVector<T>::value) {
    if (!value.is_array()) return mismatch("a list");
    T result;
    result.reserve(value.get_array().size());
    for (const auto& element : value.get_array()) {
      auto decoded = fromJson<typename T::value_type>(element);
      if (!decoded) return std::unexpected(std::move(decoded.error()));
      result.push_back(std::move(*decoded));
    }
    return result;
  } else {
    static_assert(detail::DescribedStruct<T>, "describe the struct to decode it");
    if (!value.is_object()) return mismatch("an object");
    T result{};
    std::optional<JsonError> error;
    boost::mp11::mp_for_each<detail::Members<T>>([&](auto member) {
      if (error) return;
      auto& field = result.*member.pointer;
      using Field = std::remove_cvref_t<decltype(field)>;
      const auto* found = value.get_object().if_contains(member.name);
      if (!found) {
        if constexpr (!detail::IsOptional<Field>::value) {
          error = JsonError{std::string(member.name) + ": missing"};
        }
        return;
      }
      auto decoded = fromJson<Field>(*found);
      if (decoded) {
        field = std::move(*decoded);
      } else {
        error = JsonError{std::string(member.name) + ": " + decoded.error().message};
      }
    });
    if (error) return std::unexpected(std::move(*error));
    return result;
  }
}

/// Parses and reads a record.
template <class T>
std::expected<T, JsonError> decodeJson(std::string_view text) {
  const auto value = parseJson(text);
  if (!value) return std::unexpected(value.error());
  return fromJson<T>(*value);
}

/// The compact text of a record.
template <class T>
std::string encodeJson(const T& record) {
  return serializeJson(toJson(record));
}

}  // namespace halvercine::base
