// The ports of the simulated helper: registration and messages.
#include <span>
#include <string>
#include <utility>

#include "platform/simulated/SimulatedHelper.h"
#include "platform/simulated/SimulatedMachine.h"

namespace halvercine::platform::simulated {
namespace {

using Machine = std::shared_ptr<SimulatedMachine>;

constexpr std::string_view errorDomain = "NSCocoaErrorDomain";
/// The one service that is served; the bundle holds its daemon.
constexpr std::string_view helperService = "com.halvercine.app.authhelper";

// Services and connections are held by what waits for the machine's clock: they must not hold the
// machine in turn.

class SimulatedDaemonService : public DaemonService {
 public:
  explicit SimulatedDaemonService(const Machine& machine) : machine_(machine) {}

  DaemonStatus status() override {
    const auto machine = machine_.lock();
    return machine ? machine->helper().status() : DaemonStatus::notFound;
  }
  void registerDaemon(DaemonStepEnd ended) override {
    if (const auto machine = machine_.lock()) machine->helper().registerDaemon(std::move(ended));
  }
  void unregisterDaemon(DaemonStepEnd ended) override {
    if (const auto machine = machine_.lock()) machine->helper().unregisterDaemon(std::move(ended));
  }

 private:
  std::weak_ptr<SimulatedMachine> machine_;
};

/// A daemon whose property list is not in the bundle.
class AbsentDaemonService : public DaemonService {
 public:
  explicit AbsentDaemonService(const std::string& propertyListName)
      : error_{"Unable to read plist: " + propertyListName, "SMAppServiceErrorDomain", 108} {}

  DaemonStatus status() override { return DaemonStatus::notFound; }
  void registerDaemon(DaemonStepEnd ended) override { ended(error_); }
  void unregisterDaemon(DaemonStepEnd ended) override { ended(error_); }

 private:
  const SystemError error_;
};

class SimulatedDaemonServices : public DaemonServices {
 public:
  explicit SimulatedDaemonServices(Machine machine) : machine_(std::move(machine)) {}

  std::unique_ptr<DaemonService> daemon(const std::string& propertyListName) override {
    if (propertyListName != std::string(helperService) + ".plist") {
      return std::make_unique<AbsentDaemonService>(propertyListName);
    }
    return std::make_unique<SimulatedDaemonService>(machine_);
  }

 private:
  Machine machine_;
};

using Failed = std::function<void(SystemError)>;
using Replied = std::function<void(const HelperReply&)>;

SystemError interrupted(const std::string& service) {
  return {"connection to service named " + service, std::string(errorDomain), 4097};
}

SystemError unreachable(const std::string& service) {
  return {"The connection to service named " + service +
              " was invalidated: failed at lookup with error 3 - No such process.",
          std::string(errorDomain), 4099};
}

HelperReply replyOf(HelperSelector selector, const ScenarioHelperCall& call) {
  const auto text = call.message ? std::optional<std::string_view>(*call.message) : std::nullopt;
  switch (selector) {
    case HelperSelector::createBitLocker:
    case HelperSelector::decryptBitLocker:
    case HelperSelector::changeBitLockerPassword:
    case HelperSelector::reformatNTFS:
    case HelperSelector::repairAuthorization:
    case HelperSelector::installFsPackage:
    case HelperSelector::deregisterFSKitModules:
    case HelperSelector::prepareForUninstall:
    case HelperSelector::removeLegacyInstall:
    case HelperSelector::removeFsPackage:
      return HelperVerdict{call.ok, text};
    case HelperSelector::bitLockerCreationProgress:
    case HelperSelector::bitLockerDecryptionProgress:
    case HelperSelector::reformatNTFSProgress:
      return HelperText{text};
    case HelperSelector::cancelBitLockerCreation:
    case HelperSelector::cancelBitLockerDecryption:
    case HelperSelector::formattingAvailable:
      break;
    case HelperSelector::probeDeviceOpen:
      return call.result;
  }
  return call.ok;
}

/// A value that belongs to another call.
HelperReply otherThan(const HelperReply& reply) {
  if (std::holds_alternative<HelperText>(reply)) return std::int32_t{0};
  return HelperText{};
}

void answer(const std::string& service, HelperSelector selector, const ScenarioHelperCall& call,
            const Replied& replied, const Failed& failed) {
  if (call.error) return failed({call.error->text, call.error->domain, call.error->code});
  if (call.dies) return failed(interrupted(service));
  const auto reply = replyOf(selector, call);
  if (call.misspeaks) return replied(otherThan(reply));
  replied(reply);
  if (!call.repeats) return;
  replied(reply);
  failed(interrupted(service));
}

/// Replies come also when the connection has been invalidated meanwhile: they were on their way.
class SimulatedConnection : public HelperConnection, public HelperProxy {
 public:
  SimulatedConnection(const Machine& machine, std::string service)
      : machine_(machine), service_(std::move(service)) {}

  HelperProxy* remoteObject(Failed failed) override {
    failed_ = std::move(failed);
    const auto machine = machine_.lock();
    return machine && machine->helper().conforms() ? this : nullptr;
  }

  void send(const HelperMessage& message, Replied replied) override {
    const auto machine = machine_.lock();
    if (!machine) return;
    auto& helper = machine->helper();
    auto call = helper.next(message.selector);
    if (!helper.isReachable() || service_ != helperService) {
      const auto error = unreachable(service_);
      call.error = ScenarioSystemError{error.text, error.domain, error.code};
    }
    if (call.hang) return;
    auto& clock = helper.clock();
    clock.callAt(
        clock.uptime() + uptimeOf(call.seconds),
        [service = service_, selector = message.selector, call, replied = std::move(replied),
         failed = failed_] { answer(service, selector, call, replied, failed); });
  }

  void invalidate() override {
    const auto failed = std::exchange(failed_, nullptr);
    if (failed)
      failed({"The connection to service named " + service_ + " was invalidated from this process.",
              std::string(errorDomain), 4099});
  }

 private:
  std::weak_ptr<SimulatedMachine> machine_;
  std::string service_;
  Failed failed_;
};

class SimulatedHelperTransport : public HelperTransport {
 public:
  explicit SimulatedHelperTransport(Machine machine) : machine_(std::move(machine)) {}

  std::expected<std::unique_ptr<HelperConnection>, SystemError> open(
      const std::string& machService) override {
    return std::make_unique<SimulatedConnection>(machine_, machService);
  }

 private:
  Machine machine_;
};

}  // namespace

std::unique_ptr<DaemonServices> makeDaemonServices(Machine machine) {
  return std::make_unique<SimulatedDaemonServices>(std::move(machine));
}

std::unique_ptr<HelperTransport> makeHelperTransport(Machine machine) {
  return std::make_unique<SimulatedHelperTransport>(std::move(machine));
}

}  // namespace halvercine::platform::simulated
