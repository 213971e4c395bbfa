// Checking and repairing the NTFS structures of a volume with the check tool.
#pragma once

#include <string>
#include <string_view>

#include "base/Localization.h"
#include "base/MainActor.h"
#include "base/Task.h"
#include "check/CheckOutcome.h"
#include "platform/AdministratorShell.h"
#include "platform/Containers.h"

namespace halvercine::check {

/// The tool's name among the resources of the program.
inline constexpr std::string_view checkToolName = "fsck_halvercine";

/// The shell command that runs the tool on a volume's raw device and then prints the exit marker.
std::string checkToolCommand(std::string_view toolPath, std::string_view bsdName, bool isRepair);

/// Runs the check tool. Keeps nothing between runs; runs on different volumes may overlap. Main
/// actor.
class DiskChecker {
 public:
  /// All must outlive the runs.
  DiskChecker(base::MainActor& actor, platform::AdministratorShell& shell,
              platform::Containers& containers, const base::Localization& localization)
      : actor_(actor), shell_(shell), containers_(containers), localization_(localization) {}

  /// Checks a volume, or repairs it, for as long as it takes. A failure is an outcome, never an
  /// exception; cancelling the task takes the tool back as far as the platform's shell can.
  base::Task<CheckOutcome> run(std::string bsdName, bool isRepair);

 private:
  base::MainActor& actor_;
  platform::AdministratorShell& shell_;
  platform::Containers& containers_;
  const base::Localization& localization_;
};

}  // namespace halvercine::check
