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

const std::string codesigning = R"("registers": [{"error": {"code": 3, "text": "Codesigning"}}])";
const std::string submitted = "[Helper] 特权助手注册请求已提交（status=1）\n";
const std::string pending =
    "[Helper] 特权助手注册请求已提交（status=2）\n"
    "[Helper] 特权助手已登记，待系统设置批准（登录项与扩展）\n";
const std::string unreachable =
    "[Helper] XPC error: The connection to service named com.halvercine.app.authhelper was "
    "invalidated: failed at lookup with error 3 - No such process.\n";
const std::string repairing = "[Helper] status=enabled 但 XPC 端点不可达，注销重注册修复端点\n";
const std::string upgraded = "[Helper] 应用升级，特权助手已重注册换入新二进制 (build 2100)\n";
const std::string notUpgraded = "[Helper] 升级后重注册失败: ";

constexpr std::string_view buildKey = "helperRegisteredBuild";
constexpr std::string_view versionKey = "helperInstallPromptedVersion";

void keep(HelperMachine& machine, std::string_view key, std::string_view value) {
  if (!value.empty()) machine.platform.userDefaults->setValue(key, std::string(value));
}

/// The program is version 2.1.0, build 2100. What an earlier run has kept, and what is kept then:
/// the build that was registered last, and the version that the user was asked for.
struct Case {
  std::string_view what;
  std::string_view buildBefore;
  std::string_view versionBefore;
  std::string helper;
  State state;
  std::string_view notice;
  std::string logged;
  std::string_view build;
  std::string_view version;
};

