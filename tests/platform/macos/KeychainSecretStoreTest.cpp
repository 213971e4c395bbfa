#include "platform/macos/KeychainSecretStore.h"

#include <cstdlib>
#include <set>
#include <string>
#include <unistd.h>

#include "platform/SecretStoreContract.h"

namespace halvercine::tests {
namespace {

/// The user's keychain, with services of this test run alone, of which nothing is left.
class OwnServices : public platform::SecretStore {
 public:
  OwnServices() = default;
  OwnServices(const OwnServices&) = delete;
  OwnServices& operator=(const OwnServices&) = delete;
  ~OwnServices() override {
    for (const auto& service : used_) store_.removeAll(service);
  }

  bool add(const std::string& service, const std::string& account,
           std::string_view value) override {
    return store_.add(own(service), account, value);
  }
  Lookup copyMatching(const std::string& service, const std::string& account,
                      const std::function<void(std::string_view value)>& take) override {
    return store_.copyMatching(own(service), account, take);
  }
  bool remove(const std::string& service, const std::string& account) override {
    return store_.remove(own(service), account);
  }
  bool removeAll(const std::string& service) override { return store_.removeAll(own(service)); }

 private:
  const std::string& own(const std::string& service) {
    return *used_.insert("com.halvercine.tests." + std::to_string(::getpid()) + "." + service)
                .first;
  }

  platform::macos::KeychainSecretStore store_;
  std::set<std::string> used_;
};

class Keychain {
 public:
  platform::SecretStore* secretStore() {
    return std::getenv("HALVERCINE_TEST_KEYCHAIN") != nullptr ? &store_ : nullptr;
  }
  static std::string whyUnavailable() {
    return "writes to the user's keychain: set HALVERCINE_TEST_KEYCHAIN to allow it";
  }

 private:
  OwnServices store_;
};

INSTANTIATE_TYPED_TEST_SUITE_P(Keychain, SecretStoreContract, Keychain);

}  // namespace
}  // namespace halvercine::tests
