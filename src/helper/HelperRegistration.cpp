#include "helper/HelperRegistration.h"

#include <chrono>
#include <system_error>
#include <utility>

#include <fmt/format.h>

#include "base/Properties.h"

namespace halvercine::helper {
namespace {

using base::Task;
using platform::DaemonStatus;
using platform::LogLevel;
using platform::SystemError;

namespace key {
constexpr std::string_view registeredBuild = "helperRegisteredBuild";
constexpr std::string_view promptedVersion = "helperInstallPromptedVersion";
}  // namespace key

/// For one step, and for the two of a re-registration with what lies between them.
constexpr std::chrono::seconds stepLimit{15};
constexpr double reregistrationLimit = 30;

HelperState stateOf(DaemonStatus status) {
  switch (status) {
    case DaemonStatus::enabled:
      return HelperState::ready;
    case DaemonStatus::requiresApproval:
      return HelperState::awaitingApproval;
    case DaemonStatus::notRegistered:
    case DaemonStatus::notFound:
      return HelperState::notRegistered;
  }
  return HelperState::unknownStatus;
}

}  // namespace

HelperRegistration::HelperRegistration(base::MainActor& actor, const platform::Platform& platform,
                                       HelperClient& client)
    : platform_(platform),
      client_(client),
      scheduleOnMain_([&actor](std::function<void()> action) { actor.post(std::move(action)); }),
      daemon_(*platform.daemonServices, scheduleOnMain_) {}

Task<HelperOutcome> HelperRegistration::ensure() {
  HelperOutcome outcome;
  if (!daemon_ || isInstalledByScript()) co_return co_await look();
  const bool isNew = co_await upgrade();
  const bool isRequested = daemon_.status() != DaemonStatus::enabled && co_await request(outcome);
  if (daemon_.status() == DaemonStatus::enabled) rememberBuild();
  // What has just been registered is not registered again because it takes a moment to start.
  co_await settle(outcome);
  if (outcome.state == HelperState::unreachable && !isNew && !isRequested) {
    co_await repairEndpoint(outcome);
  }
  co_return outcome;
}

Task<HelperOutcome> HelperRegistration::repair() {
  auto outcome = co_await look();
  if (outcome.state == HelperState::unreachable) co_await repairEndpoint(outcome);
  co_return outcome;
}

Task<HelperOutcome> HelperRegistration::fallBack() {
  auto outcome = co_await ensure();
  if (!outcome.reason.empty()) {
    log(LogLevel::error, "[Helper] re-register after failed one-click install: " + outcome.reason);
  }
  co_return outcome;
}

Task<HelperOutcome> HelperRegistration::unregister() {
  auto outcome = co_await look();
  const bool isOurs = outcome.state != HelperState::installedByScript;
  if (!daemon_ || !isOurs || outcome.state == HelperState::notRegistered) co_return outcome;
  const auto legacy = co_await client_.removeLegacyInstall();
  if (!legacy && isEndpointUnreachable(legacy.error())) {
    outcome.notices.push_back({.key = "ui.helper.legacy.skipped"});
  }
  const auto error = co_await limited(daemon_.unregisterStep());
  outcome.state = stateOf(daemon_.status());
  outcome.formattingAvailable.reset();
  outcome.reason = error ? error->text : "";
  if (error) {
    log(LogLevel::error, "[Helper] 注销失败: " + error->text);
  } else {
    log(LogLevel::info, "[Helper] 特权助手已注销");
  }
  co_return outcome;
}

Task<HelperOutcome> HelperRegistration::look() {
  HelperOutcome outcome;
  if (daemon_) co_await settle(outcome);
  co_return outcome;
}

std::optional<DaemonStatus> HelperRegistration::status() const {
  return daemon_ ? std::optional(daemon_.status()) : std::nullopt;
}

bool HelperRegistration::isInstalledByScript() const {
  std::error_code error;
  const auto path = platform_.containers->systemPath(oneClickPropertyList);
  // What cannot be looked at may be there: an entry of the name keeps the program's hands off.
  const auto kind = std::filesystem::symlink_status(path, error).type();
  return kind != std::filesystem::file_type::not_found;
}

std::string HelperRegistration::registeredBuild() const { return setting(key::registeredBuild); }

/// Whether the daemon has been registered anew.
Task<bool> HelperRegistration::upgrade() {
  const auto build = platform_.applicationBundle->info(platform::bundle_key::build);
  const auto registered = registeredBuild();
  if (!build || registered.empty() || registered == *build) co_return false;
  std::optional<ReregistrationError> failure;
  co_await reregister(failure);
  if (failure) {
    log(LogLevel::error, "[Helper] 升级后重注册失败: " + describe(*failure));
  } else {
    log(LogLevel::info,
        fmt::format("[Helper] 应用升级，特权助手已重注册换入新二进制 (build {})", *build));
  }
  // Also after a failure: it is tried once for each upgrade, and the next steps see to the rest.
  keep(key::registeredBuild, build);
  co_return !failure;
}

/// Whether the system has been asked.
Task<bool> HelperRegistration::request(HelperOutcome& outcome) {
  const auto version = platform_.applicationBundle->info(platform::bundle_key::version);
  const bool wasAsked = version && setting(key::promptedVersion) == *version;
  if (wasAsked && daemon_.status() == DaemonStatus::requiresApproval) co_return false;
  auto error = co_await limited(daemon_.registerStep());
  const auto status = daemon_.status();
  if (error && isRegistered(status)) error.reset();  // what came too late has come
  if (error) {
    log(LogLevel::error, fmt::format("[Helper] 特权助手注册失败: {} ({}:{})", error->text,
                                     error->domain, error->code));
    outcome.notices.push_back({.key = "ui.helper.register.failed"});
    outcome.reason = error->text;
    co_return true;
  }
  keep(key::promptedVersion, version);
  rememberBuild();
  log(LogLevel::info,
      fmt::format("[Helper] 特权助手注册请求已提交（status={}）", static_cast<int>(status)));
  std::string_view notice = "ui.helper.register.submitted";
  if (status == DaemonStatus::requiresApproval) {
    log(LogLevel::info, "[Helper] 特权助手已登记，待系统设置批准（登录项与扩展）");
    notice = "ui.helper.register.approval";
  } else if (stateOf(status) == HelperState::unknownStatus) {
    notice = "ui.helper.status.unknown";
  }
  outcome.notices.push_back({.key = notice});
  co_return true;
}

Task<void> HelperRegistration::repairEndpoint(HelperOutcome& outcome) {
  log(LogLevel::error, "[Helper] status=enabled 但 XPC 端点不可达，注销重注册修复端点");
  outcome.notices.push_back({.key = "ui.helper.repair.begun"});
  std::optional<ReregistrationError> failure;
  co_await reregister(failure);
  if (failure) {
    log(LogLevel::error, "[Helper] 端点修复重注册失败: " + describe(*failure));
  } else {
    rememberBuild();
  }
  co_await settle(outcome);
  if (failure) outcome.reason = describe(*failure);
}

Task<void> HelperRegistration::reregister(std::optional<ReregistrationError>& failure) {
  const auto result = co_await performReregistration(*platform_.clock, reregistrationLimit,
                                                     daemon_.unregisterStep(),
                                                     daemon_.registerStep(), scheduleOnMain_);
  if (!result) failure = result.error();
}

Task<std::optional<SystemError>> HelperRegistration::limited(DaemonStep step) {
  auto end = co_await performStep(*platform_.clock, stepLimit, std::move(step), scheduleOnMain_);
  if (end) co_return std::move(*end);
  constexpr std::int64_t timedOut = 60;  // ETIMEDOUT of macOS
  co_return SystemError{"Operation timed out", "NSPOSIXErrorDomain", timedOut};
}

/// The state behind the status: whether what may run answers something harmless.
Task<void> HelperRegistration::settle(HelperOutcome& outcome) {
  const bool isInstalled = isInstalledByScript();
  outcome.state = isInstalled ? HelperState::installedByScript : stateOf(daemon_.status());
  if (!isInstalled && outcome.state != HelperState::ready) co_return;
  const auto answer = co_await client_.formattingAvailable();
  if (answer) {
    outcome.formattingAvailable = *answer;
    outcome.reason.clear();
    co_return;
  }
  outcome.reason = describe(answer.error());
  if (isInstalled) co_return;
  outcome.state =
      isEndpointUnreachable(answer.error()) ? HelperState::unreachable : HelperState::notAnswering;
}

std::string HelperRegistration::setting(std::string_view name) const {
  const auto value = platform_.userDefaults->value(name);
  return value ? base::textValue(*value).value_or("") : "";
}

void HelperRegistration::keep(std::string_view name, const std::optional<std::string>& value) {
  if (value) platform_.userDefaults->setValue(name, *value);
}

/// From now on another build is an upgrade.
void HelperRegistration::rememberBuild() {
  const auto build = platform_.applicationBundle->info(platform::bundle_key::build);
  if (build && registeredBuild() != *build) keep(key::registeredBuild, build);
}

void HelperRegistration::log(LogLevel level, const std::string& line) {
  platform_.systemLog->write(level, line);
}

}  // namespace halvercine::helper
