// Secrets in the keychain of the user.
#pragma once

#include "platform/SecretStore.h"

namespace halvercine::platform::macos {

/// Generic passwords of the login keychain. A call that has taken too long and was given up may
/// still do what it was asked for, but hands nothing out any more.
class KeychainSecretStore : public SecretStore {
 public:
  bool add(const std::string& service, const std::string& account, std::string_view value) override;
  bool copyMatching(const std::string& service, const std::string& account,
                    const std::function<void(std::string_view value)>& take) override;
  bool remove(const std::string& service, const std::string& account) override;
  bool removeAll(const std::string& service) override;
};

}  // namespace halvercine::platform::macos
