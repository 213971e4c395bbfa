// The speed of a medium of a scenario.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <boost/describe.hpp>

#include "platform/UncachedFiles.h"

namespace halvercine::platform::simulated {

/// What an operation costs, from so many transferred bytes on.
struct ScenarioStorageStep {
  double fromGiB = 0;
  double us = 100;         ///< of every operation
  double usPerMiB = 2000;  ///< of what it transfers, besides
};
BOOST_DESCRIBE_STRUCT(ScenarioStorageStep, (), (fromGiB, us, usPerMiB))

/// How fast a medium is, and what fails on it.
struct ScenarioStorage {
  std::vector<ScenarioStorageStep> read;
  std::vector<ScenarioStorageStep> write;
  std::int64_t channels = 1;   ///< operations at the same time
  std::int64_t slowEvery = 0;  ///< each n-th operation takes longer; 0: none
  double slowUs = 0;           ///< by so much
  PageCache pageCache = PageCache::off;
  std::optional<std::string> openError;
  std::int64_t openErrors = 0;  ///< so many times; 0: always
  std::optional<std::string> readError;
  double readErrorAfterMiB = 0;
  std::optional<std::string> writeError;
  double writeErrorAfterMiB = 0;
};
BOOST_DESCRIBE_STRUCT(ScenarioStorage, (),
                      (read, write, channels, slowEvery, slowUs, pageCache, openError, openErrors,
                       readError, readErrorAfterMiB, writeError, writeErrorAfterMiB))

}  // namespace halvercine::platform::simulated
