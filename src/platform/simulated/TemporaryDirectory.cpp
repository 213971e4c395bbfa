#include "platform/simulated/TemporaryDirectory.h"

#include <cstdlib>
#include <string>
#include <system_error>
#include <unistd.h>  // where macOS has mkdtemp

namespace halvercine::platform::simulated {

TemporaryDirectory::TemporaryDirectory() {
  std::error_code error;
  const auto parent = std::filesystem::temp_directory_path(error);
  if (error) return;
  std::string name = (parent / "halvercine-XXXXXX").string();
  if (::mkdtemp(name.data()) != nullptr) path_ = name;
}

TemporaryDirectory::~TemporaryDirectory() {
  std::error_code ignored;
  if (path_) std::filesystem::remove_all(*path_, ignored);
}

}  // namespace halvercine::platform::simulated
