// Secrets that outlive the program: the keychain of the user.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace halvercine::platform {

/// Generic passwords, each under the name of a service and of an account of it. What is stored asks
/// to be readable in the background once the user has unlocked the machine after its start
/// (kSecAttrAccessibleAfterFirstUnlock); a keychain that is a file goes by its own lock instead.
///
/// Every call may wait for another process, and `add` for the user, who may be asked to unlock the
/// store: from a background thread only, and any number at a time. None waits for more than
/// `limitSeconds`. The texts are UTF-8, the value is any bytes; copies of the value that a call
/// makes are wiped.
class SecretStore {
 public:
  static constexpr int limitSeconds = 30;

  enum class Lookup {
    found,
    absent,      ///< or the user has refused to let it be read
    unreadable,  ///< now: there may be an item, in a store that is locked or does not answer
  };

  virtual ~SecretStore() = default;

  /// Adds an item (SecItemAdd). False when it is not there afterwards, or when there is one of this
  /// service and account already: it stays as it is.
  virtual bool add(const std::string& service, const std::string& account,
                   std::string_view value) = 0;

  /// Hands the value of the one item to `take`, before the call returns (SecItemCopyMatching with
  /// kSecReturnData and kSecMatchLimitOne), when it is found. The view is valid, and wiped, until
  /// then.
  virtual Lookup copyMatching(const std::string& service, const std::string& account,
                              const std::function<void(std::string_view value)>& take) = 0;

  /// Deletes the item of an account (SecItemDelete); false when there was none, or it could not be
  /// deleted.
  virtual bool remove(const std::string& service, const std::string& account) = 0;

  /// Deletes all items of a service; the same.
  virtual bool removeAll(const std::string& service) = 0;
};

}  // namespace halvercine::platform
