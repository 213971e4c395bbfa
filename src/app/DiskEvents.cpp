#include "app/DiskEvents.h"

#include <map>
#include <string_view>

namespace halvercine::app {
namespace {

using ViewsById = std::map<std::string_view, const DiskView*>;

ViewsById byId(const std::vector<DiskView>& views) {
  ViewsById found;
  for (const auto& view : views) found.emplace(view.disk.id, &view);
  return found;
}

/// The view of the same device under the same name, or null.
const DiskView* counterpart(const ViewsById& views, const DiskView& view) {
  const auto found = views.find(view.disk.id);
  return found != views.end() && found->second->deviceId == view.deviceId ? found->second : nullptr;
}

}  // namespace

std::vector<DiskEvent> eventsBetween(const std::vector<DiskView>& before,
                                     const std::vector<DiskView>& after) {
  const auto old = byId(before);
  const auto current = byId(after);
  std::vector<DiskEvent> events;
  for (const auto& view : before) {
    if (!counterpart(current, view)) events.push_back({DiskEventKind::disappeared, view});
  }
  for (const auto& view : after) {
    const auto* known = counterpart(old, view);
    if (!known) {
      events.push_back({DiskEventKind::appeared, view});
    } else if (*known != view) {
      events.push_back({DiskEventKind::changed, view});
    }
  }
  return events;
}

}  // namespace halvercine::app
