// Scenarios written in a test's own lines.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "platform/simulated/Scenario.h"

namespace halvercine::tests {

/// Devices, volumes, mounts and events one after another; each call continues the last thing that
/// was named. A device with its volumes:
///
///     ScenarioBuilder().usbDisk("disk4").ntfs("disk4s1", "DATA").mountedReadOnly()
///         .report("resourceReadOnly").build()
///
/// `device()`, `media()` and `event()` give the last one for whatever has no call of its own.
class ScenarioBuilder {
 public:
  using Attachment = platform::simulated::Attachment;
  using EventKind = platform::simulated::EventKind;

  ScenarioBuilder& disk(std::string bsdName, Attachment attachment) {
    auto& added = scenario_.devices.emplace_back();
    added.disk = std::move(bsdName);
    added.attachment = attachment;
    return *this;
  }
  ScenarioBuilder& usbDisk(std::string bsdName) {
    return disk(std::move(bsdName), Attachment::usb);
  }
  ScenarioBuilder& internalDisk(std::string bsdName) {
    return disk(std::move(bsdName), Attachment::nvme);
  }
  ScenarioBuilder& diskImage(std::string bsdName) {
    return disk(std::move(bsdName), Attachment::image);
  }
  ScenarioBuilder& unplugged() {
    device().plugged = false;
    return *this;
  }

  ScenarioBuilder& volume(std::string bsdName, std::string name, std::string kind) {
    auto& added = device().volumes.emplace_back();
    added.disk = std::move(bsdName);
    added.name = std::move(name);
    if (!kind.empty()) added.kind = std::move(kind);
    return *this;
  }
  ScenarioBuilder& ntfs(std::string bsdName, std::string name) {
    return volume(std::move(bsdName), std::move(name), "ntfs");
  }
  ScenarioBuilder& exfat(std::string bsdName, std::string name) {
    return volume(std::move(bsdName), std::move(name), "exfat");
  }

  ScenarioBuilder& mounted(platform::simulated::ScenarioMount mount = {}) {
    media().mount = std::move(mount);
    return *this;
  }
  ScenarioBuilder& mountedReadOnly() {
    media().mount.emplace().readOnly = true;
    return *this;
  }
  ScenarioBuilder& mountedAt(std::string path) {
    media().mount.emplace().path = std::move(path);
    return *this;
  }
  ScenarioBuilder& report(std::string reason, double age = 0) {
    auto& added = media().report.emplace();
    added.reason = std::move(reason);
    added.age = age;
    return *this;
  }
  ScenarioBuilder& writeProtected() {
    media().writable = false;
    return *this;
  }
  ScenarioBuilder& described(std::string key, std::optional<platform::PropertyValue> value) {
    media().description.insert_or_assign(std::move(key), std::move(value));
    return *this;
  }
  ScenarioBuilder& registered(std::string key, std::optional<platform::PropertyValue> value) {
    media().registry.insert_or_assign(std::move(key), std::move(value));
    return *this;
  }

  ScenarioBuilder& at(double seconds, EventKind kind, std::string bsdName) {
    auto& added = scenario_.timeline.emplace_back();
    added.at = seconds;
    added.event = kind;
    added.disk = std::move(bsdName);
    return *this;
  }

  platform::simulated::ScenarioSystem& system() { return scenario_.system; }
  platform::simulated::ScenarioDevice& device() { return scenario_.devices.back(); }
  platform::simulated::ScenarioMedia& media() {
    return device().volumes.empty() ? device() : device().volumes.back();
  }
  platform::simulated::ScenarioEvent& event() { return scenario_.timeline.back(); }

  platform::simulated::Scenario build() const { return scenario_; }

 private:
  platform::simulated::Scenario scenario_;
};

}  // namespace halvercine::tests
