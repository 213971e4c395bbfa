// The system's folders inside one folder of a test.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <utility>

#include "platform/Containers.h"

namespace halvercine::tests {

struct FolderContainers : platform::Containers {
  explicit FolderContainers(std::filesystem::path root) : folder(std::move(root)) {}

  std::optional<std::filesystem::path> groupContainer(const std::string&) override {
    return folder;
  }
  std::optional<std::filesystem::path> applicationSupport() override { return folder; }
  std::optional<std::filesystem::path> home() override { return systemPath("/Users/somebody"); }
  std::filesystem::path systemPath(const std::filesystem::path& absolute) override {
    return folder.value_or("/nowhere") / absolute.relative_path();
  }
  std::optional<std::filesystem::path> bundleResource(const std::string&) override {
    return resource;
  }

  std::optional<std::filesystem::path> folder;    ///< nothing: there is no container
  std::optional<std::filesystem::path> resource;  ///< every file that comes with the program
};

}  // namespace halvercine::tests
