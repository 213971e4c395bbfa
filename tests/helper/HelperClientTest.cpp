#include "helper/HelperClient.h"

#include <string>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

#include <gmock/gmock.h>

#include "helper/HelperMachine.h"

namespace halvercine::helper {
namespace {

using namespace std::chrono_literals;
using platform::HelperSelector;
using platform::SystemError;
using testing::HasSubstr;

/// Keeps what was sent last, and answers as a test says, from a thread of its own.
class RecordingTransport : public platform::HelperTransport {
 public:
  std::expected<std::unique_ptr<platform::HelperConnection>, SystemError> open(
      const std::string& machService) override {
    EXPECT_EQ(machService, "com.halvercine.app.authhelper");
    return std::make_unique<Connection>(*this);
  }

  HelperSelector selector{};
  std::string arguments;  ///< with their types
  platform::HelperReply reply;
  bool isSilent = false;
  int sent = 0;
  int invalidated = 0;

 private:
  struct Connection : platform::HelperConnection, platform::HelperProxy {
    explicit Connection(RecordingTransport& owner) : transport(owner) {}

    platform::HelperProxy* remoteObject(std::function<void(SystemError)>) override { return this; }
    void send(const platform::HelperMessage& message,
              std::function<void(const platform::HelperReply&)> replied) override {
      ++transport.sent;
      transport.selector = message.selector;
      transport.arguments.clear();
      for (const auto& argument : message.arguments) {
        transport.arguments += std::visit(Spelled(), argument) + ";";
      }
      if (!transport.isSilent) std::thread([&] { replied(transport.reply); }).join();
    }
    void invalidate() override { ++transport.invalidated; }

    RecordingTransport& transport;
  };

  struct Spelled {
    std::string operator()(std::string_view text) const { return "text " + std::string(text); }
    std::string operator()(std::uint32_t number) const { return "u32 " + std::to_string(number); }
    std::string operator()(std::uint64_t number) const { return "u64 " + std::to_string(number); }
    std::string operator()(bool value) const { return value ? "true" : "false"; }
    std::string operator()(std::span<const std::string> texts) const {
      return "list of " + std::to_string(texts.size()) + " " + texts.back();
    }
  };
};

struct RecordedMachine : tests::HelperMachine {
  RecordedMachine() : HelperMachine("") {
    auto owned = std::make_unique<RecordingTransport>();
    transport = owned.get();
    platform.helperTransport = std::move(owned);
    recorded.emplace(platform);
  }

