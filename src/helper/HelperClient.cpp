#include "helper/HelperClient.h"

#include <type_traits>

#include "helper/XPOnceBox.h"

namespace halvercine::helper {
namespace {

using namespace std::chrono_literals;
using base::Task;
using platform::HelperSelector;

constexpr platform::Uptime usualLimit = 8s;
constexpr platform::Uptime cancelLimit = 5s;
constexpr platform::Uptime queryLimit = 3s;
constexpr platform::Uptime installLimit = 15s;

// What a reply says, when it is the one that belongs to the call. Called while its texts stand.

template <class Text>
std::optional<HelperAnswer<Text>> read(const platform::HelperReply& reply,
                                       std::type_identity<HelperAnswer<Text>>) {
  const auto* verdict = std::get_if<platform::HelperVerdict>(&reply);
  if (!verdict) return std::nullopt;
  return HelperAnswer<Text>{verdict->ok, Text(verdict->message.value_or(""))};
}

using Progress = std::optional<std::string>;

std::optional<Progress> read(const platform::HelperReply& reply, std::type_identity<Progress>) {
  const auto* text = std::get_if<platform::HelperText>(&reply);
  if (!text) return std::nullopt;
  return text->text ? Progress(*text->text) : Progress();
}

template <class Value>
std::optional<Value> read(const platform::HelperReply& reply, std::type_identity<Value>) {
  const auto* value = std::get_if<Value>(&reply);
  return value ? std::optional(*value) : std::nullopt;
}

template <class T>
HelperResult<T> resultOf(const platform::HelperReply& reply) {
  auto answer = read(reply, std::type_identity<T>());
  if (!answer) return std::unexpected(HelperError{HelperError::Kind::protocol, {}});
  return std::move(*answer);
}

platform::HelperArgument argument(const std::string& text) { return std::string_view(text); }
platform::HelperArgument argument(const base::Secret& secret) { return secret.reveal(); }
platform::HelperArgument argument(const std::vector<std::string>& texts) {
  return std::span<const std::string>(texts);
}
platform::HelperArgument argument(auto number) { return number; }

template <class... Values>
std::vector<platform::HelperArgument> argumentsOf(const Values&... values) {
  return {argument(values)...};
}

/// Success and text, or why there is no answer.
std::string describe(const HelperResult<HelperAnswer<>>& result) {
  if (!result) return "false " + describe(result.error());
  return (result->ok ? "true " : "false ") + result->message;
}

}  // namespace

template <class T>
Task<HelperResult<T>> HelperClient::call(Limit timeout, HelperSelector selector,
                                         Arguments arguments) {
  const auto send = [selector, &arguments](platform::HelperProxy& helper, Complete<T> complete) {
    const XPOnceBox<const platform::HelperReply&> once(
        [complete = std::move(complete)](const platform::HelperReply& reply) {
          complete(resultOf<T>(reply));
        });
    helper.send({selector, arguments}, once);
  };
  co_return co_await xpcCall<T>(timeout, send);
}

Task<HelperResult<HelperAnswer<base::Secret>>> HelperClient::createBitLocker(
    Limit timeout, std::string devicePath, std::string volumeName, base::Secret password,
    std::uint32_t method, std::uint64_t mediaID, bool usedOnly) {
  co_return co_await call<HelperAnswer<base::Secret>>(
      timeout, HelperSelector::createBitLocker,
      argumentsOf(devicePath, volumeName, password, method, mediaID, usedOnly));
}

Task<HelperResult<Progress>> HelperClient::bitLockerCreationProgress() {
  return call<Progress>(usualLimit, HelperSelector::bitLockerCreationProgress, {});
}

Task<HelperResult<bool>> HelperClient::cancelBitLockerCreation() {
  return call<bool>(cancelLimit, HelperSelector::cancelBitLockerCreation, {});
}

Task<HelperResult<HelperAnswer<>>> HelperClient::decryptBitLocker(Limit timeout,
                                                                  std::string devicePath,
                                                                  base::Secret password,
                                                                  std::uint64_t mediaID) {
  co_return co_await call<HelperAnswer<>>(timeout, HelperSelector::decryptBitLocker,
                                          argumentsOf(devicePath, password, mediaID));
}

Task<HelperResult<Progress>> HelperClient::bitLockerDecryptionProgress() {
  return call<Progress>(usualLimit, HelperSelector::bitLockerDecryptionProgress, {});
}

Task<HelperResult<bool>> HelperClient::cancelBitLockerDecryption() {
  return call<bool>(cancelLimit, HelperSelector::cancelBitLockerDecryption, {});
}

Task<HelperResult<HelperAnswer<>>> HelperClient::changeBitLockerPassword(std::string devicePath,
                                                                         base::Secret oldPassword,
                                                                         base::Secret newPassword,
                                                                         std::uint64_t mediaID) {
  co_return co_await call<HelperAnswer<>>(
      usualLimit, HelperSelector::changeBitLockerPassword,
      argumentsOf(devicePath, oldPassword, newPassword, mediaID));
}

Task<HelperResult<HelperAnswer<>>> HelperClient::reformatNTFS(Limit timeout, std::string devicePath,
                                                              std::string volumeName,
                                                              std::uint64_t mediaID,
                                                              std::string expectedGUID,
                                                              std::string requestID) {
  co_return co_await call<HelperAnswer<>>(
      timeout, HelperSelector::reformatNTFS,
      argumentsOf(devicePath, volumeName, mediaID, expectedGUID, requestID));
}

Task<HelperResult<Progress>> HelperClient::reformatNTFSProgress(std::string requestID) {
  co_return co_await call<Progress>(usualLimit, HelperSelector::reformatNTFSProgress,
                                    argumentsOf(requestID));
}

Task<HelperResult<std::int32_t>> HelperClient::probeDeviceOpen(std::string devicePath) {
  co_return co_await call<std::int32_t>(usualLimit, HelperSelector::probeDeviceOpen,
                                        argumentsOf(devicePath));
}

Task<HelperResult<bool>> HelperClient::formattingAvailable() {
  return call<bool>(queryLimit, HelperSelector::formattingAvailable, {});
}

Task<HelperResult<HelperAnswer<>>> HelperClient::repairAuthorization() {
  return call<HelperAnswer<>>(usualLimit, HelperSelector::repairAuthorization, {});
}

Task<HelperResult<HelperAnswer<>>> HelperClient::installFsPackage(std::string sourcePlistPath) {
  co_return co_await call<HelperAnswer<>>(installLimit, HelperSelector::installFsPackage,
                                          argumentsOf(sourcePlistPath));
}

Task<HelperResult<HelperAnswer<>>> HelperClient::deregisterFSKitModules(
    std::vector<std::string> moduleIdentifiers) {
  co_return co_await call<HelperAnswer<>>(usualLimit, HelperSelector::deregisterFSKitModules,
                                          argumentsOf(moduleIdentifiers));
}

Task<HelperResult<HelperAnswer<>>> HelperClient::prepareForUninstall() {
  auto result = co_await call<HelperAnswer<>>(usualLimit, HelperSelector::prepareForUninstall, {});
  log_.write(platform::LogLevel::info, "[Helper] prepareForUninstall: " + describe(result));
  co_return result;
}

Task<HelperResult<HelperAnswer<>>> HelperClient::removeLegacyInstall() {
  auto result = co_await call<HelperAnswer<>>(usualLimit, HelperSelector::removeLegacyInstall, {});
  log_.write(platform::LogLevel::info,
             !result && isEndpointUnreachable(result.error())
                 ? "[Helper] legacy install removal skipped: helper unreachable"
                 : "[Helper] removeLegacyInstall: " + describe(result));
  co_return result;
}

Task<HelperResult<HelperAnswer<>>> HelperClient::removeFsPackage() {
  auto result = co_await call<HelperAnswer<>>(usualLimit, HelperSelector::removeFsPackage, {});
  log_.write(platform::LogLevel::info, "[Helper] removeFsPackage: " + describe(result));
  co_return result;
}

void HelperClient::logFailure(const HelperError& error) {
  if (error.kind == HelperError::Kind::connection) {
    log_.write(platform::LogLevel::error, "[Helper] XPC error: " + error.cause.text);
  }
}

}  // namespace halvercine::helper