const Case cases[] = {
    {"all is well", "2100", "", "", State::ready, "", "", "2100", ""},
    {"enabled before builds were kept", "", "", "", State::ready, "", "", "2100", ""},
    {"first start", "", "", R"("status": "notRegistered")", State::ready,
     "ui.helper.register.submitted", submitted, "2100", "2.1.0"},
    {"first start, the user has to approve", "", "",
     R"("status": "notFound", "registers": [{"status": "requiresApproval"}])",
     State::awaitingApproval, "ui.helper.register.approval", pending, "2100", "2.1.0"},
    {"the same, reported as an error", "", "",
     R"("status": "notFound", "registers": [{"status": "requiresApproval", "error": {}}])",
     State::awaitingApproval, "ui.helper.register.approval", pending, "2100", "2.1.0"},
    {"approval is pending, and was asked for", "", "2.1.0",
     R"("status": "requiresApproval", "registers": [{"error": {"text": "asked twice"}}])",
     State::awaitingApproval, "", "", "", "2.1.0"},
    {"approval is pending for an older version", "", "2.0.0",
     R"("status": "requiresApproval", "registers": [{"status": "requiresApproval"}])",
     State::awaitingApproval, "ui.helper.register.approval", pending, "2100", "2.1.0"},
    {"asked for and then taken away", "", "2.1.0", R"("status": "notRegistered")", State::ready,
     "ui.helper.register.submitted", submitted, "2100", "2.1.0"},
    {"refused", "", "", R"("status": "notRegistered", )" + codesigning, State::notRegistered,
     "ui.helper.register.failed",
     "[Helper] 特权助手注册失败: Codesigning (SMAppServiceErrorDomain:3)\n", "", ""},
    {"no answer", "", "", R"("status": "notRegistered", "registers": [{"hang": true}])",
     State::notRegistered, "ui.helper.register.failed",
     "[Helper] 特权助手注册失败: Operation timed out (NSPOSIXErrorDomain:60)\n", "", ""},
    {"done, but never told", "", "",
     R"("status": "notRegistered", "registers": [{"hang": true, "status": "enabled"}])",
     State::ready, "ui.helper.register.submitted", submitted, "2100", "2.1.0"},
    {"a status of the future", "", "",
     R"("status": "unknown", "registers": [{"status": "unknown"}])", State::unknownStatus,
     "ui.helper.status.unknown", "[Helper] 特权助手注册请求已提交（status=7）\n", "2100", "2.1.0"},
    {"upgrade", "2000", "", "", State::ready, "", upgraded, "2100", ""},
    {"upgrade, there is no registration to be ended", "2000", "",
     R"("status": "notRegistered", "unregisters": [{"error": {"code": 6, "text": "no job"}}])",
     State::ready, "", upgraded, "2100", ""},
    {"upgrade, the registration cannot be ended", "2000", "",
     R"("unregisters": [{"error": {"code": 9, "text": "stuck"}}])", State::ready, "",
     notUpgraded + "stuck\n", "2100", ""},
    {"upgrade, nobody answers", "2000", "", R"("unregisters": [{"hang": true}])", State::ready, "",
     notUpgraded + "no answer in time\n", "2100", ""},
    {"upgrade, registered only when asked again", "2000", "",
     R"("registers": [{"error": {}}, {"error": {}}, {"error": {}}, {"status": "enabled"}])",
     State::ready, "ui.helper.register.submitted",
     notUpgraded + "Operation not permitted\n" + submitted, "2100", "2.1.0"},
    {"enabled and unreachable", "2100", "", R"("reachable": false)", State::ready,
     "ui.helper.repair.begun", unreachable + repairing, "2100", ""},
    {"enabled and unreachable for good", "2100", "",
     R"("reachable": false, "reachableAnew": false)", State::unreachable, "ui.helper.repair.begun",
     unreachable + repairing + unreachable, "2100", ""},
    {"unreachable, and not to be registered anew", "2100", "",
     R"("reachable": false, )" + codesigning, State::notRegistered, "ui.helper.repair.begun",
     unreachable + repairing + "[Helper] 端点修复重注册失败: Codesigning\n", "2100", ""},
    {"what was registered just now is not registered again", "", "",
     R"("status": "notRegistered", "reachable": false, "reachableAnew": false)", State::unreachable,
     "ui.helper.register.submitted", submitted + unreachable, "2100", "2.1.0"},
    {"a helper that is busy is left alone", "2100", "", R"("calls": [{"hang": true}])",
     State::notAnswering, "", "", "2100", ""},
    {"a helper that has died is started again by the system", "2100", "",
     R"("calls": [{"dies": true}])", State::notAnswering, "",
     "[Helper] XPC error: connection to service named com.halvercine.app.authhelper\n", "2100", ""},
    {"the way to it is barred by this program's own sandbox", "2100", "",
     R"("calls": [{"error": {"domain": "NSCocoaErrorDomain", "code": 4099,
         "text": "failed at lookup with error 159 - Sandbox restriction"}}])",
     State::notAnswering, "",
     "[Helper] XPC error: failed at lookup with error 159 - Sandbox restriction\n", "2100", ""},
};

TEST(HelperRegistration, EveryPath) {
  for (const auto& expected : cases) {
    SCOPED_TRACE(expected.what);
    HelperMachine machine(expected.helper);
    keep(machine, buildKey, expected.buildBefore);
    keep(machine, versionKey, expected.versionBefore);
    const auto outcome = tests::run(machine.actor, machine.registration.ensure());
    EXPECT_EQ(outcome.state, expected.state);
    EXPECT_EQ(outcome.notices.size(), expected.notice.empty() ? 0u : 1u);
    for (const auto& notice : outcome.notices) EXPECT_EQ(notice.key, expected.notice);
    EXPECT_EQ(machine.logged(), expected.logged);
    EXPECT_EQ(machine.setting(std::string(buildKey)), expected.build);
    EXPECT_EQ(machine.setting(std::string(versionKey)), expected.version);
  }
}

TEST(HelperRegistration, WhatTheAdministratorInstalledIsLeftAlone) {
  HelperMachine machine(R"("status": "notRegistered")",
                        R"("files": {")" + std::string(oneClickPropertyList) + R"(": "x"})");
  keep(machine, buildKey, "2000");
  const auto outcome = tests::run(machine.actor, machine.registration.ensure());
  EXPECT_EQ(outcome.state, State::installedByScript);
  EXPECT_TRUE(outcome.notices.empty());
  EXPECT_EQ(machine.logged(), "");
  EXPECT_EQ(machine.setting(std::string(buildKey)), "2000");
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