  RecordingTransport* transport = nullptr;
  std::optional<HelperClient> recorded;
};

TEST(HelperClient, EveryMessageHasItsArgumentsInTheirOrderAndTypes) {
  using Selector = HelperSelector;
  RecordedMachine machine;
  auto& client = *machine.recorded;
  auto& transport = *machine.transport;
  const auto answer = [&](auto task, Selector selector, std::string_view arguments) {
    auto result = tests::run(machine.actor, std::move(task));
    EXPECT_EQ(transport.selector, selector) << arguments;
    EXPECT_EQ(transport.arguments, arguments);
    return std::move(result).value();
  };
  constexpr std::uint64_t medium = 0xFFFF'FFFF'0000'0001;

  transport.reply = platform::HelperVerdict{true, "123456-654321"};
  const auto created =
      answer(client.createBitLocker(std::nullopt, "/dev/disk4s1", "Dätá", base::Secret("p'w\"ü"),
                                    0x8004, medium, true),
             Selector::createBitLocker,
             "text /dev/disk4s1;text Dätá;text p'w\"ü;u32 32772;u64 18446744069414584321;true;");
  EXPECT_TRUE(created.ok);
  EXPECT_EQ(created.message.reveal(), "123456-654321");

  transport.reply = platform::HelperVerdict{false, "no"};
  const auto changed = answer(
      client.changeBitLockerPassword("/dev/disk4s1", base::Secret("old"), base::Secret("new"), 7),
      Selector::changeBitLockerPassword, "text /dev/disk4s1;text old;text new;u64 7;");
  EXPECT_FALSE(changed.ok);
  EXPECT_EQ(changed.message, "no");

  transport.reply = platform::HelperVerdict{true, std::nullopt};
  const auto decrypted = answer(client.decryptBitLocker(1h, "/dev/disk4s1", base::Secret("pw"), 7),
                                Selector::decryptBitLocker, "text /dev/disk4s1;text pw;u64 7;");
  EXPECT_TRUE(decrypted.ok);
  EXPECT_EQ(decrypted.message, "");
  answer(client.reformatNTFS(1h, "/dev/disk4s1", "New", 7, "GUID", "R1"), Selector::reformatNTFS,
         "text /dev/disk4s1;text New;u64 7;text GUID;text R1;");
  answer(client.deregisterFSKitModules({"a", "b"}), Selector::deregisterFSKitModules,
         "list of 2 b;");
  answer(client.installFsPackage("/a.plist"), Selector::installFsPackage, "text /a.plist;");
  answer(client.repairAuthorization(), Selector::repairAuthorization, "");
  answer(client.prepareForUninstall(), Selector::prepareForUninstall, "");
  answer(client.removeLegacyInstall(), Selector::removeLegacyInstall, "");
  answer(client.removeFsPackage(), Selector::removeFsPackage, "");

  transport.reply = platform::HelperText{"42"};
  EXPECT_EQ(answer(client.reformatNTFSProgress("R1"), Selector::reformatNTFSProgress, "text R1;"),
            "42");
  EXPECT_EQ(answer(client.bitLockerCreationProgress(), Selector::bitLockerCreationProgress, ""),
            "42");
  transport.reply = platform::HelperText{};
  EXPECT_EQ(answer(client.bitLockerDecryptionProgress(), Selector::bitLockerDecryptionProgress, ""),
            std::nullopt);
  transport.reply = std::int32_t{-13};
  EXPECT_EQ(
      answer(client.probeDeviceOpen("/dev/rdisk4"), Selector::probeDeviceOpen, "text /dev/rdisk4;"),
      -13);
  transport.reply = true;
  EXPECT_TRUE(answer(client.formattingAvailable(), Selector::formattingAvailable, ""));
  EXPECT_TRUE(answer(client.cancelBitLockerCreation(), Selector::cancelBitLockerCreation, ""));
  EXPECT_TRUE(answer(client.cancelBitLockerDecryption(), Selector::cancelBitLockerDecryption, ""));

  EXPECT_EQ(transport.sent, 17);
  EXPECT_EQ(transport.invalidated, 17);
}

std::string call(const std::string& members) { return R"("calls": [{)" + members + "}]"; }

TEST(HelperCalls, EndOnceAndInTime) {
  using Kind = HelperError::Kind;
  struct Case {
    std::string helper;
    std::optional<Kind> error;
    double seconds;
    std::string_view logged;
  };
  const Case cases[] = {
      {"", std::nullopt, 0.05, ""},
      {call(R"("seconds": 7.9)"), std::nullopt, 7.9, ""},
      // The reply comes when the caller has gone.
      {call(R"("seconds": 8.1)"), Kind::timedOut, 8, ""},
      {call(R"("hang": true)"), Kind::timedOut, 8, ""},
      {call(R"("repeats": true)"), std::nullopt, 0.05, ""},
      {call(R"("misspeaks": true)"), Kind::protocol, 0.05, ""},
      {R"("conforms": false)", Kind::protocol, 0, ""},
      {call(R"("dies": true)"), Kind::connection, 0.05,
       "[Helper] XPC error: connection to service named com.halvercine.app.authhelper\n"},
      {R"("reachable": false)", Kind::connection, 0.05,
       "[Helper] XPC error: The connection to service named com.halvercine.app.authhelper was "
       "invalidated: failed at lookup with error 3 - No such process.\n"},
      {R"("status": "requiresApproval")", Kind::connection, 0.05, "[Helper] XPC error: "}};
  for (const auto& [helper, error, seconds, logged] : cases) {
    tests::HelperMachine machine(helper);
    const auto begun = machine.platform.clock->uptime();
    const auto result = tests::run(machine.actor, machine.client.repairAuthorization());
    EXPECT_EQ(result ? std::nullopt : std::optional(result.error().kind), error) << helper;
    const std::chrono::duration<double> taken = machine.platform.clock->uptime() - begun;
    EXPECT_DOUBLE_EQ(taken.count(), seconds) << helper;
    machine.pass(30);  // whatever comes late
    EXPECT_THAT(machine.logged(), HasSubstr(logged));
    EXPECT_EQ(machine.logged().empty(), logged.empty()) << helper;
  }
}

TEST(HelperCalls, HaveTheirOwnLimits) {
  tests::HelperMachine machine(call(R"("hang": true)"));
  const auto secondsOf = [&machine](auto task) {
    const auto begun = machine.platform.clock->uptime();
    EXPECT_FALSE(tests::run(machine.actor, std::move(task)));
    return (machine.platform.clock->uptime() - begun) / 1s;
  };
  EXPECT_EQ(secondsOf(machine.client.formattingAvailable()), 3);
  EXPECT_EQ(secondsOf(machine.client.cancelBitLockerCreation()), 5);
  EXPECT_EQ(secondsOf(machine.client.cancelBitLockerDecryption()), 5);
  EXPECT_EQ(secondsOf(machine.client.installFsPackage("/a.plist")), 15);
  EXPECT_EQ(secondsOf(machine.client.probeDeviceOpen("/dev/disk4")), 8);
  EXPECT_EQ(secondsOf(machine.client.reformatNTFS(3600s, "/dev/disk4s1", "X", 1, "G", "R")), 3600);
}

TEST(HelperCalls, ACancelledCallEndsItsConnection) {
  RecordedMachine machine;
  machine.transport->isSilent = true;
  const auto ask = [&machine]() -> base::Task<void> {
    (void)co_await machine.recorded->repairAuthorization();
    ADD_FAILURE() << "it was resumed";
  };
  {
    base::TaskScope scope(machine.actor, *machine.platform.systemLog);
    scope.spawn("call", ask());
    machine.pass(1);
    EXPECT_EQ(machine.transport->invalidated, 0);
  }
  machine.pass(0.001);
  EXPECT_EQ(machine.transport->invalidated, 1);
}

TEST(HelperCalls, CleaningUpTellsTheLog) {
  tests::HelperMachine reachable(call(R"("message": "gone")"));
  tests::run(reachable.actor, reachable.client.removeLegacyInstall());
  tests::run(reachable.actor, reachable.client.prepareForUninstall());
  tests::run(reachable.actor, reachable.client.removeFsPackage());
  EXPECT_EQ(reachable.logged(),
            "[Helper] removeLegacyInstall: true gone\n[Helper] prepareForUninstall: true gone\n"
            "[Helper] removeFsPackage: true gone\n");
  tests::HelperMachine unreachable(R"("reachable": false)");
  tests::run(unreachable.actor, unreachable.client.removeLegacyInstall());
  EXPECT_THAT(unreachable.logged(),
              HasSubstr("[Helper] legacy install removal skipped: helper unreachable\n"));
}

}  // namespace
}  // namespace halvercine::helper
