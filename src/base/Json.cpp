#include "base/Json.h"

#include <cmath>
#include <cstdlib>

#include <boost/json/basic_parser_impl.hpp>
#include <boost/json/serialize.hpp>
#include <boost/json/value_stack.hpp>

namespace halvercine::base {
namespace {

namespace json = boost::json;

/// Builds the value, reading every fractional number anew from its text: Boost 1.81 multiplies by a
/// rounded power of ten, and a time stamp would not survive a round trip.
class ExactHandler {
 public:
  explicit ExactHandler(json::storage_ptr storage)
      : storage_(std::move(storage)), stack_(storage_) {}

  static constexpr std::size_t max_object_size = std::size_t(-1);
  static constexpr std::size_t max_array_size = std::size_t(-1);
  static constexpr std::size_t max_key_size = std::size_t(-1);
  static constexpr std::size_t max_string_size = std::size_t(-1);

  json::value release() { return stack_.release(); }

  bool on_document_begin(json::error_code&) {
    stack_.reset(storage_);
    return true;
  }
  bool on_document_end(json::error_code&) { return true; }
  bool on_object_begin(json::error_code&) { return true; }
  bool on_object_end(std::size_t size, json::error_code&) {
    stack_.push_object(size);
    return true;
  }
  bool on_array_begin(json::error_code&) { return true; }
  bool on_array_end(std::size_t size, json::error_code&) {
    stack_.push_array(size);
    return true;
  }
  bool on_key_part(json::string_view part, std::size_t, json::error_code&) {
    stack_.push_chars(part);
    return true;
  }
  bool on_key(json::string_view rest, std::size_t, json::error_code&) {
    stack_.push_key(rest);
    return true;
  }
  bool on_string_part(json::string_view part, std::size_t, json::error_code&) {
    stack_.push_chars(part);
    return true;
  }
  bool on_string(json::string_view rest, std::size_t, json::error_code&) {
    stack_.push_string(rest);
    return true;
  }
  bool on_number_part(json::string_view part, json::error_code&) {
    digits_.append(part.data(), part.size());
    return true;
  }
  bool on_int64(std::int64_t value, json::string_view, json::error_code&) {
    digits_.clear();
    stack_.push_int64(value);
    return true;
  }
  bool on_uint64(std::uint64_t value, json::string_view, json::error_code&) {
    digits_.clear();
    stack_.push_uint64(value);
    return true;
  }
  bool on_double(double, json::string_view rest, json::error_code& error) {
    digits_.append(rest.data(), rest.size());
    // The program never leaves the "C" number format, so that the point is a point.
    const double value = std::strtod(digits_.c_str(), nullptr);
    digits_.clear();
    if (!std::isfinite(value)) {
      error = json::error::exponent_overflow;
      return false;
    }
    stack_.push_double(value);
    return true;
  }
  bool on_bool(bool value, json::error_code&) {
    stack_.push_bool(value);
    return true;
  }
  bool on_null(json::error_code&) {
    stack_.push_null();
    return true;
  }
  bool on_comment_part(json::string_view, json::error_code&) { return true; }
  bool on_comment(json::string_view, json::error_code&) { return true; }

 private:
  json::storage_ptr storage_;
  json::value_stack stack_;
  std::string digits_;
};

void writePretty(const json::value& value, std::string indent, std::string& out) {
  const auto write = [&](const auto& elements, char open, char close, auto writeElement) {
    if (elements.empty()) {
      out += {open, close};
      return;
    }
    const std::string inner = indent + "  ";
    out += open;
    const char* separator = "\n";
    for (const auto& element : elements) {
      out += separator + inner;
      writeElement(element, inner);
      separator = ",\n";
    }
    out += "\n" + indent + close;
  };
  if (const auto* object = value.if_object()) {
    write(*object, '{', '}', [&](const auto& member, const std::string& inner) {
      out += json::serialize(json::value(member.key())) + ": ";
      writePretty(member.value(), inner, out);
    });
  } else if (const auto* array = value.if_array()) {
    write(*array, '[', ']',
          [&](const auto& element, const std::string& inner) { writePretty(element, inner, out); });
  } else {
    out += json::serialize(value);
  }
}

}  // namespace

namespace detail {

std::optional<std::int64_t> signedInteger(const json::value& value) {
  if (const auto* integer = value.if_int64()) return *integer;
  if (const auto* fractional = value.if_double()) {
    // -2^63 is what integers below the range are rounded to; itself it is read as an integer.
    if (*fractional > -0x1p63 && *fractional < 0x1p63 && std::trunc(*fractional) == *fractional) {
      return static_cast<std::int64_t>(*fractional);
    }
  }
  return std::nullopt;
}

std::optional<std::uint64_t> unsignedInteger(const json::value& value) {
  if (const auto* integer = value.if_uint64()) return *integer;
  if (const auto* fractional = value.if_double()) {
    if (*fractional >= 0 && *fractional < 0x1p64 && std::trunc(*fractional) == *fractional) {
      return static_cast<std::uint64_t>(*fractional);
    }
    return std::nullopt;
  }
  const auto integer = signedInteger(value);
  if (!integer || *integer < 0) return std::nullopt;
  return static_cast<std::uint64_t>(*integer);
}

std::optional<double> number(const json::value& value) {
  if (!value.is_number()) return std::nullopt;
  return value.to_number<double>();
}

}  // namespace detail

std::expected<json::value, JsonError> parseJson(std::string_view text, json::storage_ptr storage) {
  json::basic_parser<ExactHandler> parser(json::parse_options(), std::move(storage));
  json::error_code error;
  try {
    const auto consumed = parser.write_some(false, text.data(), text.size(), error);
    if (!error && consumed < text.size()) error = json::error::extra_data;
    if (error) {
      return std::unexpected(JsonError{error.message() + " at byte " + std::to_string(consumed)});
    }
    return parser.handler().release();
  } catch (const std::exception& exception) {  // no memory, a text too large
    return std::unexpected(JsonError{exception.what()});
  }
}

std::string serializeJson(const json::value& value) { return json::serialize(value); }

std::string prettyJson(const json::value& value) {
  std::string out;
  writePretty(value, "", out);
  out += '\n';
  return out;
}

}  // namespace halvercine::base
