#include "base/Secret.h"

#include <algorithm>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "base/SecretJson.h"

namespace halvercine::base {
namespace {

struct Letter {
  std::string to;
  Secret content;
};
BOOST_DESCRIBE_STRUCT(Letter, (), (to, content))

TEST(SecretTest, wipesTheTextThatItTakesOver) {
  std::string text(100, 'p');
  const char* memory = text.data();
  const auto capacity = text.capacity();
  const auto secret = Secret::takenFrom(text);
  EXPECT_EQ(secret.reveal(), std::string(100, 'p'));
  EXPECT_TRUE(text.empty());
  ASSERT_EQ(text.data(), memory);  // still the string's own: it may be read
  EXPECT_TRUE(std::all_of(memory, memory + capacity, [](char byte) { return byte == 0; }));
}

TEST(SecretTest, movesWithoutLeavingACopyBehind) {
  Secret first("password");
  const char* memory = first.reveal().data();
  Secret second = std::move(first);
  EXPECT_EQ(second.reveal().data(), memory);
  EXPECT_TRUE(first.empty());  // NOLINT: what a move leaves is the point
  first = std::move(second);
  Secret& same = first;
  first = std::move(same);
  EXPECT_EQ(first, Secret("password"));
  EXPECT_NE(first.copy().reveal().data(), first.reveal().data());
}

TEST(SecretTest, survivesJsonExactly) {
  for (const auto& content :
       {std::string(), std::string("x"), std::string("quote \" slash \\ line \n zero \0 end", 32),
        std::string("Пароль 密码"), std::string(5000, '"')}) {
    const auto text = encodeSecretJson(Letter{"me", Secret(content)});
    const auto letter = decodeSecretJson<Letter>(text.reveal());
    ASSERT_TRUE(letter) << text.reveal();
    EXPECT_EQ(letter->content.reveal(), content);
  }
}

TEST(SecretTest, staysOutOfErrorTexts) {
  for (const auto* text : {R"({"to":"me","content":["hunter2"]})", R"({"content":"hunter2"})",
                           R"({"to":"me","content":"hunter2)", R"({"to":1,"content":"hunter2"})"}) {
    const auto letter = decodeSecretJson<Letter>(text);
    ASSERT_FALSE(letter);
    EXPECT_EQ(letter.error().message.find("hunter2"), std::string::npos) << letter.error().message;
  }
}

}  // namespace
}  // namespace halvercine::base
