#include "helper/OneClickInstall.h"

#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>

#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

#include "base/Localization.h"
#include "base/PrivateFiles.h"
#include "base/Text.h"
#include "helper/bundleSafety.h"
#include "helper/installScript.h"
#include "helper/runAdminShell.h"

namespace halvercine::helper {
namespace {

constexpr std::string_view temporaryPrefix = "/Library/Caches/halvercine-helper-install-";

std::string temporaryPath() {
  return std::string(temporaryPrefix) + to_string(boost::uuids::random_generator()());
}

/// A file that goes with its owner.
class TemporaryScript {
 public:
  explicit TemporaryScript(std::filesystem::path path) : path_(std::move(path)) {}
  ~TemporaryScript() {
    std::error_code ignored;
    if (isMade_) std::filesystem::remove(path_, ignored);
  }
  TemporaryScript(const TemporaryScript&) = delete;
  TemporaryScript& operator=(const TemporaryScript&) = delete;

  std::error_code write(const std::string& script) {
    const auto error = base::createPrivateFile(path_, script);
    isMade_ = !error;
    return error;
  }

 private:
  std::filesystem::path path_;
  bool isMade_ = false;
};

InstallFailed failed(std::string_view key, std::string reason) {
  InstallFailed failure;
  failure.reason.key = key;
  failure.reason.arguments.push_back(std::move(reason));
  return failure;
}

base::Task<InstallOutcome> install(const platform::Platform& platform, std::string prompt) {
  if (auto fault = bundleFault(*platform.applicationBundle)) {
    co_return InstallFailed{std::move(*fault)};
  }
  const auto bundle = platform.applicationBundle->path().value();
  const auto identifier = platform.applicationBundle->info(platform::bundle_key::identifier);
  const auto list = daemonPropertyList(helperExecutable(bundle).string(), identifier.value_or(""));
  if (!list || !identifier)
    co_return failed("ui.helper.install.bundle", base::displayText(bundle.string()));
  const auto script = installScript(*list);
  const auto path = temporaryPath();
  TemporaryScript file(platform.containers->systemPath(path));
  if (const auto error = file.write(script)) {
    co_return failed("ui.helper.install.write", error.message());
  }
  const auto command = verifiedRun(script, path, temporaryPath());
  const auto outcome =
      co_await runAdminShell(*platform.administratorShell, command, std::move(prompt));
  if (std::holds_alternative<AdminShellCancelled>(outcome)) co_return InstallCancelled();
  if (const auto* failure = std::get_if<AdminShellFailed>(&outcome)) {
    co_return failed("ui.helper.install.shell", base::displayText(failure->reason));
  }
  co_return HelperInstalled();
}

}  // namespace

base::Task<InstallOutcome> installWithOneClick(const platform::Platform& platform,
                                               std::string prompt) {
  auto outcome = co_await install(platform, std::move(prompt));
  if (const auto* failure = std::get_if<InstallFailed>(&outcome)) {
    const base::Localization english(base::Language::en);
    platform.systemLog->write(platform::LogLevel::error,
                              "[Helper] one-click install failed: " + failure->reason.in(english));
  }
  co_return outcome;
}

}  // namespace halvercine::helper
