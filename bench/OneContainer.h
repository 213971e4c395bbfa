// The folders of a program that has one.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "platform/Containers.h"

namespace halvercine::bench {

struct OneContainer : platform::Containers {
  std::optional<std::filesystem::path> groupContainer(const std::string&) override { return path; }
  std::optional<std::filesystem::path> applicationSupport() override { return path; }
  std::optional<std::filesystem::path> home() override { return {}; }
  std::filesystem::path systemPath(const std::filesystem::path& absolute) override {
    return absolute;
  }
  std::optional<std::filesystem::path> bundleResource(const std::string&) override { return {}; }

  std::filesystem::path path;
};

}  // namespace halvercine::bench
