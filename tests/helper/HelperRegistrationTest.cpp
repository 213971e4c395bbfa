#include "helper/HelperRegistration.h"

#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>

#include "helper/HelperMachine.h"

namespace halvercine::helper {
namespace {

using State = HelperState;
using tests::HelperMachine;

/// The program is version 2.1.0, build 2100. These are settings of an earlier run.
std::string settings(const std::string& members) {
  return R"("files": {"~/Library/Preferences/halvercine.json": "{)" + members + R"(}"})";
}
std::string registeredFor(const std::string& build) {
  return settings(R"(\"helperRegisteredBuild\": \")" + build + R"(\")");
}
std::string askedFor(const std::string& version) {
  return settings(R"(\"helperInstallPromptedVersion\": \")" + version + R"(\")");
}

const std::string denied = R"({"error": {}})";
const std::string submitted = "[Helper] 特权助手注册请求已提交（status=1）\n";
const std::string pending =
    "[Helper] 特权助手注册请求已提交（status=2）\n"
    "[Helper] 特权助手已登记，待系统设置批准（登录项与扩展）\n";
const std::string unreachable =
    "[Helper] XPC error: The connection to service named com.halvercine.app.authhelper was "
    "invalidated: failed at lookup with error 3 - No such process.\n";
const std::string repairing = "[Helper] status=enabled 但 XPC 端点不可达，注销重注册修复端点\n";
const std::string upgraded = "[Helper] 应用升级，特权助手已重注册换入新二进制 (build 2100)\n";

struct Case {
  std::string_view what;
  std::string helper;
  std::string rest;
  State state;
  std::vector<std::string_view> notices;
  std::string logged;
  std::string_view build;    ///< stored afterwards
  std::string_view version;  ///< likewise
};

const Case cases[] = {
    {"all is well", "", registeredFor("2100"), State::ready, {}, "", "2100", ""},
    {"enabled before builds were kept", "", "", State::ready, {}, "", "2100", ""},
    {"first start",
     R"("status": "notRegistered")",
     "",
     State::ready,
     {"ui.helper.register.submitted"},
     submitted,
     "2100",
     "2.1.0"},
    {"first start, the user has to approve",
     R"("status": "notFound", "registers": [{"status": "requiresApproval"}])",
     "",
     State::awaitingApproval,
     {"ui.helper.register.approval"},
     pending,
     "2100",
     "2.1.0"},
    {"the same, reported as an error",
     R"("status": "notFound", "registers": [{"status": "requiresApproval", "error": {}}])",
     "",
     State::awaitingApproval,
     {"ui.helper.register.approval"},
     pending,
     "2100",
     "2.1.0"},
    {"enabled meanwhile, reported as an error",
     R"("status": "notRegistered", "registers": [{"status": "enabled", "error": {}}])",
     "",
     State::ready,
     {"ui.helper.register.submitted"},
     submitted,
     "2100",
     "2.1.0"},
    {"approval is pending, and was asked for",
     R"("status": "requiresApproval", "registers": [{"error": {"text": "asked twice"}}])",
     askedFor("2.1.0"),
     State::awaitingApproval,
     {},
     "",
     "",
     "2.1.0"},
    {"approval is pending for an older version",
     R"("status": "requiresApproval", "registers": [{"status": "requiresApproval"}])",
     askedFor("2.0.0"),
     State::awaitingApproval,
     {"ui.helper.register.approval"},
     pending,
     "2100",
     "2.1.0"},
    {"asked for and then taken away",
     R"("status": "notRegistered")",
     askedFor("2.1.0"),
     State::ready,
     {"ui.helper.register.submitted"},
     submitted,
     "2100",
     "2.1.0"},
    {"refused",
     R"("status": "notRegistered", "registers": [{"error": {"code": 3, "text": "Codesigning"}}])",
     "",
     State::notRegistered,
     {"ui.helper.register.failed"},
     "[Helper] 特权助手注册失败: Codesigning (SMAppServiceErrorDomain:3)\n",
     "",
     ""},
    {"no answer",
     R"("status": "notRegistered", "registers": [{"hang": true}])",
     "",
     State::notRegistered,
     {"ui.helper.register.failed"},
     "[Helper] 特权助手注册失败: Operation timed out (NSPOSIXErrorDomain:60)\n",
     "",
     ""},
    {"done, but never told",
     R"("status": "notRegistered", "registers": [{"hang": true, "status": "enabled"}])",
     "",
     State::ready,
     {"ui.helper.register.submitted"},
     submitted,
     "2100",
     "2.1.0"},
    {"a status of the future",
     R"("status": "unknown", "registers": [{"status": "unknown"}])",
     "",
     State::unknownStatus,
     {"ui.helper.status.unknown"},
     "[Helper] 特权助手注册请求已提交（status=7）\n",
     "2100",
     "2.1.0"},
    {"upgrade", "", registeredFor("2000"), State::ready, {}, upgraded, "2100", ""},
    {"upgrade, registered too soon at first",
     R"("registers": [{"error": {}}, {"status": "enabled"}])",
     registeredFor("2000"),
     State::ready,
     {},
     upgraded,
     "2100",
     ""},
    {"upgrade, there is no registration to be ended",
     R"("status": "notRegistered", "unregisters": [{"error": {"code": 6, "text": "no job"}}])",
     registeredFor("2000"),
     State::ready,
     {},
     upgraded,
     "2100",
     ""},
    {"upgrade, the registration cannot be ended",
     R"("unregisters": [{"error": {"code": 9, "text": "stuck"}}])",
     registeredFor("2000"),
     State::ready,
     {},
     "[Helper] 升级后重注册失败: stuck\n",
     "2100",
     ""},
    {"upgrade, nobody answers",
     R"("unregisters": [{"hang": true}])",
     registeredFor("2000"),
     State::ready,
     {},
     "[Helper] 升级后重注册失败: no answer in time\n",
     "2100",
     ""},
    {"upgrade, registered only when asked again",
     R"("registers": [)" + denied + ", " + denied + ", " + denied + R"(, {"status": "enabled"}])",
     registeredFor("2000"),
     State::ready,
     {"ui.helper.register.submitted"},
     "[Helper] 升级后重注册失败: Operation not permitted\n" + submitted,
     "2100",
     "2.1.0"},
    {"enabled and unreachable",
     R"("reachable": false)",
     registeredFor("2100"),
     State::ready,
     {"ui.helper.repair.begun"},
     unreachable + repairing,
     "2100",
     ""},
    {"enabled and unreachable for good",
     R"("reachable": false, "reachableAnew": false)",
     registeredFor("2100"),
     State::unreachable,
     {"ui.helper.repair.begun"},
     unreachable + repairing + unreachable,
     "2100",
     ""},
    {"unreachable, and not to be registered anew",
     R"("reachable": false, "registers": [{"error": {"code": 3, "text": "Codesigning"}}])",
     registeredFor("2100"),
     State::notRegistered,
     {"ui.helper.repair.begun"},
     unreachable + repairing + "[Helper] 端点修复重注册失败: Codesigning\n",
     "2100",
     ""},
    {"what was registered just now is not registered again",
     R"("status": "notRegistered", "reachable": false, "reachableAnew": false)",
     "",
     State::unreachable,
     {"ui.helper.register.submitted"},
     submitted + unreachable,
     "2100",
     "2.1.0"},
    {"a helper that is busy is left alone",
     R"("calls": [{"hang": true}])",
     registeredFor("2100"),
     State::notAnswering,
     {},
     "",
     "2100",
     ""},
    {"a helper that has died is started again by the system",
     R"("calls": [{"dies": true}])",
     registeredFor("2100"),
     State::notAnswering,
     {},
     "[Helper] XPC error: connection to service named com.halvercine.app.authhelper\n",
     "2100",
     ""},
    {"the way to it is barred by this program's own sandbox",
     R"("calls": [{"error": {"domain": "NSCocoaErrorDomain", "code": 4099,
         "text": "failed at lookup with error 159 - Sandbox restriction"}}])",
     registeredFor("2100"),
     State::notAnswering,
     {},
     "[Helper] XPC error: failed at lookup with error 159 - Sandbox restriction\n",
     "2100",
     ""},
    {"installed by the administrator",
     R"("status": "notRegistered")",
     R"("files": {"/Library/LaunchDaemons/com.halvercine.app.authhelper.plist": "x",
         "~/Library/Preferences/halvercine.json": "{\"helperRegisteredBuild\": \"2000\"}"})",
     State::installedByScript,
     {},
     "",
     "2000",
     ""},
};

