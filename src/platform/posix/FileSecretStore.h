// Secrets in private files, where the system has no keychain.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "platform/SecretStore.h"

namespace halvercine::platform::posix {

/// One file of mode 0600 for each item, in a folder of mode 0700 for each service. Nothing but
/// these modes keeps the secrets: whoever can read the user's files as the user can read them.
class FileSecretStore : public SecretStore {
 public:
  /// `folder` need not exist. Without one nothing can be stored.
  explicit FileSecretStore(std::optional<std::filesystem::path> folder)
      : folder_(std::move(folder)) {}

  bool add(const std::string& service, const std::string& account, std::string_view value) override;
  Lookup copyMatching(const std::string& service, const std::string& account,
                      const std::function<void(std::string_view value)>& take) override;
  bool remove(const std::string& service, const std::string& account) override;
  bool removeAll(const std::string& service) override;

 private:
  std::optional<std::filesystem::path> folderOf(const std::string& service) const;
  std::optional<std::filesystem::path> fileOf(const std::string& service,
                                              const std::string& account) const;

  std::optional<std::filesystem::path> folder_;
};

}  // namespace halvercine::platform::posix
