#include "platform/simulated/DiskSessions.h"

#include <utility>

namespace halvercine::platform::simulated {

DiskSessions::Listener DiskSessions::add(DiskCallbacks callbacks) {
  auto listener = std::make_shared<const DiskCallbacks>(std::move(callbacks));
  listeners_.push_back(listener);
  return listener;
}

void DiskSessions::announce(DiskCallback callback, const std::string& disk) {
  std::erase_if(listeners_, [](const auto& listener) { return listener.expired(); });
  for (const auto& listener : listeners_) tell(listener.lock(), callback, disk);
}

void DiskSessions::tell(const Listener& listener, DiskCallback callback, const std::string& disk) {
  actor_.post([weak = std::weak_ptr(listener), callback, disk] {
    const auto alive = weak.lock();
    if (alive && (*alive).*callback) ((*alive).*callback)(disk);
  });
}

}  // namespace halvercine::platform::simulated
