#include "check/TemporaryUnmount.h"

#include <variant>

#include "disks/DiskUtilityText.h"
#include "mount/takeover/TakeoverJournal.h"

namespace halvercine::check {

base::Task<std::optional<std::string>> TemporaryUnmount::unmount() {
  if (!volume_.deviceID || !isThere()) co_return std::string("ui.takeover.noidentity");
  const auto* now = monitor_.find(volume_.bsdName);
  if (!now) co_return std::string("ui.takeover.noidentity");
  disk_ = *now;
  if (!note()) co_return std::string("ui.takeover.notrecorded");
  const auto result = co_await utility_.unmount(volume_.bsdName);
  mustBeMounted_ = true;
  if (!isMounted()) co_return std::nullopt;
  settle();
  co_return std::string(disks::errorKey(result.text));
}

base::Task<bool> TemporaryUnmount::mount() {
  if (!isThere()) co_return false;
  mustBeMounted_ = true;
  co_await utility_.mount(volume_.bsdName);
  const bool isDone = isMounted();
  if (isDone) settle();
  co_return isDone;
}

bool TemporaryUnmount::note() const {
  if (!disk_ || !volume_.deviceID) return false;
  const double now = platform::secondsSince1970(platform_.clock->now());
  return mount::TakeoverJournal(platform_).note(
      {volume_.bsdName, diskName_, mount::identityOf(*disk_, *volume_.deviceID), now});
}

void TemporaryUnmount::settle() const {
  if (volume_.deviceID)
    mount::TakeoverJournal(platform_).settle(volume_.bsdName, *volume_.deviceID);
}

bool TemporaryUnmount::isMounted() const {
  monitor_.refresh();
  const auto* now = isThere() ? monitor_.find(volume_.bsdName) : nullptr;
  return now && now->isMounted;
}

}  // namespace halvercine::check
