// What every store of secrets must do. `MachineUnderTest` has `secretStore()`, which is empty at
// first, and null when this computer has none.
#pragma once

#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "platform/SecretStore.h"

namespace halvercine::tests {

template <class MachineUnderTest>
class SecretStoreContract : public testing::Test {
 protected:
  static std::optional<std::string> valueOf(platform::SecretStore& store,
                                            const std::string& service,
                                            const std::string& account) {
    std::optional<std::string> found;
    const auto lookup =
        store.copyMatching(service, account, [&](std::string_view value) { found = value; });
    using Lookup = platform::SecretStore::Lookup;
    EXPECT_EQ(lookup, found ? Lookup::found : Lookup::absent);
    return found;
  }

  MachineUnderTest machine_;
};

TYPED_TEST_SUITE_P(SecretStoreContract);

TYPED_TEST_P(SecretStoreContract, ItemsAreKeptByServiceAndAccount) {
  auto* const store = this->machine_.secretStore();
  if (!store) GTEST_SKIP() << this->machine_.whyUnavailable();
  const std::string bytes("\0one\n\xff", 6);
  EXPECT_EQ(this->valueOf(*store, "a", "x"), std::nullopt);
  EXPECT_TRUE(store->add("a", "x", bytes));
  EXPECT_TRUE(store->add("a", "../X y", "two"));
  EXPECT_TRUE(store->add("b", "x", "three"));
  EXPECT_FALSE(store->add("a", "x", "four")) << "an item is not replaced";
  EXPECT_EQ(this->valueOf(*store, "a", "x"), bytes);
  EXPECT_EQ(this->valueOf(*store, "a", "../X y"), "two");
  EXPECT_EQ(this->valueOf(*store, "b", "x"), "three");
  EXPECT_EQ(this->valueOf(*store, "b", "../X y"), std::nullopt);

  EXPECT_TRUE(store->remove("a", "x"));
  EXPECT_FALSE(store->remove("a", "x"));
  EXPECT_EQ(this->valueOf(*store, "a", "x"), std::nullopt);
  EXPECT_TRUE(store->add("a", "x", "five"));
  EXPECT_TRUE(store->removeAll("a"));
  EXPECT_FALSE(store->removeAll("a"));
  EXPECT_EQ(this->valueOf(*store, "a", "x"), std::nullopt);
  EXPECT_EQ(this->valueOf(*store, "a", "../X y"), std::nullopt);
  EXPECT_EQ(this->valueOf(*store, "b", "x"), "three") << "another service keeps its items";
}

REGISTER_TYPED_TEST_SUITE_P(SecretStoreContract, ItemsAreKeptByServiceAndAccount);

}  // namespace halvercine::tests
