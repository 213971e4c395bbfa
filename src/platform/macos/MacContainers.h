// The folders that macOS gives to the program.
#pragma once

#include <chrono>
#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "base/BoundedCalls.h"
#include "platform/Containers.h"

namespace halvercine::platform::macos {

/// The system may hold a program that looks into a group's container until the user has allowed it.
/// Nobody waits for that: until the folder has been seen into, there is none. Any thread.
class MacContainers : public Containers {
 public:
  std::optional<std::filesystem::path> groupContainer(const std::string& group) override;
  std::optional<std::filesystem::path> applicationSupport() override;
  std::optional<std::filesystem::path> home() override;
  std::filesystem::path systemPath(const std::filesystem::path& absolute) override {
    return absolute;
  }
  std::optional<std::filesystem::path> bundleResource(const std::string& name) override;

 private:
  std::mutex mutex_;
  std::map<std::string, std::filesystem::path> seen_;  // by group
  // Longer than for a mount: a command that ends soon has no second look.
  base::BoundedCalls<std::optional<std::filesystem::path>> looks_{std::chrono::seconds(1)};
};

}  // namespace halvercine::platform::macos