TEST(HelperRegistration, EveryPath) {
  for (const auto& expected : cases) {
    SCOPED_TRACE(expected.what);
    HelperMachine machine(expected.helper, expected.rest);
    const auto outcome = tests::run(machine.actor, machine.registration.ensure());
    EXPECT_EQ(outcome.state, expected.state);
    std::vector<std::string_view> notices;
    for (const auto& notice : outcome.notices) notices.push_back(notice.key);
    EXPECT_EQ(notices, expected.notices);
    EXPECT_EQ(machine.logged(), expected.logged);
    EXPECT_EQ(machine.setting("helperRegisteredBuild"), expected.build);
    EXPECT_EQ(machine.setting("helperInstallPromptedVersion"), expected.version);
  }
}

TEST(HelperRegistration, ASecondStartOfTheSameVersionAsksNothing) {
  const std::string helpers[] = {
      R"("status": "notFound", "registers": [{"status": "requiresApproval"}])", ""};
  for (const auto& helper : helpers) {
    HelperMachine machine(helper, registeredFor("2000"));
    const auto first = tests::run(machine.actor, machine.registration.ensure());
    const auto logged = machine.logged();
    EXPECT_NE(logged, "");
    const auto second = tests::run(machine.actor, machine.registration.ensure());
    EXPECT_EQ(second.state, first.state);
    EXPECT_TRUE(second.notices.empty());
    EXPECT_EQ(machine.logged(), logged);
  }
}

TEST(HelperRegistration, Unregistering) {
  struct Unregistration {
    std::string helper;
    State state;
    std::string_view logged;
  };
  const Unregistration unregistrations[] = {
      {"", State::notRegistered, "[Helper] 特权助手已注销\n"},
      {R"("unregisters": [{"error": {"text": "stuck"}}])", State::ready,
       "[Helper] 注销失败: stuck\n"},
      {R"("unregisters": [{"hang": true}])", State::ready,
       "[Helper] 注销失败: Operation timed out\n"},
      {R"("reachable": false)", State::notRegistered,
       "[Helper] legacy install removal skipped: helper unreachable\n"}};
  for (const auto& [helper, state, logged] : unregistrations) {
    HelperMachine machine(helper);
    EXPECT_EQ(tests::run(machine.actor, machine.registration.unregister()).state, state);
    EXPECT_THAT(machine.logged(), testing::HasSubstr(logged));
  }
  HelperMachine machine(R"("status": "notRegistered")");
  EXPECT_EQ(tests::run(machine.actor, machine.registration.unregister()).state,
            State::notRegistered);
  EXPECT_EQ(machine.logged(), "");
}

}  // namespace
}  // namespace halvercine::helper
