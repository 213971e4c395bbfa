// Making the test file of a speed test.
#pragma once

#include <cstdint>
#include <expected>
#include <memory>
#include <string>

#include "base/MainActor.h"
#include "base/Task.h"
#include "platform/Platform.h"
#include "speedtest/SpeedTestFailure.h"

namespace halvercine::speedtest {

/// How a test file's name begins; a UUID follows.
inline constexpr const char* testFilePrefix = ".halvercine-speedtest.";

/// What has to stay free beside the test file.
inline constexpr std::uint64_t freeReserve = 512ULL * 1024 * 1024;

/// Deletes what killed tests have left in `folder`, looks whether a file of `fileSize` bytes leaves
/// enough space, and makes it, still empty. With a `mountedFrom` that is not empty there is no file
/// on another file system than that one: the volume may be unmounted, or another be mounted over
/// it, at any moment. Main actor.
base::Task<std::expected<std::unique_ptr<platform::UncachedFile>, SpeedTestFailure>>
prepareTestFile(base::MainActor& actor, const platform::Platform& platform, std::string folder,
                std::string mountedFrom, std::uint64_t fileSize);

}  // namespace halvercine::speedtest
