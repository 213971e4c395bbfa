#include "platform/macos/MacDiskArbitration.h"

#include <utility>

#include <DiskArbitration/DiskArbitration.h>
#include <dispatch/dispatch.h>

#include "platform/macos/CallbackGate.h"
#include "platform/macos/MacMediaRegistry.h"
#include "platform/macos/ScopedCF.h"
#include "platform/macos/ScopedIOObject.h"
#include "platform/macos/systemText.h"
#include "platform/macos/systemValues.h"

namespace halvercine::platform::macos {
namespace {

using Gate = CallbackGate<DiskCallbacks>;
using Context = CallbackContext<DiskCallbacks>;

/// The name is the session's until the callback returns: it is copied.
std::optional<std::string> nameOf(DADiskRef disk) {
  const char* const name = disk == nullptr ? nullptr : DADiskGetBSDName(disk);
  return name == nullptr ? std::nullopt : std::optional<std::string>(name);
}

template <std::function<void(std::optional<std::string>)> DiskCallbacks::*callback>
void report(DADiskRef disk, void* context) {
  Context::pass(context, [&](const DiskCallbacks& callbacks) {
    if (const auto& call = callbacks.*callback) call(nameOf(disk));
  });
}

void appeared(DADiskRef disk, void* context) { report<&DiskCallbacks::appeared>(disk, context); }

void disappeared(DADiskRef disk, void* context) {
  report<&DiskCallbacks::disappeared>(disk, context);
}

void descriptionChanged(DADiskRef disk, CFArrayRef, void* context) {
  report<&DiskCallbacks::descriptionChanged>(disk, context);
}

/// A scheduled session. It is started and destroyed on the main thread, where its callbacks come:
/// none is under way when it goes, and none comes after that.
class Reporter {
 public:
  Reporter(ScopedCF<DASessionRef> session, std::shared_ptr<Gate> gate)
      : session_(std::move(session)), context_(std::move(gate)) {}
  Reporter(const Reporter&) = delete;
  Reporter& operator=(const Reporter&) = delete;
  ~Reporter() {
    DAUnregisterCallback(session_.get(), reinterpret_cast<void*>(&appeared), context_.pointer());
    DAUnregisterCallback(session_.get(), reinterpret_cast<void*>(&disappeared), context_.pointer());
    DAUnregisterCallback(session_.get(), reinterpret_cast<void*>(&descriptionChanged),
                         context_.pointer());
    DASessionUnscheduleFromRunLoop(session_.get(), CFRunLoopGetMain(), kCFRunLoopDefaultMode);
  }

  /// No filter of disks and none of keys.
  void start() {
    DARegisterDiskAppearedCallback(session_.get(), nullptr, &appeared, context_.pointer());
    DARegisterDiskDisappearedCallback(session_.get(), nullptr, &disappeared, context_.pointer());
    DARegisterDiskDescriptionChangedCallback(session_.get(), nullptr, nullptr, &descriptionChanged,
                                             context_.pointer());
    DASessionScheduleWithRunLoop(session_.get(), CFRunLoopGetMain(), kCFRunLoopDefaultMode);
  }

 private:
  ScopedCF<DASessionRef> session_;
  Context context_;
};

struct DestroyedOnMainThread {
  // The main queue keeps the order: this comes after the start, if that has not come yet.
  void operator()(Reporter* reporter) const {
    dispatch_async_f(dispatch_get_main_queue(), reporter,
                     [](void* pointer) { delete static_cast<Reporter*>(pointer); });
  }
};

/// Has two sessions of the framework, each used on one thread only: one for the questions of its
/// owner, and one that reports on the main thread.
class Session : public DiskArbitrationSession {
 public:
  Session(ScopedCF<DASessionRef> asking, ScopedCF<DASessionRef> reporting)
      : asking_(std::move(asking)), reporting_(std::move(reporting)) {}

  ~Session() override {
    if (gate_) gate_->close();
  }

  void start(DiskCallbacks callbacks) override {
    gate_ = std::make_shared<Gate>(std::move(callbacks));
    reporter_.reset(new Reporter(std::move(reporting_), gate_));
    dispatch_async_f(dispatch_get_main_queue(), reporter_.get(),
                     [](void* pointer) { static_cast<Reporter*>(pointer)->start(); });
  }

  std::optional<ArbitratedDisk> describe(const std::string& bsdName) override {
    const auto disk = ScopedCF<DADiskRef>::adopt(
        DADiskCreateFromBSDName(kCFAllocatorDefault, asking_.get(), bsdName.c_str()));
    if (!disk) return std::nullopt;
    const auto description = ScopedCF<CFDictionaryRef>::adopt(DADiskCopyDescription(disk.get()));
    if (!description) return std::nullopt;
    auto media = ScopedIOObject::adopt(DADiskCopyIOMedia(disk.get()));
    return ArbitratedDisk{propertyDictionary(description.get()), registryEntry(std::move(media))};
  }

 private:
  ScopedCF<DASessionRef> asking_;
  ScopedCF<DASessionRef> reporting_;
  std::shared_ptr<Gate> gate_;
  std::unique_ptr<Reporter, DestroyedOnMainThread> reporter_;
};

}  // namespace

std::unique_ptr<DiskArbitrationSession> MacDiskArbitration::createSession() {
  auto asking = ScopedCF<DASessionRef>::adopt(DASessionCreate(kCFAllocatorDefault));
  auto reporting = ScopedCF<DASessionRef>::adopt(DASessionCreate(kCFAllocatorDefault));
  if (!asking || !reporting) return nullptr;
  return std::make_unique<Session>(std::move(asking), std::move(reporting));
}

}  // namespace halvercine::platform::macos
