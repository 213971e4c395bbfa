// The bundle of this program.
#pragma once

#include "platform/ApplicationBundle.h"

namespace halvercine::platform::macos {

/// Any thread.
class MacApplicationBundle : public ApplicationBundle {
 public:
  std::optional<std::filesystem::path> path() override;
  std::optional<std::string> info(std::string_view key) override;
  std::expected<FileFacts, std::error_code> inspect(const std::filesystem::path& path) override;
};

}  // namespace halvercine::platform::macos
