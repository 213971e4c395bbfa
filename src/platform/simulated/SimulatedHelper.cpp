#include "platform/simulated/SimulatedHelper.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <string_view>
#include <system_error>
#include <utility>

#include "platform/simulated/FileSystemModule.h"

namespace halvercine::platform::simulated {
namespace {

constexpr std::string_view installedList =
    "/Library/LaunchDaemons/com.halvercine.app.authhelper.plist";

/// The names in the order of `HelperSelector`.
constexpr std::string_view selectorNames[] = {"createBitLocker",
                                              "bitLockerCreationProgress",
                                              "cancelBitLockerCreation",
                                              "decryptBitLocker",
                                              "bitLockerDecryptionProgress",
                                              "cancelBitLockerDecryption",
                                              "changeBitLockerPassword",
                                              "reformatNTFS",
                                              "reformatNTFSProgress",
                                              "probeDeviceOpen",
                                              "formattingAvailable",
                                              "repairAuthorization",
                                              "installFsPackage",
                                              "deregisterFSKitModules",
                                              "prepareForUninstall",
                                              "removeLegacyInstall",
                                              "removeFsPackage"};

/// The behaviour of the `count`th time; an ordinary one where the scenario has none.
ScenarioRegistrationStep stepOf(const std::vector<ScenarioRegistrationStep>& steps,
                                std::size_t count, RegistrationStatus usual) {
  if (!steps.empty()) return steps[std::min(count, steps.size() - 1)];
  ScenarioRegistrationStep step;
  step.status = usual;
  return step;
}

}  // namespace

std::vector<std::string> helperSelectorNames() {
  return {std::begin(selectorNames), std::end(selectorNames)};
}

DaemonStatus SimulatedHelper::status() const {
  constexpr auto unheardOf = DaemonStatus{7};
  switch (scenario_.status) {
    case RegistrationStatus::notRegistered:
      return DaemonStatus::notRegistered;
    case RegistrationStatus::enabled:
      return DaemonStatus::enabled;
    case RegistrationStatus::requiresApproval:
      return DaemonStatus::requiresApproval;
    case RegistrationStatus::notFound:
      return DaemonStatus::notFound;
    case RegistrationStatus::unknown:
      break;
  }
  return unheardOf;
}

void SimulatedHelper::registerDaemon(DaemonStepEnd ended) {
  const auto step = stepOf(scenario_.registers, registrations_++, RegistrationStatus::enabled);
  perform(step, [this, ended = std::move(ended)](std::optional<SystemError> error) {
    if (!error) scenario_.reachable = scenario_.reachable || scenario_.reachableAnew;
    ended(std::move(error));
  });
}

void SimulatedHelper::unregisterDaemon(DaemonStepEnd ended) {
  perform(stepOf(scenario_.unregisters, unregistrations_++, RegistrationStatus::notRegistered),
          std::move(ended));
}

void SimulatedHelper::perform(const ScenarioRegistrationStep& step, DaemonStepEnd ended) {
  if (step.hang) {
    scenario_.status = step.status.value_or(scenario_.status);
    return;
  }
  clock_->callAt(clock_->uptime() + uptimeOf(step.seconds), [this, step, ended = std::move(ended)] {
    if (step.status) scenario_.status = *step.status;
    if (!step.error) return ended(std::nullopt);
    ended(SystemError{step.error->text, step.error->domain, step.error->code});
  });
}

bool SimulatedHelper::isReachable() const {
  std::error_code ignored;
  const bool mayRun = scenario_.status == RegistrationStatus::enabled ||
                      std::filesystem::exists(folders_.systemPath(installedList), ignored);
  return mayRun && scenario_.reachable;
}

ScenarioHelperCall SimulatedHelper::next(HelperSelector selector) {
  const auto name = selectorNames[static_cast<std::size_t>(selector)];
  for (auto& call : scenario_.calls) {
    if (call.times == 0 || (call.selector && *call.selector != name)) continue;
    if (call.times) --*call.times;
    return call;
  }
  return {};
}

}  // namespace halvercine::platform::simulated
