#include <csignal>

#include <boost/json/object.hpp>
#include <fmt/format.h>

#include "app/DiskEvents.h"
#include "app/Lifetime.h"
#include "app/commands.h"
#include "app/isoTime.h"
#include "app/listText.h"
#include "app/unmountReasons.h"
#include "base/Json.h"
#include "base/OwnedPost.h"
#include "base/Text.h"
#include "disks/DiskMonitor.h"
#include "disks/DiskUtility.h"
#include "mount/reasons/UnmountReasonStore.h"
#include "platform/posix/SignalEvents.h"

namespace halvercine::app {
namespace {

/// Shows the monitor's list until the output is closed or somebody ends it.
class Watch {
 public:
  Watch(const CommandContext& context, base::MainActor& actor, disks::DiskMonitor& monitor,
        Lifetime& lifetime)
      : context_(context),
        monitor_(monitor),
        lifetime_(lifetime),
        utility_(*context.platform.toolRunner, *context.platform.clock,
                 *context.platform.mediaRegistry),
        reasons_(actor, *context.platform.systemLog, utility_, *context.platform.mediaRegistry,
                 unmountReasonInputs(context.platform)),
        post_(actor) {
    monitor_.refreshed.connect([this] {
      reasons_.update(monitor_.disks());
      showSoon();
    });
    monitor_.disksChanged.connect([this] { showSoon(); });
    reasons_.changed.connect([this] { showSoon(); });
  }

  /// Has what is on the screen drawn again, changed or not.
  void redraw() {
    isScreenStale_ = true;
    showSoon();
  }

 private:
  /// A refresh that changes something says so twice; it is looked at once.
  void showSoon() {
    if (std::exchange(isDue_, true)) return;
    post_([this] { show(); });
  }

  void show() {
    isDue_ = false;
    std::vector<DiskView> views;
    views.reserve(monitor_.disks().size());
    const auto recoveries = mount::RecoveryStatuses::read(context_.platform);
    for (const auto& disk : monitor_.disks()) {
      auto& view = views.emplace_back(DiskView::of(disk, context_.platform, recoveries));
      if (const auto reason = reasons_.reasonOf(disk)) view.unmountReason = known(reason);
    }
    const auto events = eventsBetween(views_, views);
    views_ = std::move(views);
    const bool isScreenStale = std::exchange(isScreenStale_, false);
    if (events.empty() && !isScreenStale) return;
    // The window may have another size by now.
    const auto terminal = Terminal::forOutput(context_.options.noColor);
    if (!context_.options.json && terminal.redraws()) {
      const CommandContext now{context_.options, context_.localization, context_.platform,
                               terminal};
      lifetime_.print("\x1b[H\x1b[J" + listText(now, views_));
      return;
    }
    for (const auto& event : events) {
      lifetime_.print(context_.options.json ? jsonLine(event) : textLine(event));
    }
  }

  std::string jsonLine(const DiskEvent& event) const {
    return base::repairedUtf8(base::serializeJson(
               boost::json::object{{"format", jsonFormat},
                                   {"event", base::toJson(event.kind)},
                                   {"time", isoTime(context_.platform.clock->now())},
                                   {"disk", event.view.toJson(context_.localization)}})) +
           '\n';
  }

  std::string textLine(const DiskEvent& event) const {
    const auto& disk = event.view.disk;
    const auto access = !disk.isMounted   ? "ui.access.notmounted"
                        : disk.isWritable ? "ui.access.readwrite"
                                          : "ui.access.readonly";
    auto line =
        fmt::format("{}  {}  {}  {}  {}  {}", isoTime(context_.platform.clock->now()),
                    context_.text(eventKey(event.kind)), disk.id, base::displayText(disk.name),
                    base::displayText(disk.fileSystem), context_.text(access));
    const auto& reason = event.view.unmountReason;
    if (const auto text = reason ? reason->text() : std::nullopt) {
      line += "  " + base::displayText(text->in(context_.localization));
    }
    if (event.view.recovery) {
      line += "  " + recoveryText(*event.view.recovery, context_.localization);
    }
    return line + '\n';
  }

  static std::string_view eventKey(DiskEventKind kind) {
    switch (kind) {
      case DiskEventKind::appeared:
        return "ui.event.appeared";
      case DiskEventKind::changed:
        return "ui.event.changed";
      case DiskEventKind::disappeared:
        return "ui.event.disappeared";
    }
    return "";
  }

  const CommandContext& context_;
  disks::DiskMonitor& monitor_;
  Lifetime& lifetime_;
  disks::DiskUtility utility_;
  mount::UnmountReasonStore reasons_;
  std::vector<DiskView> views_;
  bool isScreenStale_ = true;
  bool isDue_ = false;
  base::OwnedPost post_;
};

}  // namespace

Answer watchCommand(const CommandContext& context, Machine& machine) {
  Lifetime lifetime(context, machine);
  disks::DiskMonitor monitor(machine.actor(), context.platform, context.localization);
  Watch watch(context, machine.actor(), monitor, lifetime);
  const platform::posix::SignalEvents terminal(machine.actor(), {SIGCONT, SIGWINCH},
                                               [&](int signal) {
                                                 if (signal == SIGCONT)
                                                   monitor.applicationBecameActive();
                                                 watch.redraw();
                                               });
  if (!monitor.start()) return arbitrationFailure(context);
  return {lifetime.run(), "", ""};
}

}  // namespace halvercine::app
