// Where secrets are on Linux: in the desktop's keyring, or in files where there is none.
#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>

#include "platform/SecretStore.h"
#include "platform/linux/SecretServiceStore.h"
#include "platform/posix/FileSecretStore.h"

namespace halvercine::platform::gnulinux {

/// The keyring when there is one at that moment; a file only while there is none. What the user has
/// refused to the keyring, or a keyring has not taken in time, is not put into a file. An item is
/// looked for, and deleted, in both.
class LinuxSecretStore : public SecretStore {
 public:
  /// `limit` is for the keyring's part of a call.
  explicit LinuxSecretStore(std::optional<std::filesystem::path> folder,
                            std::chrono::milliseconds limit = std::chrono::seconds(limitSeconds))
      : keyring_(limit), files_(std::move(folder)) {}

  bool add(const std::string& service, const std::string& account, std::string_view value) override;
  Lookup copyMatching(const std::string& service, const std::string& account,
                      const std::function<void(std::string_view value)>& take) override;
  bool remove(const std::string& service, const std::string& account) override;
  bool removeAll(const std::string& service) override;

 private:
  SecretServiceStore keyring_;
  posix::FileSecretStore files_;
};

}  // namespace halvercine::platform::gnulinux
