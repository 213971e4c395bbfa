// The files of tests/data/.
#pragma once

#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

namespace halvercine::tests {

/// The content of a file, named from tests/data/.
inline std::string testData(const std::string& name) {
  std::ifstream file(HALVERCINE_TEST_DATA "/" + name, std::ios::binary);
  if (!file) ADD_FAILURE() << "no test data " << name;
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// The block whose heading (a line that begins with "@") begins with `heading`, without it. Blocks
/// are separated by a line "%%".
inline std::string testDataBlock(const std::string& name, const std::string& heading) {
  const auto text = testData(name);
  const auto at = text.find("@ " + heading);
  if (at == std::string::npos) {
    ADD_FAILURE() << "no block " << heading << " in " << name;
    return {};
  }
  const auto begin = text.find('\n', at) + 1;
  return text.substr(begin, text.find("\n%%\n", begin) - begin);
}

}  // namespace halvercine::tests
