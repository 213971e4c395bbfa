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

/// Keeps what was sent, and answers as a test says, from a thread of its own.
class RecordingTransport : public platform::HelperTransport {
 public:
  struct Sent {
    HelperSelector selector;
    std::vector<std::string> arguments;
  };

  std::expected<std::unique_ptr<platform::HelperConnection>, SystemError> open(
      const std::string& machService) override {
    service = machService;
    return std::make_unique<Connection>(*this);
  }

  std::string service;
  std::vector<Sent> sent;
  platform::HelperReply reply;
  bool isSilent = false;
  int invalidated = 0;

 private:
  class Connection : public platform::HelperConnection, public platform::HelperProxy {
   public:
    explicit Connection(RecordingTransport& transport) : transport_(transport) {}

    platform::HelperProxy* remoteObject(std::function<void(SystemError)>) override { return this; }
    void send(const platform::HelperMessage& message,
              std::function<void(const platform::HelperReply&)> replied) override {
      auto& noted = transport_.sent.emplace_back(Sent{message.selector, {}});
      for (const auto& argument : message.arguments) {
        noted.arguments.push_back(std::visit(Spelled(), argument));
      }
      if (!transport_.isSilent) std::thread([&] { replied(transport_.reply); }).join();
    }
    void invalidate() override { ++transport_.invalidated; }

   private:
    struct Spelled {
      std::string operator()(std::string_view text) const { return "text " + std::string(text); }
      std::string operator()(std::uint32_t number) const { return "u32 " + std::to_string(number); }
      std::string operator()(std::uint64_t number) const { return "u64 " + std::to_string(number); }
      std::string operator()(bool value) const { return value ? "true" : "false"; }
      std::string operator()(std::span<const std::string> texts) const {
        return "list of " + std::to_string(texts.size()) + " " + texts.back();
      }
    };
    RecordingTransport& transport_;
  };
};

TEST(HelperClient, EveryMessageHasItsArgumentsInTheirOrderAndTypes) {
  tests::HelperMachine machine("");
  auto owned = std::make_unique<RecordingTransport>();
  auto* const transport = owned.get();
  machine.platform.helperTransport = std::move(owned);
  HelperClient client(machine.platform);
  const auto last = [transport] { return transport->sent.back(); };
  const auto run = [&machine](auto task) { return tests::run(machine.actor, std::move(task)); };
  using Arguments = std::vector<std::string>;
  constexpr std::uint64_t medium = 0xFFFF'FFFF'0000'0001;

  transport->reply = platform::HelperVerdict{true, "123456-654321"};
  auto created = run(client.createBitLocker(std::nullopt, "/dev/disk4s1", "Dätá",
                                            base::Secret("p'w\"ü"), 0x8004, medium, true));
  EXPECT_EQ(last().selector, HelperSelector::createBitLocker);
  EXPECT_EQ(last().arguments, (Arguments{"text /dev/disk4s1", "text Dätá", "text p'w\"ü",
                                         "u32 32772", "u64 18446744069414584321", "true"}));
  ASSERT_TRUE(created);
  EXPECT_TRUE(created->ok);
  EXPECT_EQ(created->message.reveal(), "123456-654321");

  transport->reply = platform::HelperVerdict{false, "no"};
  const auto changed = run(
      client.changeBitLockerPassword("/dev/disk4s1", base::Secret("old"), base::Secret("new"), 7));
  EXPECT_EQ(last().arguments, (Arguments{"text /dev/disk4s1", "text old", "text new", "u64 7"}));
  ASSERT_TRUE(changed);
  EXPECT_FALSE(changed->ok);
  EXPECT_EQ(changed->message, "no");

  transport->reply = platform::HelperVerdict{true, std::nullopt};
  EXPECT_EQ(run(client.decryptBitLocker(1h, "/dev/disk4s1", base::Secret("pw"), 7))->message, "");
  EXPECT_EQ(last().arguments, (Arguments{"text /dev/disk4s1", "text pw", "u64 7"}));
  EXPECT_TRUE(run(client.reformatNTFS(1h, "/dev/disk4s1", "New", 7, "GUID", "R1"))->ok);
  EXPECT_EQ(last().arguments,
            (Arguments{"text /dev/disk4s1", "text New", "u64 7", "text GUID", "text R1"}));
  EXPECT_TRUE(run(client.deregisterFSKitModules({"a", "b"}))->ok);
  EXPECT_EQ(last().arguments, (Arguments{"list of 2 b"}));
  EXPECT_TRUE(run(client.installFsPackage("/a.plist"))->ok);
  EXPECT_EQ(last().arguments, (Arguments{"text /a.plist"}));
  EXPECT_TRUE(run(client.repairAuthorization())->ok);
  EXPECT_EQ(last().selector, HelperSelector::repairAuthorization);
  EXPECT_TRUE(run(client.prepareForUninstall())->ok);
  EXPECT_EQ(last().selector, HelperSelector::prepareForUninstall);
  EXPECT_TRUE(run(client.removeLegacyInstall())->ok);
  EXPECT_EQ(last().selector, HelperSelector::removeLegacyInstall);
  EXPECT_TRUE(run(client.removeFsPackage())->ok);
  EXPECT_EQ(last().selector, HelperSelector::removeFsPackage);

  transport->reply = platform::HelperText{"42"};
  EXPECT_EQ(run(client.reformatNTFSProgress("R1")).value(), "42");
  EXPECT_EQ(last().arguments, (Arguments{"text R1"}));
  EXPECT_EQ(run(client.bitLockerCreationProgress()).value(), "42");
  EXPECT_EQ(last().selector, HelperSelector::bitLockerCreationProgress);
  transport->reply = platform::HelperText{};
  EXPECT_EQ(run(client.bitLockerDecryptionProgress()).value(), std::nullopt);
  EXPECT_EQ(last().selector, HelperSelector::bitLockerDecryptionProgress);

  transport->reply = std::int32_t{-13};
  EXPECT_EQ(run(client.probeDeviceOpen("/dev/rdisk4")).value(), -13);
  EXPECT_EQ(last().arguments, (Arguments{"text /dev/rdisk4"}));

  transport->reply = true;
  EXPECT_TRUE(run(client.formattingAvailable()).value());
  EXPECT_EQ(last().selector, HelperSelector::formattingAvailable);
  EXPECT_TRUE(run(client.cancelBitLockerCreation()).value());
  EXPECT_EQ(last().selector, HelperSelector::cancelBitLockerCreation);
  EXPECT_TRUE(run(client.cancelBitLockerDecryption()).value());
  EXPECT_EQ(last().selector, HelperSelector::cancelBitLockerDecryption);
  EXPECT_TRUE(last().arguments.empty());

  EXPECT_EQ(transport->service, "com.halvercine.app.authhelper");
  EXPECT_EQ(transport->invalidated, static_cast<int>(transport->sent.size()));
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
  tests::HelperMachine machine("");
  auto owned = std::make_unique<RecordingTransport>();
  auto* const transport = owned.get();
  transport->isSilent = true;
  machine.platform.helperTransport = std::move(owned);
  HelperClient client(machine.platform);
  const auto ask = [&client]() -> base::Task<void> {
    (void)co_await client.repairAuthorization();
    ADD_FAILURE() << "it was resumed";
  };
  {
    base::TaskScope scope(machine.actor, *machine.platform.systemLog);
    scope.spawn("call", ask());
    machine.pass(1);
    EXPECT_EQ(transport->invalidated, 0);
  }
  machine.pass(0.001);
  EXPECT_EQ(transport->invalidated, 1);
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
