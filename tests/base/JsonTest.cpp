#include "base/Json.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>

#include <gtest/gtest.h>

namespace halvercine::base {
namespace {

enum class Colour { red, darkGreen };
BOOST_DESCRIBE_ENUM(Colour, red, darkGreen)

struct Point {
  std::int64_t x = 0;
  std::optional<std::string> name;
  bool operator==(const Point&) const = default;
};
BOOST_DESCRIBE_STRUCT(Point, (), (x, name))

struct Drawing {
  std::uint64_t id = 0;
  Colour colour = Colour::red;
  std::vector<Point> points;
  double scale = 1;
  std::optional<bool> isDone;
  bool operator==(const Drawing&) const = default;
};
BOOST_DESCRIBE_STRUCT(Drawing, (), (id, colour, points, scale, isDone))

TEST(JsonTest, everyDoubleSurvivesTheRoundTrip) {
  std::mt19937_64 bits(20240229);
  using Limits = std::numeric_limits<double>;
  std::vector<double> numbers{0.0, -0.0, 0.1, 1e308, 4.35e-310};
  numbers.insert(numbers.end(), {Limits::max(), Limits::min(), Limits::denorm_min()});
  for (int count = 0; count < 20000; ++count) {
    const auto number = std::bit_cast<double>(bits());
    if (std::isfinite(number)) numbers.push_back(number);
    numbers.push_back(1.7e9 + static_cast<double>(bits() % 100'000'000'000) * 1e-3);
    numbers.push_back(std::bit_cast<double>(bits() >> 12));  // subnormal
  }
  for (const double number : numbers) {
    const auto text = encodeJson(number);
    const auto read = decodeJson<double>(text);
    ASSERT_TRUE(read) << text << ": " << read.error().message;
    ASSERT_EQ(std::bit_cast<std::uint64_t>(*read), std::bit_cast<std::uint64_t>(number)) << text;
  }
}

template <class T>
void expectReads(std::string_view text, std::optional<T> expected) {
  const auto read = decodeJson<T>(text);
  EXPECT_EQ(read ? std::optional<T>(*read) : std::nullopt, expected) << text;
}

template <class T>
void expectRefused(std::initializer_list<std::string_view> texts) {
  for (const auto text : texts) expectReads<T>(text, std::nullopt);
}

TEST(JsonTest, numbersAreExactOrRefused) {
  using I = std::int64_t;
  using U = std::uint64_t;
  expectReads<I>("9223372036854775807", std::numeric_limits<I>::max());
  expectReads<I>("-9223372036854775808", std::numeric_limits<I>::min());
  expectReads<I>("9007199254740993", 9007199254740993);  // 2^53 + 1
  expectReads<I>("1e3", 1000);
  expectRefused<I>({"9223372036854775808", "-9223372036854775809", "1.5", "1e19", "true", "\"1\""});
  expectReads<U>("18446744073709551615", std::numeric_limits<U>::max());
  expectReads<U>("9223372036854775808", U{1} << 63);
  expectReads<U>("-0", 0);
  expectReads<U>("1.50e1", 15);
  expectRefused<U>({"18446744073709551616", "-1"});
  expectReads<std::int8_t>("127", 127);
  expectRefused<std::int8_t>({"128"});
  expectReads<double>("3", 3.0);
  expectReads<double>("1e-999", 0.0);
  expectRefused<double>({"true", "1e999", "-1e999999999999"});
  expectRefused<bool>({"1", "null"});
}

TEST(JsonTest, malformedTextIsAnError) {
  const std::string deepest(32, '[');
  EXPECT_TRUE(parseJson(deepest + std::string(32, ']')));
  EXPECT_FALSE(parseJson("[" + deepest + std::string(33, ']')));
  for (const auto* text : {"", " ", "{", "[1,]", "01", "+1", "NaN", "Infinity", "1 2", "{} x",
                           "nul", "'a'", "\"a\nb\"", "/**/1", "{\"a\":1,}", "\"\x80\""}) {
    const auto parsed = parseJson(text);
    ASSERT_FALSE(parsed) << text;
    EXPECT_FALSE(parsed.error().message.empty());
  }
  EXPECT_FALSE(parseJson(std::string_view("1\0", 2)));
  for (const auto* text : {"\"\\ud800\"", "\"\xC0\xAF\"", "\"\xED\xA0\x80\"", "\xEF\xBB\xBF{}"}) {
    EXPECT_FALSE(parseJson(text)) << text;
  }
  EXPECT_TRUE(parseJson(" {\"a\" : 1}\r\n\t "));
}

TEST(JsonTest, largeInputIsReadWhole) {
  const std::string text(5'000'000, 'x');
  EXPECT_EQ(decodeJson<std::string>("\"" + text + "\""), text);
  std::string list = "[0";
  for (int number = 1; number < 200'000; ++number) list += "," + std::to_string(number) + ".5";
  const auto numbers = decodeJson<std::vector<double>>(list + "]");
  ASSERT_TRUE(numbers);
  EXPECT_EQ(numbers->size(), 200'000U);
  EXPECT_EQ(numbers->back(), 199'999.5);
}

TEST(JsonTest, recordsAreReadByTheirDescription) {
  const Drawing expected{7, Colour::darkGreen, {{-1, std::nullopt}, {2, "b"}}, 0.5, false};
  for (
      const char* text :
      {R"({"id":7,"colour":"darkGreen","points":[{"x":-1},{"x":2,"name":"b"}],"scale":0.5,"isDone":false})",
       R"({"isDone":false,"scale":5e-1,"new":{"deep":[1]},"points":[{"x":-1,"name":null},{"name":"b","x":2e0,"y":3}],"colour":"darkGreen","id":7})",
       R"({"id":1,"id":7,"colour":"red","colour":"darkGreen","points":[{"x":-1},{"x":2,"name":"b"}],"scale":0.5,"isDone":false})"}) {
    const auto read = decodeJson<Drawing>(text);
    ASSERT_TRUE(read) << read.error().message;
    EXPECT_EQ(*read, expected);
  }
  const std::pair<const char*, const char*> cases[] = {
      {R"({"colour":"red","points":[],"scale":1})", "id: missing"},
      {R"({"id":null,"colour":"red","points":[],"scale":1})", "id: "},
      {R"({"id":1,"colour":"Red","points":[],"scale":1})", "colour: "},
      {R"({"id":1,"colour":"red\u0000","points":[],"scale":1})", "colour: "},
      {R"({"id":1,"colour":0,"points":[],"scale":1})", "colour: "},
      {R"({"id":1,"colour":"red","points":{},"scale":1})", "points: "},
      {R"({"id":1,"colour":"red","points":[{"x":1},{}],"scale":1})", "points: x: missing"},
      {R"({"id":1,"colour":"red","points":[],"scale":1,"isDone":0})", "isDone: "},
      {R"([])", "expected an object"}};
  for (const auto& [text, error] : cases) {  // the error is how the message begins
    const auto read = decodeJson<Drawing>(text);
    ASSERT_FALSE(read) << text;
    EXPECT_TRUE(read.error().message.starts_with(error)) << text << ": " << read.error().message;
  }
}

TEST(JsonTest, writesInTheOrderOfTheDescriptionWithoutAbsentOptionals) {
  EXPECT_EQ(encodeJson(Drawing{7, Colour::darkGreen, {{-1, std::nullopt}, {2, "b"}}, 4, {}}),
            R"({"id":7,"colour":"darkGreen","points":[{"x":-1},{"x":2,"name":"b"}],"scale":4E0})");
}

TEST(JsonTest, prettyTextParsesBackToTheSameValue) {
  const auto value =
      parseJson(R"({"a":[],"b":{},"c":[1,-2.5e-7,null,"\"\\\u0007é"],"d":{"e":{"\n":true}}})");
  ASSERT_TRUE(value);
  const auto pretty = prettyJson(*value);
  EXPECT_TRUE(pretty.starts_with("{\n  \"a\": [],\n  \"b\": {},\n  \"c\": [\n    1,\n")) << pretty;
  EXPECT_TRUE(pretty.ends_with("}\n"));
  const auto again = parseJson(pretty);
  ASSERT_TRUE(again);
  EXPECT_EQ(*again, *value);
}

}  // namespace
}  // namespace halvercine::base
