#include "platform/simulated/SimulatedSecrets.h"

namespace halvercine::platform::simulated {

SimulatedSecrets::SimulatedSecrets(const std::vector<ScenarioSecret>& secrets, bool works)
    : works_(works) {
  for (const auto& secret : secrets) {
    items_.insert_or_assign({secret.service, secret.account}, base::Secret(secret.value));
  }
}

bool SimulatedSecrets::add(const std::string& service, const std::string& account,
                           std::string_view value) {
  const std::lock_guard lock(mutex_);
  return works_ && items_.try_emplace({service, account}, value).second;
}

SecretStore::Lookup SimulatedSecrets::copyMatching(
    const std::string& service, const std::string& account,
    const std::function<void(std::string_view value)>& take) {
  const std::lock_guard lock(mutex_);
  if (!works_) return Lookup::unreadable;
  const auto found = items_.find({service, account});
  if (found == items_.end()) return Lookup::absent;
  take(found->second.reveal());
  return Lookup::found;
}

bool SimulatedSecrets::remove(const std::string& service, const std::string& account) {
  const std::lock_guard lock(mutex_);
  return works_ && items_.erase({service, account}) > 0;
}

bool SimulatedSecrets::removeAll(const std::string& service) {
  const std::lock_guard lock(mutex_);
  return works_ &&
         std::erase_if(items_, [&](const auto& item) { return item.first.first == service; }) > 0;
}

void SimulatedSecrets::setWorking(bool works) {
  const std::lock_guard lock(mutex_);
  works_ = works;
}

}  // namespace halvercine::platform::simulated
