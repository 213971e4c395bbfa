// Remembered credentials of BitLocker volumes.
#pragma once

#include <expected>
#include <optional>
#include <string>
#include <string_view>

#include <boost/describe.hpp>

#include "base/MainActor.h"
#include "base/Secret.h"
#include "base/Task.h"
#include "platform/Clock.h"
#include "platform/SecretStore.h"

namespace halvercine::bitlocker {

/// One keychain item for each volume, under the volume's mailbox key. Every failure is silent: a
/// volume that could not be remembered is asked for again. Operations that the keychain does not
/// end in time are given up. Main actor; the ports outlive the operations.
class BitLockerKeychain {
 public:
  /// What is kept of a volume, coded as JSON.
  struct Payload {
    std::string method;  ///< one of `unlock_method`
    base::Secret credential;

    bool operator==(const Payload&) const = default;
  };

  /// Why there is no credential of a volume.
  enum class Missing {
    forGood,
    forNow,  ///< the keychain is locked, or does not answer
  };

  static constexpr std::string_view service = "com.halvercine.bitlocker";

  BitLockerKeychain(base::MainActor& actor, platform::Clock& clock, platform::SecretStore& store)
      : actor_(actor), clock_(clock), store_(store) {}

  /// Keeps a credential in place of what was kept. A credential that could not be read again (it is
  /// not UTF-8) is not kept.
  base::Task<void> save(std::string account, std::string method, base::Secret credential);

  base::Task<std::expected<Payload, Missing>> load(std::string account);

  base::Task<void> remove(std::string account);

  /// Forgets every volume.
  base::Task<void> removeAll();

  /// The value of an item: JSON or, in older items, the method, a line feed and the credential.
  /// Both have to be there.
  static std::optional<Payload> read(std::string_view value);

 private:
  template <class Work, class Result>
  base::Task<Result> inBackground(Work work, Result failure);

  base::MainActor& actor_;
  platform::Clock& clock_;
  platform::SecretStore& store_;
};
BOOST_DESCRIBE_STRUCT(BitLockerKeychain::Payload, (), (method, credential))

}  // namespace halvercine::bitlocker
