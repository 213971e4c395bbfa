// The keychain of the simulated Mac.
#pragma once

#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "base/Secret.h"
#include "platform/SecretStore.h"
#include "platform/simulated/Scenario.h"

namespace halvercine::platform::simulated {

/// Items in memory. A keychain that does not work refuses everything.
class SimulatedSecrets : public SecretStore {
 public:
  SimulatedSecrets(const std::vector<ScenarioSecret>& secrets, bool works);

  bool add(const std::string& service, const std::string& account, std::string_view value) override;
  Lookup copyMatching(const std::string& service, const std::string& account,
                      const std::function<void(std::string_view value)>& take) override;
  bool remove(const std::string& service, const std::string& account) override;
  bool removeAll(const std::string& service) override;

  void setWorking(bool works);

 private:
  std::mutex mutex_;
  bool works_;
  std::map<std::pair<std::string, std::string>, base::Secret> items_;  // by service and account
};

}  // namespace halvercine::platform::simulated
