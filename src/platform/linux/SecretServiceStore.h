// The keyring of the desktop, through the Secret Service of the session bus.
#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "platform/SecretStore.h"

namespace halvercine::platform::gnulinux {

/// Uses libsecret when this computer has it, from the first call on: most commands need no secrets,
/// and loading it takes longer than they do. Values travel encrypted over the bus. Reading asks
/// nobody: an item of a locked keyring cannot be read. Writing lets the desktop ask the user to
/// unlock the keyring.
class SecretServiceStore : public SecretStore {
 public:
  /// `limit` is for a whole call.
  explicit SecretServiceStore(std::chrono::milliseconds limit = std::chrono::seconds(limitSeconds));
  ~SecretServiceStore() override;

  /// `add`; nothing when there is no service. One that does not answer in time is there.
  std::optional<bool> addIfThere(const std::string& service, const std::string& account,
                                 std::string_view value);

  bool add(const std::string& service, const std::string& account, std::string_view value) override;
  Lookup copyMatching(const std::string& service, const std::string& account,
                      const std::function<void(std::string_view value)>& take) override;
  bool remove(const std::string& service, const std::string& account) override;
  bool removeAll(const std::string& service) override;

 private:
  class Call;
  class Turn;

  /// A mutex that can be waited for in limited time. (The thread sanitizer takes std::timed_mutex
  /// for one that was never locked.)
  class Turns {
   public:
    bool take(std::chrono::steady_clock::time_point deadline);
    void release();

   private:
    std::mutex mutex_;
    std::condition_variable released_;
    bool isTaken_ = false;
  };

  bool clear(const std::string& service, const std::optional<std::string>& account);

  const std::chrono::milliseconds limit_;
  Turns turns_;  // one call at a time: the library keeps one connection for all
};

}  // namespace halvercine::platform::gnulinux
