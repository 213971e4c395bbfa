#include "platform/linux/LinuxSecretStore.h"

namespace halvercine::platform::gnulinux {

bool LinuxSecretStore::add(const std::string& service, const std::string& account,
                           std::string_view value) {
  const auto nothing = [](std::string_view) {};
  if (files_.copyMatching(service, account, nothing) == Lookup::found) return false;
  if (const auto isAdded = keyring_.addIfThere(service, account, value)) return *isAdded;
  return files_.add(service, account, value);
}

SecretStore::Lookup LinuxSecretStore::copyMatching(
    const std::string& service, const std::string& account,
    const std::function<void(std::string_view value)>& take) {
  const auto inKeyring = keyring_.copyMatching(service, account, take);
  if (inKeyring == Lookup::found) return inKeyring;
  const auto inFile = files_.copyMatching(service, account, take);
  return inFile == Lookup::found ? inFile : inKeyring;
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
