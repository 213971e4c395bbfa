// A folder of its own for a test that works with real files.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <stdlib.h>
#include <string>
#include <string_view>
#include <unistd.h>

#include <gtest/gtest.h>

namespace halvercine::tests {

/// Made empty, deleted with everything in it.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "halvercine-test-XXXXXX").string();
    if (!::mkdtemp(name.data())) ADD_FAILURE() << "no temporary folder";
    path_ = name;
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }

  /// Writes a file, with the folders on the way to it, and answers where it is.
  std::filesystem::path write(const std::string& name, std::string_view content) const {
    const auto file = path_ / name;
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << content;
    return file;
  }

  std::string read(const std::string& name) const {
    std::ifstream file(path_ / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  }

  /// The names of all entries.
  std::set<std::string> names() const {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(path_)) {
      names.insert(entry.path().filename().string());
    }
    return names;
  }

 private:
  std::filesystem::path path_;
};

}  // namespace halvercine::tests
