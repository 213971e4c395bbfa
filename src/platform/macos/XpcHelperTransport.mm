#include "platform/macos/XpcHelperTransport.h"

#include <utility>

#import <Foundation/Foundation.h>

#include "platform/macos/NTFSHelperProtocol.h"
#include "platform/macos/sendHelperMessage.h"
#include "platform/macos/systemError.h"

namespace halvercine::platform::macos {
namespace {

using Failed = std::function<void(SystemError)>;

NSXPCInterface* helperInterface() {
  NSXPCInterface* const interface =
      [NSXPCInterface interfaceWithProtocol:@protocol(NTFSHelperProtocol)];
  [interface setClasses:[NSSet setWithObjects:NSArray.class, NSString.class, nil]
            forSelector:@selector(deregisterFSKitModules:reply:)
          argumentIndex:0
                ofReply:NO];
  return interface;
}

class Proxy : public HelperProxy {
 public:
  Proxy(id<NTFSHelperProtocol> helper, Failed failed)
      : helper_(helper), failed_(std::move(failed)) {}

  void send(const HelperMessage& message,
            std::function<void(const HelperReply&)> replied) override {
    const auto failed = failed_;  // the reply may come, and end all this, from inside the call
    if (sendHelperMessage(helper_, message, std::move(replied))) return;
    failed({"an argument is not UTF-8", "NSCocoaErrorDomain",
            NSFileReadInapplicableStringEncodingError});
  }

 private:
  id<NTFSHelperProtocol> helper_;
  Failed failed_;
};

/// Its blocks hold the functions that they call, which know the connection only until the call has
/// ended; invalidating then drops the blocks.
class Connection : public HelperConnection {
 public:
  explicit Connection(NSXPCConnection* connection) : connection_(connection) {
    connection_.remoteObjectInterface = helperInterface();
    [connection_ resume];  // one that has never been may not be released either
  }
  ~Connection() override { invalidate(); }

  HelperProxy* remoteObject(Failed failed) override {
    @autoreleasepool {
      const id proxy = [connection_ remoteObjectProxyWithErrorHandler:^(NSError* error) {
        failed(systemError(error));
      }];
      if (![proxy conformsToProtocol:@protocol(NTFSHelperProtocol)]) return nullptr;
      proxy_ = std::make_unique<Proxy>(proxy, std::move(failed));
      return proxy_.get();
    }
  }

  void invalidate() override {
    @autoreleasepool {
      [connection_ invalidate];
    }
  }

 private:
  NSXPCConnection* const connection_;
  std::unique_ptr<Proxy> proxy_;
};

}  // namespace

std::expected<std::unique_ptr<HelperConnection>, SystemError> XpcHelperTransport::open(
    const std::string& machService) {
  @autoreleasepool {
    NSString* const name = [NSString stringWithUTF8String:machService.c_str()];
    if (name == nil) return std::unexpected(SystemError{"the name is not UTF-8", "", 0});
    NSXPCConnection* const connection =
        [[NSXPCConnection alloc] initWithMachServiceName:name options:NSXPCConnectionPrivileged];
    return std::make_unique<Connection>(connection);
  }
}

}  // namespace halvercine::platform::macos
