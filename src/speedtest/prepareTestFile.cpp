#include "speedtest/prepareTestFile.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

#include "base/Text.h"
#include "base/runInBackground.h"
#include "base/sleepFor.h"

namespace halvercine::speedtest {
namespace {

// Rights can change the moment a volume has been mounted anew.
constexpr std::chrono::milliseconds beforeSecondAttempt{250};

using Created = std::expected<std::unique_ptr<platform::UncachedFile>, int>;

/// Bytes that can be written; nothing when nobody tells.
std::optional<std::uint64_t> freeSpace(platform::FileSystems& fileSystems,
                                       const std::string& folder) {
  if (const auto statistics = fileSystems.statistics(folder)) {
    return statistics->availableBlocks * statistics->blockSize;
  }
  const auto values = fileSystems.resourceValues(folder);
  if (!values.availableCapacityForImportantUsage) return std::nullopt;
  return static_cast<std::uint64_t>(
      std::max<std::int64_t>(*values.availableCapacityForImportantUsage, 0));
}

bool isWorthAnotherAttempt(int error) {
  return error == EPERM || error == EACCES || error == EROFS;
}

base::Task<Created> create(base::MainActor& actor, platform::UncachedFiles& files,
                           std::string folder) {
  auto work = [&files, folder] {
    const auto suffix = boost::uuids::to_string(boost::uuids::random_generator()());
    return files.create(folder, testFilePrefix + base::asciiUppered(suffix));
  };
  co_return co_await base::runInBackground(actor, work);
}

}  // namespace

base::Task<std::expected<std::unique_ptr<platform::UncachedFile>, SpeedTestFailure>>
prepareTestFile(base::MainActor& actor, const platform::Platform& platform, std::string folder,
                std::uint64_t fileSize) {
  auto& files = *platform.uncachedFiles;
  auto look = [&files, &fileSystems = *platform.fileSystems, folder] {
    files.removeAbandoned(folder, testFilePrefix);  // their space counts
    return freeSpace(fileSystems, folder);
  };
  const auto free = co_await base::runInBackground(actor, look);
  if (!free || *free < freeReserve || *free - freeReserve < fileSize) {
    co_return std::unexpected(SpeedTestFailure::insufficientFree());
  }
  auto created = co_await create(actor, files, folder);
  if (!created && isWorthAnotherAttempt(created.error())) {
    co_await base::sleepFor(*platform.clock, beforeSecondAttempt);
    created = co_await create(actor, files, folder);
  }
  if (!created) co_return std::unexpected(SpeedTestFailure::openFailed(created.error()));
  co_return std::move(*created);
}

}  // namespace halvercine::speedtest
