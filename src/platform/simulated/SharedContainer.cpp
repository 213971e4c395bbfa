#include "platform/simulated/SharedContainer.h"

#include <system_error>

#include "base/PrivateFiles.h"

namespace halvercine::platform::simulated {

std::optional<std::filesystem::path> SharedContainer::path(std::string_view group) const {
  if (!isAvailable_) return std::nullopt;
  return folders_.groupContainer(group);
}

bool SharedContainer::write(const std::string& name, std::string_view text) {
  const auto folder = path();
  if (!folder || base::replacePrivateFile(*folder / name, text)) return false;
  watches_.announce(*folder);
  return true;
}

bool SharedContainer::remove(const std::string& name) {
  const auto folder = path();
  std::error_code error;
  if (!folder || !std::filesystem::remove(*folder / name, error)) return false;
  watches_.announce(*folder);
  return true;
}

}  // namespace halvercine::platform::simulated
