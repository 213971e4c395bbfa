#include "bitlocker/unlock/BitLockerKeychain.h"

#include <string>
#include <string_view>

#include "platform/simulated/SimulatedSecrets.h"
#include "support/AsyncTest.h"

namespace halvercine::bitlocker {
namespace {

using base::Secret;

struct BitLockerKeychainTest : tests::AsyncTest {
  std::string loaded(const std::string& account) {
    const auto payload = run(keychain.load(account));
    if (payload) return payload->method + ":" + std::string(payload->credential.reveal());
    return payload.error() == BitLockerKeychain::Missing::forNow ? "none for now" : "none";
  }

  /// The item as it is stored; empty without one.
  std::string item(const std::string& account, const std::string& service = ourService) {
    std::string text;
    store.copyMatching(service, account, [&text](std::string_view value) { text = value; });
    return text;
  }

  static constexpr const char* ourService = "com.halvercine.bitlocker";
  platform::simulated::SimulatedSecrets store{{}, true};
  BitLockerKeychain keychain{actor, clock, store};
};

TEST_F(BitLockerKeychainTest, KeepsOneItemForEachVolume) {
  run(keychain.save("GUID-1", "password", Secret("first")));
  run(keychain.save("GUID-1", "recovery", Secret("\"second\\\n")));
  run(keychain.save("GUID-2", "password", Secret("other")));
  EXPECT_EQ(item("GUID-2"), R"({"method":"password","credential":"other"})");
  EXPECT_EQ(loaded("GUID-1"), "recovery:\"second\\\n");
  run(keychain.remove("GUID-1"));
  EXPECT_EQ(loaded("GUID-1"), "none");
  EXPECT_EQ(loaded("GUID-2"), "password:other");
  store.add("other.service", "GUID-9", "x");
  run(keychain.removeAll());
  EXPECT_EQ(item("GUID-2"), "");
  EXPECT_EQ(item("GUID-9", "other.service"), "x");
}

TEST_F(BitLockerKeychainTest, FailuresAreSilent) {
  store.setWorking(false);
  run(keychain.save("GUID-1", "password", Secret("first")));
  EXPECT_EQ(loaded("GUID-1"), "none for now");
  run(keychain.remove("GUID-1"));
  run(keychain.removeAll());
  store.setWorking(true);
  run(keychain.save("GUID-1", "password", Secret("first")));
  run(keychain.save("GUID-1", "password", Secret("\xff")));
  EXPECT_EQ(item("GUID-1"), "") << "what could not be read again is not kept, nor the old one";
}

TEST_F(BitLockerKeychainTest, ReadsItemsOfTodayAndOfOld) {
  const std::pair<std::string_view, std::string_view> rows[] = {
      {R"({"method":"password","credential":"a b"})", "password:a b"},
      {R"({"credential":"a","method":"recovery","more":1})", "recovery:a"},
      {"recovery\n123453-530112", "recovery:123453-530112"},
      {"password\nline one\nline two", "password:line one\nline two"},
      {R"({"method":"password","credential":""})", "none"},
      {R"({"method":"","credential":"a"})", "none"},
      {R"({"method":"password"})", "none"},
      {R"({"method":"password","credential":7})", "none"},
      {"password", "none"},
      {"password\n", "none"},
      {"\nsecret", "none"},
      {"", "none"},
      {"password\n\xff", "none"},
  };
  for (const auto& [value, expected] : rows) {
    SCOPED_TRACE(value);
    const auto payload = BitLockerKeychain::read(value);
    EXPECT_EQ(payload ? payload->method + ":" + std::string(payload->credential.reveal()) : "none",
              expected);
  }
}

}  // namespace
}  // namespace halvercine::bitlocker
