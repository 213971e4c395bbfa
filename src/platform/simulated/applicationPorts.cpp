#include "platform/simulated/applicationPorts.h"

#include <string>
#include <system_error>
#include <utility>

namespace halvercine::platform::simulated {
namespace {

using Machine = std::shared_ptr<SimulatedMachine>;

/// Everything in the bundle and above it is root's and there, unless the scenario says otherwise.
class SimulatedApplicationBundle : public ApplicationBundle {
 public:
  explicit SimulatedApplicationBundle(Machine machine) : machine_(std::move(machine)) {}

  std::optional<std::filesystem::path> path() override { return machine_->application().path; }

  std::optional<std::string> info(std::string_view key) override {
    const auto& application = machine_->application();
    if (key == bundle_key::identifier) return application.identifier;
    if (key == bundle_key::build) return application.build;
    if (key == bundle_key::version) return application.version;
    return std::nullopt;
  }

  std::expected<FileFacts, std::error_code> inspect(const std::filesystem::path& path) override {
    const auto& application = machine_->application();
    const bool isHelper = path.filename() == "halvercine-helper";
    if (isHelper && !application.helper) {
      return std::unexpected(std::make_error_code(std::errc::no_such_file_or_directory));
    }
    FileFacts facts{isHelper ? FileFacts::Kind::file : FileFacts::Kind::folder, 0, 0, 0755};
    for (const auto& given : application.permissions) {
      if (path != given.path) continue;
      facts.owner = given.owner;
      facts.group = given.group;
      facts.mode = static_cast<std::uint32_t>(std::stoul(given.mode, nullptr, 8));
    }
    return facts;
  }

 private:
  Machine machine_;
};

class SimulatedSecretStore : public SecretStore {
 public:
  explicit SimulatedSecretStore(Machine machine) : machine_(std::move(machine)) {}

  bool add(const std::string& service, const std::string& account,
           std::string_view value) override {
    return machine_->secrets().add(service, account, value);
  }
  Lookup copyMatching(const std::string& service, const std::string& account,
                      const std::function<void(std::string_view)>& take) override {
    return machine_->secrets().copyMatching(service, account, take);
  }
  bool remove(const std::string& service, const std::string& account) override {
    return machine_->secrets().remove(service, account);
  }
  bool removeAll(const std::string& service) override {
    return machine_->secrets().removeAll(service);
  }

 private:
  Machine machine_;
};

}  // namespace

std::unique_ptr<ApplicationBundle> makeApplicationBundle(
    std::shared_ptr<SimulatedMachine> machine) {
  return std::make_unique<SimulatedApplicationBundle>(std::move(machine));
}

std::unique_ptr<SecretStore> makeSecretStore(std::shared_ptr<SimulatedMachine> machine) {
  return std::make_unique<SimulatedSecretStore>(std::move(machine));
}

}  // namespace halvercine::platform::simulated
