#include "platform/linux/InotifyDirectoryWatcher.h"

#include <array>
#include <sys/inotify.h>
#include <utility>

#include <boost/asio/buffer.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>

#include "base/UniqueFd.h"

namespace halvercine::platform::gnulinux {
namespace {

class InotifyWatch : public DirectoryWatch {
 public:
  InotifyWatch(boost::asio::io_context& context, int descriptor, std::function<void()> changed)
      : events_(context, descriptor), changed_(std::move(changed)) {
    wait();
  }

 private:
  void wait() {
    // What the messages say does not matter: several of them are one change.
    events_.async_read_some(boost::asio::buffer(messages_),
                            [this](boost::system::error_code error, std::size_t) {
                              if (error) return;  // destroyed: `this` is gone
                              wait();
                              changed_();
                            });
  }

  boost::asio::posix::stream_descriptor events_;
  std::array<char, 4096> messages_{};
  std::function<void()> changed_;
};

}  // namespace

std::unique_ptr<DirectoryWatch> InotifyDirectoryWatcher::watch(
    const std::filesystem::path& directory, std::function<void()> changed) {
  constexpr std::uint32_t changes = IN_CLOSE_WRITE | IN_MODIFY | IN_MOVED_FROM | IN_MOVED_TO |
                                    IN_DELETE | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;
  base::UniqueFd events(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
  if (!events || ::inotify_add_watch(events.get(), directory.c_str(), changes) < 0) return nullptr;
  return std::make_unique<InotifyWatch>(actor_.context(), events.release(), std::move(changed));
}

}  // namespace halvercine::platform::gnulinux
