// The simulated file-system module: what it does with a volume that it serves.
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <string>

#include "platform/Clock.h"
#include "platform/simulated/Scenario.h"

namespace halvercine::platform::simulated {

class SimulatedMachine;

/// Reports on the volumes that it serves, keeps the reports fresh, takes them away when a mount
/// ends in the orderly way, and dies where the scenario says so. Main actor.
class FileSystemModule {
 public:
  FileSystemModule(SimulatedMachine& machine, std::shared_ptr<Clock> clock)
      : machine_(machine), clock_(std::move(clock)) {}
  ~FileSystemModule();
  FileSystemModule(const FileSystemModule&) = delete;
  FileSystemModule& operator=(const FileSystemModule&) = delete;

  /// The reason that it will report for the next mount of a volume; each call is one attempt.
  std::string nextReason(const ScenarioMedia& media, bool isWritable, bool readOnlyRequested);

  /// It has mounted a volume, and reports on it.
  void serve(const ScenarioMedia& media, ScenarioReport report);

  /// The scenario itself has put a report there: it is kept fresh from now on.
  void adopt(const ScenarioMedia& media, ScenarioReport report);

  /// A mount has ended in the orderly way.
  void unmounted(const std::string& disk);

  /// A medium has gone, and with it what the module knew.
  void lost(const std::string& disk);

 private:
  struct Session {
    ScenarioReport report;
    Uptime interval{0};  // between two writings; 0: never again
    TimerId writing = 0;
    TimerId death = 0;
  };

  Session& begin(const ScenarioMedia& media, ScenarioReport report);
  void writeAfter(const std::string& disk, Uptime delay);
  void write(const std::string& disk);
  bool end(const std::string& disk);

  SimulatedMachine& machine_;
  std::shared_ptr<Clock> clock_;
  std::map<std::string, Session> sessions_;      // by BSD name
  std::map<std::string, std::size_t> attempts_;  // by BSD name, since it was plugged in
};

/// The settings of a volume: its own, or those of a volume of its kind.
ScenarioModule moduleOf(const ScenarioMedia& media);

/// Seconds as the clock counts them.
Uptime uptimeOf(double seconds);

}  // namespace halvercine::platform::simulated
