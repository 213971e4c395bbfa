#include "platform/linux/LinuxSecretStore.h"

namespace halvercine::platform::gnulinux {

bool LinuxSecretStore::add(const std::string& service, const std::string& account,
                           std::string_view value) {
  if (files_.copyMatching(service, account, [](std::string_view) {})) return false;
  if (const auto isAdded = keyring_.addIfThere(service, account, value)) return *isAdded;
  return files_.add(service, account, value);
}

bool LinuxSecretStore::copyMatching(const std::string& service, const std::string& account,
                                    const std::function<void(std::string_view value)>& take) {
  return keyring_.copyMatching(service, account, take) ||
         files_.copyMatching(service, account, take);
}

bool LinuxSecretStore::remove(const std::string& service, const std::string& account) {
  const bool isRemovedFromKeyring = keyring_.remove(service, account);
  return files_.remove(service, account) || isRemovedFromKeyring;
}

bool LinuxSecretStore::removeAll(const std::string& service) {
  const bool isRemovedFromKeyring = keyring_.removeAll(service);
  return files_.removeAll(service) || isRemovedFromKeyring;
}

}  // namespace halvercine::platform::gnulinux
