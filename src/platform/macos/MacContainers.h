// The folders that macOS gives to the program.
#pragma once

#include "platform/Containers.h"

namespace halvercine::platform::macos {

/// Any thread.
class MacContainers : public Containers {
 public:
  std::optional<std::filesystem::path> groupContainer(const std::string& group) override;
  std::optional<std::filesystem::path> applicationSupport() override;
  std::optional<std::filesystem::path> home() override;
  std::filesystem::path systemPath(const std::filesystem::path& absolute) override {
    return absolute;
  }
  std::optional<std::filesystem::path> bundleResource(const std::string& name) override;
};

}  // namespace halvercine::platform::macos
