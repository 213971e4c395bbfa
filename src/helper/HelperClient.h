// Calls to the privileged helper.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/Completion.h"
#include "base/Secret.h"
#include "base/Task.h"
#include "helper/HelperError.h"
#include "helper/TimeoutGate.h"
#include "platform/Clock.h"
#include "platform/HelperTransport.h"
#include "platform/Platform.h"
#include "platform/SystemLog.h"

namespace halvercine::helper {

/// The helper's label and mach service.
inline constexpr std::string_view helperLabel = "com.halvercine.app.authhelper";

/// Whether it worked, and the helper's text: why not, or what came of it. `Text` is a secret where
/// that can be one.
template <class Text = std::string>
struct HelperAnswer {
  bool ok = false;
  Text message;
};

/// Each call has its own connection and ends by the first of reply, connection error and time
/// limit; one that is cancelled leaves the helper to itself. Main actor.
class HelperClient {
 public:
  using Limit = std::optional<platform::Uptime>;

  explicit HelperClient(const platform::Platform& platform)
      : transport_(*platform.helperTransport), clock_(*platform.clock), log_(*platform.systemLog) {}

  /// What a body calls with the result: any thread, and only the first call counts.
  template <class T>
  using Complete = std::function<void(HelperResult<T>)>;

  /// Sends what `body` sends to the helper and waits for what it is told. Without a limit nothing
  /// but the end of the connection or a cancellation bounds the wait.
  template <class T>
  base::Task<HelperResult<T>> xpcCall(
      Limit timeout, std::function<void(platform::HelperProxy&, Complete<T>)> body);

  // Creating, decrypting and formatting answer when the work is done, which can take hours: whoever
  // asks gives the limit, and watches the progress meanwhile. All other limits are in the table of
  // docs/decisions.md.

  /// The message of a success is the recovery password.
  base::Task<HelperResult<HelperAnswer<base::Secret>>> createBitLocker(
      Limit timeout, std::string devicePath, std::string volumeName, base::Secret password,
      std::uint32_t method, std::uint64_t mediaID, bool usedOnly);
  base::Task<HelperResult<std::optional<std::string>>> bitLockerCreationProgress();
  base::Task<HelperResult<bool>> cancelBitLockerCreation();

  base::Task<HelperResult<HelperAnswer<>>> decryptBitLocker(Limit timeout, std::string devicePath,
                                                            base::Secret password,
                                                            std::uint64_t mediaID);
  base::Task<HelperResult<std::optional<std::string>>> bitLockerDecryptionProgress();
  base::Task<HelperResult<bool>> cancelBitLockerDecryption();

  base::Task<HelperResult<HelperAnswer<>>> changeBitLockerPassword(std::string devicePath,
                                                                   base::Secret oldPassword,
                                                                   base::Secret newPassword,
                                                                   std::uint64_t mediaID);

  base::Task<HelperResult<HelperAnswer<>>> reformatNTFS(Limit timeout, std::string devicePath,
                                                        std::string volumeName,
                                                        std::uint64_t mediaID,
                                                        std::string expectedGUID,
                                                        std::string requestID);
  base::Task<HelperResult<std::optional<std::string>>> reformatNTFSProgress(std::string requestID);

  /// 0 when the device opens for writing, otherwise the error number.
  base::Task<HelperResult<std::int32_t>> probeDeviceOpen(std::string devicePath);
  base::Task<HelperResult<bool>> formattingAvailable();
  base::Task<HelperResult<HelperAnswer<>>> repairAuthorization();
  base::Task<HelperResult<HelperAnswer<>>> installFsPackage(std::string sourcePlistPath);
  base::Task<HelperResult<HelperAnswer<>>> deregisterFSKitModules(
      std::vector<std::string> moduleIdentifiers);
  base::Task<HelperResult<HelperAnswer<>>> prepareForUninstall();
  /// The step is to be skipped, and is no failure, when the helper cannot be reached.
  base::Task<HelperResult<HelperAnswer<>>> removeLegacyInstall();
  base::Task<HelperResult<HelperAnswer<>>> removeFsPackage();

 private:
  using Arguments = std::vector<platform::HelperArgument>;

  /// What the arguments point to has to stand until the task has ended.
  template <class T>
  base::Task<HelperResult<T>> call(Limit timeout, platform::HelperSelector selector,
                                   Arguments arguments);
  void logFailure(const HelperError& error);

  platform::HelperTransport& transport_;
  platform::Clock& clock_;
  platform::SystemLog& log_;
};

template <class T>
base::Task<HelperResult<T>> HelperClient::xpcCall(
    Limit timeout, std::function<void(platform::HelperProxy&, Complete<T>)> body) {
  using Result = HelperResult<T>;
  auto opened = transport_.open(std::string(helperLabel));
  if (!opened) {
    const HelperError error{HelperError::Kind::connection, opened.error()};
    logFailure(error);
    co_return std::unexpected(error);
  }
  std::optional<platform::TimerId> timer;
  const auto start = [&](base::Completion<Result> completion) {
    const std::shared_ptr<platform::HelperConnection> connection = std::move(*opened);
    const auto gate = std::make_shared<TimeoutGate<Result>>(
        connection, [completion](Result result) { completion(std::move(result)); });
    const auto fail = [gate](HelperError error) { gate->pass(std::unexpected(std::move(error))); };
    if (timeout) {
      timer = clock_.callAt(clock_.uptime() + *timeout, [fail] {
        fail({HelperError::Kind::timedOut, {}});
      });
    }
    auto* const proxy = connection->remoteObject([fail](platform::SystemError error) {
      fail({HelperError::Kind::connection, std::move(error)});
    });
    if (proxy) {
      body(*proxy, [gate](Result result) { gate->pass(std::move(result)); });
    } else {
      fail({HelperError::Kind::protocol, {}});
    }
    return std::function<void()>([this, gate, timer] {
      gate->close();
      if (timer) clock_.cancel(*timer);
    });
  };
  auto result = co_await base::waitFor<Result>(start);
  if (timer) clock_.cancel(*timer);
  if (!result) logFailure(result.error());
  co_return result;
}

}  // namespace halvercine::helper
