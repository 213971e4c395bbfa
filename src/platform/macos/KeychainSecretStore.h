// Secrets in the keychain of the user.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include <dispatch/dispatch.h>

#include "platform/SecretStore.h"

namespace halvercine::platform::macos {

/// Generic passwords of the login keychain, which may ask the user: one question at a time. A call
/// that has taken too long is given up: it is not begun any more, and one that has begun may still
/// do what it was asked for, but hands nothing out.
class KeychainSecretStore : public SecretStore {
 public:
  KeychainSecretStore();
  ~KeychainSecretStore() override;

  bool add(const std::string& service, const std::string& account, std::string_view value) override;
  Lookup copyMatching(const std::string& service, const std::string& account,
                      const std::function<void(std::string_view value)>& take) override;
  bool remove(const std::string& service, const std::string& account) override;
  bool removeAll(const std::string& service) override;

 private:
  class Exchange;
  using Item = std::pair<std::string, std::string>;  // service and account

  std::optional<Lookup> earlierAnswer(const Item& item);
  bool deleteItems(const std::string& service, const std::string* account);

  const dispatch_queue_t queue_;
  std::mutex mutex_;
  std::map<Item, std::shared_ptr<Exchange>> unanswered_;
};

}  // namespace halvercine::platform::macos
