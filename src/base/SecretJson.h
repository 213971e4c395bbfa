// JSON records that hold secrets. Texts and values on the way are in memory that is wiped; what the
// parser leaves on the stack is not in our reach.
#pragma once

#include <expected>
#include <string_view>

#include <boost/json/storage_ptr.hpp>
#include <boost/json/value.hpp>

#include "base/Json.h"
#include "base/Secret.h"

namespace halvercine::base {

/// Memory for JSON values that is wiped when it is given back. Any thread.
boost::json::storage_ptr wipingStorage();

/// Compact text of a value.
Secret serializeSecretJson(const boost::json::value& value);

template <class T>
Secret encodeSecretJson(const T& record) {
  return serializeSecretJson(toJson(record, wipingStorage()));
}

/// `text` is the caller's to wipe. The error names no value.
template <class T>
std::expected<T, JsonError> decodeSecretJson(std::string_view text) {
  const auto value = parseJson(text, wipingStorage());
  if (!value) return std::unexpected(value.error());
  return fromJson<T>(*value);
}

}  // namespace halvercine::base
