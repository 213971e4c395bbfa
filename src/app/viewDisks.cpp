#include "app/commands.h"
#include "bitlocker/BitLockerMailbox.h"
#include "disks/DiskDescriptor.h"
#include "disks/enumerateDisks.h"

namespace halvercine::app {

Answer arbitrationFailure(const CommandContext& context) {
  return failure(context.options, ExitStatus::failed, "no-disk-arbitration",
                 context.text("ui.error.noarbitration"));
}

std::expected<std::vector<DiskView>, Answer> viewDisks(const CommandContext& context) {
  const auto session = context.platform.diskArbitration->createSession();
  if (!session) return std::unexpected(arbitrationFailure(context));
  const disks::DiskDescriptor descriptor(context.platform, context.localization);
  const bitlocker::BitLockerMailbox mailbox(*context.platform.containers, *context.platform.clock);
  const disks::BitLockerStates states(mailbox.allStatuses(),
                                      context.platform.systemInfo->bootTime());
  const auto media = disks::allMedia(*context.platform.mediaRegistry);
  const auto recoveries = mount::RecoveryStatuses::read(context.platform);
  std::vector<DiskView> views;
  for (auto& disk : disks::describeDisks(descriptor, *session, media, states)) {
    views.push_back(DiskView::of(std::move(disk), context.platform, recoveries));
  }
  return views;
}

}  // namespace halvercine::app
