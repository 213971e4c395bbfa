// An operation log in a folder of its own.
#pragma once

#include <chrono>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "base/VirtualClock.h"
#include "operations/OperationLog.h"
#include "operations/logLines.h"
#include "support/FolderContainers.h"
#include "support/TemporaryFolder.h"
#include "support/modeOf.h"

namespace halvercine::tests {

struct OperationLogFixture : testing::Test {
  /// The process that the test stands for, or another one. It does not wait for locks.
  operations::OperationLog open() { return {containers, clock, std::chrono::milliseconds(0)}; }

  static std::string line(int number, std::string_view message) {
    return fmt::format(
        R"({{"id":"4967D63B-2E29-4AD8-8399-{:012}","time":{},"category":"check","message":"{}"}})",
        number, number, message);
  }
  static std::string lines(int count) {
    std::string text;
    for (int number = 1; number <= count; ++number) {
      text += line(number, std::to_string(number)) + '\n';
    }
    return text;
  }

  std::filesystem::path write(std::string_view text) { return folder.write(fileName, text); }
  std::string text() const { return folder.read(fileName); }

  /// What the file holds, oldest first.
  std::vector<std::string> stored() const {
    return messages(operations::decodeLines(text(), 100'000));
  }

  static std::vector<std::string> messages(const operations::OperationLog& log) {
    return messages(log.entries());
  }
  static std::vector<std::string> messages(const auto& entries) {
    std::vector<std::string> messages;
    for (const auto& entry : entries) messages.push_back(entry.message);
    return messages;
  }

  static constexpr const char* fileName = "Halvercine/operation-log.jsonl";
  TemporaryFolder folder;
  FolderContainers containers{folder.path()};
  base::VirtualClock clock{platform::WallTime(std::chrono::seconds(1'772'355'900))};
  const std::filesystem::path path = folder.path() / fileName;
};

}  // namespace halvercine::tests
