#include "platform/macos/MacDirectoryWatcher.h"

#include <fcntl.h>
#include <utility>

#include <dispatch/dispatch.h>

#include "base/UniqueFd.h"
#include "platform/macos/CallbackGate.h"

namespace halvercine::platform::macos {
namespace {

using Gate = CallbackGate<std::function<void()>>;

base::UniqueFd openFolder(const std::filesystem::path& directory) {
  return base::UniqueFd(::open(directory.c_str(), O_EVTONLY | O_DIRECTORY | O_CLOEXEC));
}

/// Armed by its owner, and from then on its queue's: a source under way holds it weakly, and the
/// descriptor until it has been cancelled. No handler runs when it goes, on whichever thread.
class Watching : public std::enable_shared_from_this<Watching> {
 public:
  Watching(std::filesystem::path directory, std::shared_ptr<Gate> gate)
      : directory_(std::move(directory)),
        gate_(std::move(gate)),
        queue_(
            dispatch_queue_create_with_target("com.halvercine.app.directory", DISPATCH_QUEUE_SERIAL,
                                              dispatch_get_global_queue(QOS_CLASS_UTILITY, 0))) {}
  Watching(const Watching&) = delete;
  Watching& operator=(const Watching&) = delete;
  ~Watching() { cancel(); }

  /// False when the system has no source to give.
  bool arm(base::UniqueFd folder) {
    const int descriptor = folder.get();
    const dispatch_source_t source = dispatch_source_create(
        DISPATCH_SOURCE_TYPE_VNODE, static_cast<uintptr_t>(descriptor),
        DISPATCH_VNODE_WRITE | DISPATCH_VNODE_RENAME | DISPATCH_VNODE_DELETE, queue_);
    if (source == nil) return false;
    const int owned = folder.release();  // the cancellation's from here on
    dispatch_source_set_cancel_handler(source, ^{
      ::close(owned);
    });
    const std::weak_ptr<Watching> weak = weak_from_this();
    const __weak dispatch_source_t weakSource = source;  // its own handler must not keep it
    dispatch_source_set_event_handler(source, ^{
      const auto watching = weak.lock();
      const dispatch_source_t fired = weakSource;
      if (watching && fired != nil) watching->heard(dispatch_source_get_data(fired));
    });
    source_ = source;
    dispatch_resume(source);
    return true;
  }

 private:
  void heard(unsigned long events) {
    if ((events & (DISPATCH_VNODE_RENAME | DISPATCH_VNODE_DELETE)) != 0) {
      cancel();
      armAgain();
    }
    tell();
  }

  void armAgain() {
    constexpr std::int64_t interval = NSEC_PER_SEC;
    if (auto folder = openFolder(directory_); folder && arm(std::move(folder))) return;
    const std::weak_ptr<Watching> weak = weak_from_this();
    dispatch_after(dispatch_time(DISPATCH_TIME_NOW, interval), queue_, ^{
      const auto watching = weak.lock();
      if (!watching) return;
      watching->armAgain();
      if (watching->source_ != nil) watching->tell();  // of what came with the folder
    });
  }

  void tell() {
    gate_->pass([](const std::function<void()>& changed) { changed(); });
  }

  void cancel() {
    if (source_ != nil) dispatch_source_cancel(source_);
    source_ = nil;
  }

  const std::filesystem::path directory_;
  const std::shared_ptr<Gate> gate_;
  const dispatch_queue_t queue_;
  dispatch_source_t source_ = nil;
};

class MacDirectoryWatch : public DirectoryWatch {
 public:
  MacDirectoryWatch(std::shared_ptr<Watching> watching, std::shared_ptr<Gate> gate)
      : watching_(std::move(watching)), gate_(std::move(gate)) {}
  ~MacDirectoryWatch() override { gate_->close(); }

 private:
  std::shared_ptr<Watching> watching_;
  std::shared_ptr<Gate> gate_;
};

}  // namespace

std::unique_ptr<DirectoryWatch> MacDirectoryWatcher::watch(const std::filesystem::path& directory,
                                                           std::function<void()> changed) {
  auto folder = openFolder(directory);
  if (!folder) return nullptr;
  auto gate = std::make_shared<Gate>(std::move(changed));
  auto watching = std::make_shared<Watching>(directory, gate);
  if (!watching->arm(std::move(folder))) return nullptr;
  return std::make_unique<MacDirectoryWatch>(std::move(watching), std::move(gate));
}

}  // namespace halvercine::platform::macos
