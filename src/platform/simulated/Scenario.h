// A simulated Mac as a scenario describes it: docs/simulation.md explains every key.
//
// The members are the JSON keys, here and in the headers of the parts, except `className` ("class")
// and `isProtected` ("protected"). An absent optional stands for the default that
// docs/simulation.md gives. Where a value is optional twice, the inner one is absent when the
// system is to give no such value (JSON null).
#pragma once

#include <expected>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <boost/describe.hpp>

#include "platform/simulated/ScenarioDevice.h"
#include "platform/simulated/ScenarioEvent.h"
#include "platform/simulated/ScenarioHelper.h"
#include "platform/simulated/ScenarioProcess.h"

namespace halvercine::platform::simulated {

struct ScenarioSystem {
  std::string macOS = "26.4.0";
  std::string bootSession = "5B1C0D7E-2F64-4C0B-9A53-7E1D8C2A4F90";
  std::string now = "2026-03-14T08:15:02Z";  ///< where virtual time starts
  bool diskArbitration = true;               ///< whether sessions can be made
  bool groupContainer = true;                ///< whether the shared container can be had
  bool checkTool = true;                     ///< whether the program comes with its check tool
  bool keychain = true;                      ///< whether the keychain works
  bool onBattery = false;
  std::string thermal = "nominal";
};
BOOST_DESCRIBE_STRUCT(ScenarioSystem, (),
                      (macOS, bootSession, now, diskArbitration, groupContainer, checkTool,
                       keychain, onBattery, thermal))

/// An item of the keychain.
struct ScenarioSecret {
  static constexpr std::string_view requiredKeys[] = {"account", "value"};

  std::string service = "com.halvercine.bitlocker";
  std::string account;
  std::string value;
};
BOOST_DESCRIBE_STRUCT(ScenarioSecret, (), (service, account, value))

/// Files and (without a text) folders, by absolute path or below "~/".
using ScenarioFiles = std::map<std::string, std::optional<std::string>>;

struct Scenario {
  static constexpr std::string_view requiredKeys[] = {"format"};

  int format = 1;
  std::string description;
  ScenarioSystem system;
  ScenarioApplication application;
  ScenarioHelper helper;
  std::vector<ScenarioDevice> devices;
  std::vector<ScenarioProcess> processes;
  std::vector<ScenarioTool> tools;
  ScenarioFiles files;
  std::vector<ScenarioSecret> keychain;
  std::vector<ScenarioEvent> timeline;
};
BOOST_DESCRIBE_STRUCT(Scenario, (),
                      (format, description, system, application, helper, devices, processes, tools,
                       files, keychain, timeline))

/// What is wrong with a scenario, in English, beginning with the place ("devices[1].volumes[0].…").
/// It may quote the scenario's own text: clean it for display.
struct ScenarioError {
  std::string message;
};

/// Reads a scenario's JSON text. Everything that would have no effect or could not happen is an
/// error: unknown keys, wrong types, BSD names that occur twice or do not belong to their device,
/// events that meet a disk in the wrong state. Any text may be given.
std::expected<Scenario, ScenarioError> readScenario(std::string_view text);

/// What is wrong with the values of a scenario that has the right shape, if anything.
/// `readScenario` has looked already; for scenarios made otherwise.
std::optional<ScenarioError> findScenarioFault(const Scenario& scenario);

}  // namespace halvercine::platform::simulated
