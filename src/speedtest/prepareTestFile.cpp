#include "speedtest/prepareTestFile.h"

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

// A disk that has to spin up, or a busy file-system server, tells its free space in the end.
constexpr std::chrono::seconds betweenLooks{1};
constexpr int mostLooks = 10;

/// Bytes that can be written; nothing when nobody tells.
std::optional<std::uint64_t> freeSpace(platform::FileSystems& fileSystems,
                                       const std::string& folder) {
  const auto statistics = fileSystems.statistics(folder);
  if (statistics && statistics->blockSize != 0) {
    return statistics->availableBlocks * statistics->blockSize;
  }
  const auto capacity = fileSystems.resourceValues(folder).availableCapacityForImportantUsage;
  if (capacity.value_or(0) <= 0) return std::nullopt;
  return static_cast<std::uint64_t>(*capacity);
}

bool isWorthAnotherAttempt(int error) {
  return error == EPERM || error == EACCES || error == EROFS;
}

base::Task<Created> create(base::MainActor& actor, const platform::Platform& platform,
                           std::string folder, std::string mountedFrom) {
  auto work = [&files = *platform.uncachedFiles, &fileSystems = *platform.fileSystems, folder,
               mountedFrom]() -> Created {
    const auto suffix = boost::uuids::to_string(boost::uuids::random_generator()());
    auto file = files.create(folder, testFilePrefix + base::asciiUppered(suffix));
    if (!file || mountedFrom.empty()) return file;
    // Asked behind the creation: whatever was there before may have gone.
    const auto statistics = fileSystems.statistics(folder);
    if (statistics && statistics->mountedFrom != mountedFrom) return std::unexpected(ENXIO);
    return file;
  };
  co_return co_await base::runInBackground(actor, work);
}

base::Task<std::optional<std::uint64_t>> findFreeSpace(base::MainActor& actor,
                                                       const platform::Platform& platform,
                                                       std::string folder) {
  const auto look = [&fileSystems = *platform.fileSystems, folder] {
    return freeSpace(fileSystems, folder);
  };
  auto free = co_await base::runInBackground(actor, look);
  for (int looks = 1; !free && looks < mostLooks; ++looks) {
    co_await base::sleepFor(*platform.clock, betweenLooks);
    free = co_await base::runInBackground(actor, look);
  }
  co_return free;
}

}  // namespace

base::Task<std::expected<std::unique_ptr<platform::UncachedFile>, SpeedTestFailure>>
prepareTestFile(base::MainActor& actor, const platform::Platform& platform, std::string folder,
                std::string mountedFrom, std::uint64_t fileSize) {
  const auto cleanUp = [&files = *platform.uncachedFiles, folder] {
    files.removeAbandoned(folder, testFilePrefix);  // their space counts
  };
  co_await base::runInBackground(actor, cleanUp);
  const auto free = co_await findFreeSpace(actor, platform, folder);
  if (!free) co_return std::unexpected(SpeedTestFailure::generic());
  if (*free < freeReserve || *free - freeReserve < fileSize) {
    co_return std::unexpected(SpeedTestFailure::insufficientFree());
  }
  auto created = co_await create(actor, platform, folder, mountedFrom);
  if (!created && isWorthAnotherAttempt(created.error())) {
    co_await base::sleepFor(*platform.clock, beforeSecondAttempt);
    created = co_await create(actor, platform, folder, mountedFrom);
  }
  if (!created) co_return std::unexpected(SpeedTestFailure::openFailed(created.error()));
  co_return std::move(*created);
}

}  // namespace halvercine::speedtest
