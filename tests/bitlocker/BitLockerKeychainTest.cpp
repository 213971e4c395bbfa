#include "bitlocker/unlock/BitLockerKeychain.h"

#include <map>
#include <mutex>
#include <string>

#include "support/AsyncTest.h"

namespace halvercine::bitlocker {
namespace {

using base::Secret;

/// Keeps items, refuses everything, or does nothing until it is let go.
struct TestStore : platform::SecretStore {
  bool add(const std::string& service, const std::string& account,
           std::string_view value) override {
    return works && items.try_emplace(service + "/" + account, value).second;
  }
  Lookup copyMatching(const std::string& service, const std::string& account,
                      const std::function<void(std::string_view)>& take) override {
    if (!works) return Lookup::unreadable;
    const auto found = items.find(service + "/" + account);
    if (found == items.end()) return Lookup::absent;
    take(found->second);
    return Lookup::found;
  }
  bool remove(const std::string& service, const std::string& account) override {
    return works && items.erase(service + "/" + account) > 0;
  }
  bool removeAll(const std::string& service) override {
    return works && std::erase_if(items, [&](const auto& item) {
                      return item.first.starts_with(service + "/");
                    }) > 0;
  }

  bool works = true;
  std::map<std::string, std::string> items;
};

struct BitLockerKeychainTest : tests::AsyncTest {
  std::string loaded(const std::string& account) {
    const auto payload = run(keychain.load(account));
    if (payload) return payload->method + ":" + std::string(payload->credential.reveal());
    return payload.error() == BitLockerKeychain::Missing::forNow ? "none for now" : "none";
  }

  TestStore store;
  BitLockerKeychain keychain{actor, clock, store};
};

TEST_F(BitLockerKeychainTest, KeepsOneItemForEachVolume) {
  run(keychain.save("GUID-1", "password", Secret("first")));
  run(keychain.save("GUID-1", "recovery", Secret("\"second\\\n")));
  run(keychain.save("GUID-2", "password", Secret("other")));
  EXPECT_EQ(store.items.size(), 2u);
  EXPECT_EQ(store.items.at("com.halvercine.bitlocker/GUID-2"),
            R"({"method":"password","credential":"other"})");
  EXPECT_EQ(loaded("GUID-1"), "recovery:\"second\\\n");
  run(keychain.remove("GUID-1"));
  EXPECT_EQ(loaded("GUID-1"), "none");
  store.items["other.service/GUID-9"] = "x";
  run(keychain.removeAll());
  EXPECT_EQ(store.items.size(), 1u);
}

TEST_F(BitLockerKeychainTest, FailuresAreSilent) {
  store.works = false;
  run(keychain.save("GUID-1", "password", Secret("first")));
  EXPECT_EQ(loaded("GUID-1"), "none for now");
  run(keychain.remove("GUID-1"));
  run(keychain.removeAll());
  store.works = true;
  run(keychain.save("GUID-1", "password", Secret("first")));
  run(keychain.save("GUID-1", "password", Secret("\xff")));
  EXPECT_TRUE(store.items.empty()) << "what could not be read again is not kept, nor the old one";
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
