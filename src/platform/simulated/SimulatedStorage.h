// Temporary files on the volumes of the simulated Mac, and the time that their media take.
#pragma once

#include <cstdint>
#include <expected>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>

#include "platform/Clock.h"
#include "platform/UncachedFiles.h"
#include "platform/simulated/Scenario.h"

namespace halvercine::platform::simulated {

class SimulatedMachine;

/// The files have no content. Any thread.
class SimulatedStorage : public std::enable_shared_from_this<SimulatedStorage> {
 public:
  enum class Direction { read, write };

  SimulatedStorage(const SimulatedMachine& machine, std::shared_ptr<Clock> clock)
      : machine_(machine), clock_(std::move(clock)) {}

  /// As the port says.
  std::expected<std::unique_ptr<UncachedFile>, int> create(const std::string& folder,
                                                           const std::string& name);

  /// The paths of the files that are there.
  std::set<std::string> files() const;

 private:
  class File;

  /// What a medium has done since it was plugged in.
  struct Medium {
    std::uint64_t bytes[2] = {};  // by direction
    std::uint64_t operations = 0;
    std::int64_t openErrors = 0;
    std::multiset<Uptime> busyUntil;  // its channels
  };

  /// When an operation that begins now ends, or the error that it ends with at once.
  std::expected<Uptime, int> schedule(const File& file, Direction direction, std::size_t size);
  std::int64_t transfer(const File& file, Direction direction, std::size_t size);
  int remove(const File& file);
  /// True when it was known. The machine may be gone.
  bool forget(const File& file);
  bool isThere(const File& file) const;

  const SimulatedMachine& machine_;
  std::shared_ptr<Clock> clock_;
  mutable std::mutex mutex_;
  std::map<std::uint64_t, Medium> media_;       // by registry entry ID
  std::map<std::string, std::uint64_t> files_;  // path to the medium
};

}  // namespace halvercine::platform::simulated
