// The system's collections and typed values, over objects that are like those of Core Foundation.
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "platform/macos/makeSystemValue.h"
#include "platform/macos/readSystemValue.h"

namespace halvercine::platform::macos {
namespace {

/// Any object: its type, and of the rest what the type has.
struct Object {
  using Pointer = std::shared_ptr<const Object>;
  SystemType type = SystemType::other;
  std::int64_t integer = 0;
  std::optional<double> floating{};
  std::optional<std::string> text{};
  std::vector<Pointer> elements{};
  std::vector<std::pair<Pointer, Pointer>> entries{};
  bool fits = true;  ///< whether a number can be had without loss
};
using Pointer = Object::Pointer;

Pointer make(Object object) { return std::make_shared<const Object>(std::move(object)); }
Pointer flag(bool value) { return make({.type = SystemType::boolean, .integer = value}); }
Pointer number(std::int64_t value) { return make({.type = SystemType::number, .integer = value}); }
Pointer text(std::string value) {
  return make({.type = SystemType::text, .text = std::move(value)});
}
Pointer date() { return make({.type = SystemType::other}); }

struct Source {
  using Object = const macos::Object*;

  static SystemType type(Object object) { return object->type; }
  static bool boolean(Object object) { return object->integer != 0; }
  static bool isFloating(Object object) { return object->floating.has_value(); }
  static std::optional<std::int64_t> integer(Object object) {
    return object->fits ? std::optional(object->integer) : std::nullopt;
  }
  static std::optional<double> floating(Object object) { return object->floating; }
  static std::optional<std::string> text(Object object) { return object->text; }
  static Uuid uuid(Object object) { return {{static_cast<std::uint8_t>(object->integer)}}; }
  static std::optional<std::string> filePath(Object object) { return object->text; }
  static Blob data(Object object) { return {{static_cast<std::byte>(object->integer)}}; }
  static std::vector<Object> elements(Object object) {
    std::vector<Object> result;
    for (const auto& element : object->elements) result.push_back(element.get());
    return result;
  }
  static std::vector<std::pair<Object, Object>> entries(Object object) {
    std::vector<std::pair<Object, Object>> result;
    for (const auto& [key, value] : object->entries) result.emplace_back(key.get(), value.get());
    return result;
  }
};

std::optional<PropertyValue> read(const Pointer& object) {
  return readSystemValue<Source>(object.get());
}

TEST(ReadSystemValue, KeepsTheTypes) {
  EXPECT_EQ(read(flag(true)), PropertyValue(true));
  EXPECT_EQ(read(number(1)), PropertyValue(1)) << "no boolean";
  EXPECT_EQ(read(make({.type = SystemType::number, .floating = 1.0})), PropertyValue(1.0))
      << "no whole number";
  EXPECT_EQ(read(text("0")), PropertyValue("0"));
  EXPECT_EQ(read(make({.type = SystemType::uuid, .integer = 7})), PropertyValue(Uuid{{7}}));
  EXPECT_EQ(read(make({.type = SystemType::data, .integer = 7})),
            PropertyValue(Blob{{std::byte{7}}}));
}

TEST(ReadSystemValue, HasNothingForWhatHasNoCounterpart) {
  EXPECT_EQ(read(nullptr), std::nullopt) << "a description can be NULL";
  EXPECT_EQ(read(date()), std::nullopt);
  EXPECT_EQ(read(make({.type = SystemType::number, .fits = false})), std::nullopt);
  EXPECT_EQ(read(make({.type = SystemType::text})), std::nullopt);
  EXPECT_EQ(read(make({.type = SystemType::url})), std::nullopt) << "no file's";
}

TEST(ReadSystemValue, PathsHaveNoSlashAtTheEnd) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"/Volumes/DATA/", "/Volumes/DATA"},
      {"/", "/"},
      {"//", "/"},
      {"/Volumes/Mu\xCC\x88ll", "/Volumes/Mu\xCC\x88ll"},  // decomposed, and it stays so
  };
  for (const auto& [path, expected] : cases) {
    EXPECT_EQ(read(make({.type = SystemType::url, .text = path})),
              PropertyValue(FileUrl{expected}));
  }
}

