// The program's folders by the XDG Base Directory rules.
#pragma once

#include "platform/Containers.h"

namespace halvercine::platform::gnulinux {

/// Below $XDG_DATA_HOME (~/.local/share when it is not set, or not absolute); each application
/// group has a folder in "halvercine" there, closed to other users. Any thread.
class XdgContainers : public Containers {
 public:
  std::optional<std::filesystem::path> groupContainer(const std::string& group) override;
  std::optional<std::filesystem::path> applicationSupport() override;
  std::optional<std::filesystem::path> home() override;
  std::filesystem::path systemPath(const std::filesystem::path& absolute) override {
    return absolute;
  }
  std::optional<std::filesystem::path> bundleResource(const std::string& name) override;
};

}  // namespace halvercine::platform::gnulinux
