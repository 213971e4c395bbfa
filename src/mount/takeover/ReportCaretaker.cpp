#include "mount/takeover/ReportCaretaker.h"

#include <utility>

#include "mount/MountAccessReportStore.h"

namespace halvercine::mount {

ReportCaretaker::ReportCaretaker(const platform::Platform& platform,
                                 const disks::DiskMonitor& monitor, std::string ownerId,
                                 std::function<bool(const disks::Disk&)> isToolsMount)
    : platform_(platform),
      monitor_(monitor),
      ownerId_(std::move(ownerId)),
      isToolsMount_(std::move(isToolsMount)),
      timer_(*platform.clock) {
  timer_.start(interval, [this] { refresh(); });
}

void ReportCaretaker::refresh() const {
  const double now = platform::secondsSince1970(platform_.clock->now());
  for (const auto& bsdName : reportedPartitions(*platform_.containers)) {
    const auto* disk = monitor_.find(bsdName);
    if (!disk || !disk->isMounted || !isToolsMount_(*disk)) continue;
    const auto store = MountAccessReportStore::locate(*platform_.containers, bsdName);
    if (store) store->refreshOwned(ownerId_, now);
  }
}

}  // namespace halvercine::mount
