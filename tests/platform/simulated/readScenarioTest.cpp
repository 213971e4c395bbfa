#include <string>

#include <gtest/gtest.h>

#include "platform/simulated/Scenario.h"

namespace halvercine::platform::simulated {
namespace {

std::string messageOf(const std::string& text) {
  const auto scenario = readScenario(text);
  return scenario ? "" : scenario.error().message;
}

/// A scenario with one device, and what follows it.
std::string withDevice(const std::string& keys, const std::string& timeline = "") {
  return R"({"format": 1, "devices": [{"disk": "disk4")" + keys + "}], \"timeline\": [" + timeline +
         "]}";
}

std::string withVolume(const std::string& keys, const std::string& timeline = "") {
  return withDevice(R"(, "volumes": [{"disk": "disk4s1")" + keys + "}]", timeline);
}

TEST(ReadScenario, namesThePlaceOfEveryMistake) {
  const std::pair<std::string, std::string> cases[] = {
      {"", "not JSON: incomplete JSON at byte 0"},
      {"[]", "scenario: expected an object"},
      {"{}", "format: missing"},
      {R"({"format": 2})", "format: only format 1 is known"},
      {R"({"format": 1, "device": []})", "device: unknown key"},
      {R"({"format": 1, "system": {"macOS": "26.x"}})",
       "system.macOS: expected a version such as 26.4.0"},
      {R"({"format": 1, "system": {"now": "2026-02-30T00:00:00Z"}})",
       "system.now: expected a time such as 2026-03-14T08:15:02Z"},
      {R"({"format": 1, "devices": [{}]})", "devices[0].disk: missing"},
      {R"({"format": 1, "devices": [{"disk": "disk4s1"}]})",
       "devices[0].disk: expected a whole disk's BSD name such as disk4"},
      {withDevice(R"(, "attachment": "scsi")"),
       "devices[0].attachment: expected one of: usb, uas, nvme, sata, sd, thunderbolt, image, "
       "apfs"},
      {withDevice(R"(, "size": -1)"), "devices[0].size: must not be negative"},
      {withDevice(R"(, "size": null)"), "devices[0].size: expected an integer in range"},
      {withDevice(R"(, "blockSize": 0)"), "devices[0].blockSize: must be positive"},
      {withDevice(R"(, "chain": [{"properties": {}}])"), "devices[0].chain[0].class: missing"},
      {withDevice(R"(, "chain": [{"class": "IOUSBHostDevice", "Class": 1}])"),
       "devices[0].chain[0].Class: unknown key"},
      {withVolume(R"(}, {"disk": "disk4s1")"),
       "devices[0].volumes[1].disk: 'disk4s1' occurs twice"},
      {withVolume(R"(}, {"disk": "disk41s1")"),
       "devices[0].volumes[1].disk: expected a slice of disk4 such as disk4s1"},
      {withVolume(R"(, "entryID": 7}, {"disk": "disk4s2", "entryID": 7)"),
       "devices[0].volumes[1].entryID: occurs twice"},
      {withVolume(R"(, "uuid": "1234")"),
       "devices[0].volumes[0].uuid: expected a UUID such as 5B1C0D7E-2F64-4C0B-9A53-7E1D8C2A4F90"},
      {withVolume(R"(, "mount": {"readonly": true})"),
       "devices[0].volumes[0].mount.readonly: unknown key"},
      {withVolume(R"(, "mount": {"readOnly": 1})"),
       "devices[0].volumes[0].mount.readOnly: expected a boolean"},
      {withVolume(R"(, "mount": {"path": "Volumes/X"})"),
       "devices[0].volumes[0].mount.path: expected an absolute path"},
      {withVolume(R"(, "mount": {"path": "/X"}}, {"disk": "disk4s2", "mount": {"path": "/X"})"),
       "devices[0].volumes[1].mount.path: in use already"},
      {withVolume(R"(, "report": {"reason": "resourceReadonly"})"),
       "devices[0].volumes[0].report.reason: expected one of: readWrite, requested, "
       "deviceProtected, resourceReadOnly, unsafeVolume, openFailed, eowSafety"},
      {withVolume(R"(, "description": {"A": {"$uuid": "x"}})"),
       "devices[0].volumes[0].description.A.$uuid: expected a UUID such as "
       "5B1C0D7E-2F64-4C0B-9A53-7E1D8C2A4F90"},
      {withVolume(R"(, "registry": {"A": [1, {"B": null}]})"),
       "devices[0].volumes[0].registry.A[1].B: null has no meaning here"},
      {withVolume(R"(, "registry": {"A": {"$date": "x"}})"),
       "devices[0].volumes[0].registry.A.$date: unknown type (known: $uuid, $url, $data)"},
      {withVolume(R"(, "registry": {"A": {"$data": "abc"}})"),
       "devices[0].volumes[0].registry.A.$data: expected pairs of hexadecimal digits"},
      {withVolume(R"(, "registry": {"A": 18446744073709551615})"),
       "devices[0].volumes[0].registry.A: number out of range"},
      {withVolume(R"(, "module": {"mounts": ["readWrite", "readonly"]})"),
       "devices[0].volumes[0].module.mounts: expected one of: readWrite, requested, "
       "deviceProtected, resourceReadOnly, unsafeVolume, openFailed, eowSafety"},
      {withVolume(R"(, "module": {"mounts": []})"),
       "devices[0].volumes[0].module.mounts: must not be empty"},
      {withVolume(R"(, "module": {"diesAfter": -1})"),
       "devices[0].volumes[0].module.diesAfter: expected seconds from 0 to a year"},
      {withVolume(R"(, "bitLocker": {"guid": "../x"})"),
       "devices[0].volumes[0].bitLocker.guid: cannot be part of a file name"},
      {R"({"format": 1, "processes": [{"pid": 0, "command": "x"}]})",
       "processes[0].pid: must be positive"},
      {R"({"format": 1, "processes": [{"pid": 1, "command": "x"}, {"pid": 1, "command": "y"}]})",
       "processes[1].pid: occurs twice"},
      {R"({"format": 1, "processes": [{"pid": 1, "command": "x", "devices": ["sda"]}]})",
       "processes[0].devices[0]: expected a BSD name such as disk4s1 or rdisk4s1"},
      {R"({"format": 1, "tools": [{"tool": "mount"}]})",
       "tools[0].tool: expected one of: diskutil, lsof, osascript, fsck_halvercine, "
       "launchctl"},
      {R"({"format": 1, "application": {"permissions": [{"path": "/", "mode": "rwx"}]}})",
       "application.permissions[0].mode: expected up to four octal digits such as 755"},
      {R"({"format": 1, "helper": {"registers": [{"hang": true, "error": {}}]}})",
       "helper.registers[0]: does not answer when it hangs"},
      {R"({"format": 1, "helper": {"calls": [{"hang": true, "dies": true}]}})",
       "helper.calls[0]: can end in one way only: hang, dies, repeats, misspeaks or error"},
      {R"({"format": 1, "helper": {"calls": [{"seconds": -1}]}})",
       "helper.calls[0].seconds: expected seconds from 0 to a year"},
      {R"({"format": 1, "tools": [{"hang": true, "status": 1}]})",
       "tools[0]: can end in one way only: status, signal or hang"},
      {R"({"format": 1, "tools": [{"startError": "no", "text": "x"}]})",
       "tools[0]: does nothing after a startError"},
      {R"({"format": 1, "tools": [{"then": "maybe"}]})",
       "tools[0].then: expected one of: do, nothing"},
      {R"({"format": 1, "files": {"Library/x": null}})",
       "files['Library/x']: expected an absolute path or one below ~/"},
      {R"({"format": 1, "files": {"/a/../../b": ""}})", "files['/a/../../b']: must not hold .."},
      {R"({"format": 1, "files": {"/a": "", "/a!": "", "/a/b/c": ""}})",
       "files['/a/b/c']: is below a file"},
      {withDevice("", R"({"event": "plug", "disk": "disk4"})"), "timeline[0].at: missing"},
      {withDevice("", R"({"at": 1, "event": "unplug"})"), "timeline[0].disk: missing"},
      {withDevice("", R"({"at": 1, "event": "endProcess", "pid": 7})"),
       "timeline[0].pid: no such process runs at that time"},
      {withDevice("", R"({"at": 1, "event": "startProcess", "disk": "disk4"})"),
       "timeline[0].disk: has no meaning for this event"},
      {withDevice("", R"({"at": -1, "event": "unplug", "disk": "disk4"})"),
       "timeline[0].at: expected seconds from 0 to a year"},
      {withDevice("", R"({"at": 1, "event": "eject", "disk": "disk4"})"),
       "timeline[0].event: expected one of: plug, unplug, mount, unmount, protect, describe, "
       "report, replace, startProcess, endProcess, open, close"},
      {withDevice("", R"({"at": 1, "event": "unplug", "disk": "disk5"})"),
       "timeline[0].disk: no disk is called 'disk5'"},
      {withDevice("", R"({"at": 1, "event": "plug", "disk": "disk4"})"),
       "timeline[0].disk: disk4 is plugged in already"},
      {withVolume("", R"({"at": 1, "event": "unplug", "disk": "disk4s1"})"),
       "timeline[0].disk: expected a whole disk"},
      {withVolume("", R"({"at": 9, "event": "mount", "disk": "disk4s1"},
                         {"at": 1, "event": "unplug", "disk": "disk4"})"),
       "timeline[0].disk: disk4s1 is not plugged in at that time"},
      {withVolume("", R"({"at": 1, "event": "unmount", "disk": "disk4s1"})"),
       "timeline[0].disk: disk4s1 is not mounted"},
      {withDevice("", R"({"at": 1, "event": "unplug", "disk": "disk4", "protected": true})"),
       "timeline[0].protected: has no meaning for this event"},
      {withDevice("", R"({"at": 1, "event": "describe", "disk": "disk4"})"),
       "timeline[0]: needs a description or a registry"},
      {withDevice("", R"({"at": 1, "event": "report", "disk": "disk4"})"),
       "timeline[0]: needs either a report or \"remove\": true"},
      {withDevice("", R"({"at": 1, "event": "replace", "disk": "disk4", "device":
                          {"disk": "disk5"}})"),
       "timeline[0].device.disk: must be the disk that is replaced, disk4"},
  };
  for (const auto& [text, message] : cases) EXPECT_EQ(messageOf(text), message) << text;
}

TEST(ReadScenario, keepsTheTypesOfValues) {
  const auto scenario = readScenario(withVolume(R"(, "description": {
      "bool": true, "whole": 1, "fraction": 1.5, "text": "1", "gone": null,
      "uuid": {"$uuid": "5b1c0d7e-2f64-4c0b-9a53-7e1d8c2a4f90"}, "url": {"$url": "/Volumes/X"},
      "data": {"$data": "00ff"}, "list": [1, "2"], "dictionary": {"key": {"$url": "/"}}})"));
  ASSERT_TRUE(scenario) << scenario.error().message;
  const PropertyOverrides expected{{"bool", true},
                                   {"whole", 1},
                                   {"fraction", 1.5},
                                   {"text", "1"},
                                   {"gone", std::nullopt},
                                   {"uuid", *uuidFromText("5B1C0D7E-2F64-4C0B-9A53-7E1D8C2A4F90")},
                                   {"url", FileUrl{"/Volumes/X"}},
                                   {"data", Blob{{std::byte{0}, std::byte{0xff}}}},
                                   {"list", PropertyArray{1, "2"}},
                                   {"dictionary", PropertyDictionary{{"key", FileUrl{"/"}}}}};
  EXPECT_EQ(scenario->devices[0].volumes[0].description, expected);
}

}  // namespace
}  // namespace halvercine::platform::simulated
