// The files through which the program hands a check to the file-system module.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "base/FileLock.h"
#include "check/CheckMailboxRecords.h"
#include "check/CheckProgressSnapshot.h"
#include "platform/Clock.h"
#include "platform/Containers.h"

namespace halvercine::check {

/// What tells one writing of a file from another.
struct FileStamp {
  std::uint64_t number = 0;  ///< of the file
  std::int64_t size = 0;     ///< bytes
  std::int64_t changed = 0;  ///< nanoseconds since 1970

  bool operator==(const FileStamp&) const = default;
};

/// Where the reading of a volume's report stands, from one look to the next.
struct ReportReading {
  std::optional<platform::WallTime> notBefore;  ///< older reports belong to an earlier run
  std::optional<FileStamp> refused;             ///< looked at already; it is none until it changes
};

/// The five files of one volume, named after its disk identifier, the BSD name: both sides know it
/// at any time, it lasts from an unmount to the next mount, and two volumes never share it, while
/// the copy of a disk has the same volume UUID. Another device may get the name later, so the files
/// of an earlier run are cleared before the next one.
///
/// Nobody locks the files themselves: writers replace them in one step, and whatever cannot be read
/// is not there. A value that may be used on any thread.
class CheckMailbox {
 public:
  /// Nothing without a container, and for an identifier that cannot be part of a file name.
  static std::optional<CheckMailbox> open(platform::Containers& containers, std::string_view disk);

  /// Held by the process that a check on this volume belongs to, for as long as its flags are its
  /// own. The system releases it when the process dies. Nothing when another one has it.
  std::optional<base::FileLock> claim() const;

  /// Whether some process has claimed the volume.
  bool isClaimed() const;

  /// Deletes all that an earlier run has left, of both sides.
  void clear() const;

  /// False when it could not be written.
  bool writeRequest(bool repair, platform::WallTime now) const;
  /// When the request was written, by the file system's clock; nothing when it is not there.
  std::optional<platform::WallTime> requestTime() const;
  /// Whether the module has not taken the request yet. It takes it by deleting it.
  bool requestWaits() const;
  /// True when the request was still there, so that nobody will act on it any more.
  bool takeRequestBack() const;

  bool writePause(platform::WallTime now) const;
  void removePause() const;
  bool writeCancel(platform::WallTime now) const;

  /// Deletes the request and both flags.
  void withdraw() const;

  /// The frame that is there now, or nothing.
  std::optional<CheckProgressSnapshot> readProgress() const;

  /// The report if it is about this volume and not older than the reading allows. One that is not
  /// accepted is read again only when it has changed.
  std::optional<CheckReportModel> readReport(ReportReading& reading) const;

  /// Deletes the requests and flags of processes that have died, and what their interrupted writes
  /// have left.
  static void sweepAbandoned(platform::Containers& containers);

  std::filesystem::path requestPath() const { return path("deep-check-"); }
  std::filesystem::path progressPath() const { return path("check-progress-"); }
  std::filesystem::path pausePath() const { return path("check-pause-"); }
  std::filesystem::path cancelPath() const { return path("check-cancel-"); }
  std::filesystem::path reportPath() const { return path("check-report-"); }

 private:
  CheckMailbox(std::filesystem::path folder, std::string disk)
      : folder_(std::move(folder)), disk_(std::move(disk)) {}

  std::filesystem::path path(std::string_view prefix) const;
  std::filesystem::path lockPath() const { return requestPath().string() + ".lock"; }

  std::filesystem::path folder_;
  std::string disk_;
};

/// Whether a check works on this volume, in whatever process of the program.
bool isBeingChecked(platform::Containers& containers, std::string_view disk);

/// Decodes a module's report that is meant for this volume; nothing for another one's.
std::optional<CheckReportModel> acceptedReport(std::string_view text, std::string_view disk);

}  // namespace halvercine::check
