// Keeping reports alive where no file-system module does.
#pragma once

#include <functional>
#include <string>

#include "base/RepeatingTimer.h"
#include "disks/DiskMonitor.h"
#include "platform/Platform.h"

namespace halvercine::mount {

/// On a machine whose disk tool mounts volumes itself, nobody stays behind to refresh the reports
/// of its mounts. While this lives, it does, for those that carry the tool's owner. Main actor; the
/// platform and the monitor outlive it.
class ReportCaretaker {
 public:
  /// As often as a module refreshes its own.
  static constexpr auto interval = std::chrono::seconds(60);

  /// `isToolsMount` answers whether the disk is mounted where the tool mounted it.
  ReportCaretaker(const platform::Platform& platform, const disks::DiskMonitor& monitor,
                  std::string ownerId, std::function<bool(const disks::Disk&)> isToolsMount);

  /// Refreshes now.
  void refresh() const;

 private:
  const platform::Platform& platform_;
  const disks::DiskMonitor& monitor_;
  std::string ownerId_;
  std::function<bool(const disks::Disk&)> isToolsMount_;
  base::RepeatingTimer timer_;
};

}  // namespace halvercine::mount