TEST(ReadSystemValue, CollectionsLoseOnlyWhatCannotBeRead) {
  const auto object = make(
      {.type = SystemType::dictionary,
       .entries = {{text("DAMediaWhole"), flag(false)},
                   {text("DAMediaSize"), number(512)},
                   {text("DAAppearanceTime"), date()},
                   {number(4), text("no text as its key")},
                   {nullptr, text("no key")},
                   {text("list"), make({.type = SystemType::array,
                                        .elements = {text("a"), nullptr, date(), number(2)}})}}});
  const PropertyDictionary expected = {
      {"DAMediaWhole", false}, {"DAMediaSize", 512}, {"list", PropertyArray{"a", 2}}};
  EXPECT_EQ(read(object), PropertyValue(expected));
  EXPECT_EQ(readSystemEntries<Source>(object.get()), expected);
}

TEST(ReadSystemValue, NestingHasAnEnd) {
  auto object = number(1);
  for (int depth = 0; depth < 1000; ++depth) {
    object = make({.type = SystemType::array, .elements = {object}});
  }
  int depth = 0;
  auto value = read(object);
  for (const auto* list = &*value; list != nullptr; ++depth) {
    const auto* elements = list->as<PropertyArray>();
    list = elements != nullptr && !elements->empty() ? &elements->front() : nullptr;
  }
  EXPECT_EQ(depth, deepestNesting + 1);
}

struct Maker {
  using Owner = Pointer;
  static Owner boolean(bool value) { return flag(value); }
  static Owner integer(std::int64_t value) { return number(value); }
  static Owner floating(double value) {
    return make({.type = SystemType::number, .floating = value});
  }
  static Owner text(const std::string& value) {
    return value == "\xFF" ? nullptr : macos::text(value);  // as of bytes that are not UTF-8
  }
  static Owner data(const Blob& value) {
    return make({.type = SystemType::data, .integer = std::to_integer<int>(value.bytes.front())});
  }
  static Owner array(const std::vector<Owner>& elements) {
    return make({.type = SystemType::array, .elements = elements});
  }
  static Owner dictionary(const std::vector<std::pair<Owner, Owner>>& entries) {
    return make({.type = SystemType::dictionary, .entries = entries});
  }
};

TEST(MakeSystemValue, ComesBackAsItWas) {
  const PropertyValue value =
      PropertyDictionary{{"flag", true},
                         {"one", 1},
                         {"real", 1.0},
                         {"bytes", Blob{{std::byte{9}}}},
                         {"list", PropertyArray{"a", PropertyDictionary{{"b", PropertyArray{}}}}}};
  EXPECT_EQ(read(makeSystemValue<Maker>(value)), value);
}

TEST(MakeSystemValue, RefusesWhatWouldNotComeBack) {
  PropertyValue value = 1;
  for (int depth = 0; depth < deepestNesting; ++depth) value = PropertyArray{value};
  EXPECT_EQ(read(makeSystemValue<Maker>(value)), value);
  EXPECT_FALSE(makeSystemValue<Maker>(PropertyArray{value}));
}

TEST(MakeSystemValue, RefusesARecordWithAPartThatCannotBeStored) {
  for (const PropertyValue& part :
       {PropertyValue(Uuid{}), PropertyValue(FileUrl{"/"}), PropertyValue("\xFF"),
        PropertyValue(PropertyDictionary{{"\xFF", 1}})}) {
    EXPECT_FALSE(makeSystemValue<Maker>(part));
    EXPECT_FALSE(makeSystemValue<Maker>(PropertyArray{1, part}));
    EXPECT_FALSE(makeSystemValue<Maker>(PropertyDictionary{{"a", 1}, {"b", part}}));
  }
}

}  // namespace
}  // namespace halvercine::platform::macos
