#include "app/commands.h"
#include "bitlocker/BitLockerMailbox.h"
#include "disks/DiskDescriptor.h"
#include "disks/enumerateDisks.h"

namespace halvercine::app {

std::vector<DiskView> viewDisks(const CommandContext& context) {
  std::vector<DiskView> views;
  const auto session = context.platform.diskArbitration->createSession();
  if (!session) return views;
  const disks::DiskDescriptor descriptor(context.platform, context.localization);
  const bitlocker::BitLockerMailbox mailbox(*context.platform.containers,
                                            *context.platform.clock);
  const disks::BitLockerStates states(mailbox.allStatuses(),
                                      context.platform.systemInfo->bootTime());
  const auto media = disks::allMedia(*context.platform.mediaRegistry);
  for (auto& disk : disks::describeDisks(descriptor, *session, media, states)) {
    views.push_back(DiskView::of(std::move(disk), context.platform));
  }
  return views;
}

}  // namespace halvercine::app
