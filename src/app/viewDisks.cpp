#include "app/commands.h"
#include "disks/DiskDescriptor.h"
#include "disks/enumerateDisks.h"

namespace halvercine::app {

std::vector<DiskView> viewDisks(const CommandContext& context) {
  std::vector<DiskView> views;
  const auto session = context.platform.diskArbitration->createSession();
  if (!session) return views;
  const disks::DiskDescriptor descriptor(context.platform, context.localization);
  for (auto& disk :
       disks::enumerateDisks(descriptor, *session, *context.platform.mediaRegistry)) {
    views.push_back(DiskView::of(std::move(disk), context.platform));
  }
  return views;
}

}  // namespace halvercine::app
