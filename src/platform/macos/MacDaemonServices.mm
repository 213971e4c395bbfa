#include "platform/macos/MacDaemonServices.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <utility>

#import <Foundation/Foundation.h>
#include <dispatch/dispatch.h>
#if __has_include(<ServiceManagement/ServiceManagement.h>)
#import <ServiceManagement/ServiceManagement.h>
#else  // some sets of headers lack it
@interface SMAppService : NSObject
+ (instancetype)daemonServiceWithPlistName:(NSString*)plistName;
@property(readonly) NSInteger status;
- (BOOL)registerAndReturnError:(NSError**)error;
- (void)unregisterWithCompletionHandler:(void (^)(NSError* error))handler;
@end
#endif

#include "platform/macos/systemError.h"

namespace halvercine::platform::macos {
namespace {

/// Registering waits for other processes: it has a queue of its own, on which it is told as well.
class Service : public DaemonService {
 public:
  Service(SMAppService* service, std::shared_ptr<MacDaemonServices::Gate> gate)
      : service_(service),
        gate_(std::move(gate)),
        queue_(dispatch_queue_create("com.halvercine.app.daemon", DISPATCH_QUEUE_SERIAL)) {}

  /// A status of none of the system's when it does not answer in time, and until it has.
  DaemonStatus status() override {
    constexpr std::int64_t patience = 2 * std::int64_t{NSEC_PER_SEC};
    constexpr auto unknown = DaemonStatus{-1};
    if (asked_ && *asked_ == unknown) return unknown;
    const auto answer = asked_ = std::make_shared<std::atomic<DaemonStatus>>(unknown);
    const dispatch_semaphore_t answered = dispatch_semaphore_create(0);
    SMAppService* const service = service_;
    dispatch_async(dispatch_get_global_queue(QOS_CLASS_USER_INITIATED, 0), ^{
      @autoreleasepool {
        *answer = static_cast<DaemonStatus>(service.status);
      }
      dispatch_semaphore_signal(answered);
    });
    dispatch_semaphore_wait(answered, dispatch_time(DISPATCH_TIME_NOW, patience));
    const DaemonStatus status = *answer;
    if (status != unknown) asked_.reset();
    return status;
  }

  void registerDaemon(DaemonStepEnd ended) override {
    const auto tell = teller(std::move(ended));
    SMAppService* const service = service_;  // the block outlives this object
    dispatch_async(queue_, ^{
      @autoreleasepool {
        NSError* error = nil;
        const bool isDone = [service registerAndReturnError:&error];
        tell(isDone ? std::nullopt : std::optional(systemError(error)));
      }
    });
  }

  /// The call with a handler, since that waits for the end of a running daemon.
  void unregisterDaemon(DaemonStepEnd ended) override {
    const auto tell = teller(std::move(ended));
    SMAppService* const service = service_;
    dispatch_async(queue_, ^{
      @autoreleasepool {
        [service unregisterWithCompletionHandler:^(NSError* error) {
          tell(error == nil ? std::nullopt : std::optional(systemError(error)));
        }];
      }
    });
  }

 private:
  DaemonStepEnd teller(DaemonStepEnd ended) const {
    return [gate = gate_, ended = std::move(ended)](const std::optional<SystemError>& error) {
      gate->pass([&](std::monostate) { ended(error); });
    };
  }

  SMAppService* const service_;
  const std::shared_ptr<MacDaemonServices::Gate> gate_;
  const dispatch_queue_t queue_;
  std::shared_ptr<std::atomic<DaemonStatus>> asked_;  // the answer may still be under way
};

}  // namespace

std::unique_ptr<DaemonService> MacDaemonServices::daemon(const std::string& propertyListName) {
  @autoreleasepool {
    NSString* const name = [NSString stringWithUTF8String:propertyListName.c_str()];
    SMAppService* const service =
        name == nil ? nil : [SMAppService daemonServiceWithPlistName:name];
    if (service == nil) return nullptr;
    return std::make_unique<Service>(service, gate_);
  }
}

}  // namespace halvercine::platform::macos
