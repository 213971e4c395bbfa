#include "platform/linux/LinuxDiskArbitration.h"

#include <utility>

#include "platform/linux/DeviceEvents.h"
#include "platform/linux/LinuxMediaRegistry.h"
#include "platform/linux/describeMedium.h"

namespace halvercine::platform::gnulinux {
namespace {

class Session : public DiskArbitrationSession {
 public:
  Session(base::MainActor& actor, std::shared_ptr<Storage> storage)
      : actor_(actor), storage_(std::move(storage)) {}
  ~Session() override {
    if (events_) events_->stop();
  }

  void start(DiskCallbacks callbacks) override {
    events_ = std::make_shared<DeviceEvents>(actor_, storage_, std::move(callbacks));
    events_->start();
  }

  std::optional<ArbitratedDisk> describe(const std::string& bsdName) override {
    const auto id = parseBsdName(bsdName);
    const auto device = id ? storage_->devices.find(*id) : std::nullopt;
    if (!device) return std::nullopt;
    return ArbitratedDisk{describeMedium(*device, *storage_), mediaEntry(storage_, *id)};
  }

 private:
  base::MainActor& actor_;
  std::shared_ptr<Storage> storage_;
  std::shared_ptr<DeviceEvents> events_;
};

}  // namespace

std::unique_ptr<DiskArbitrationSession> LinuxDiskArbitration::createSession() {
  return std::make_unique<Session>(actor_, storage_);
}

}  // namespace halvercine::platform::gnulinux
