#include "platform/macos/MacPasteboard.h"

#include <atomic>
#include <memory>

#import <AppKit/AppKit.h>
#include <dispatch/dispatch.h>

namespace halvercine::platform::macos {
namespace {

struct Attempt {
  std::atomic<bool> isWanted{true};
  std::atomic<bool> hasReplaced{false};
};

/// Main thread.
bool replaceOnMainThread(NSString* text) {
  NSPasteboard* const pasteboard = NSPasteboard.generalPasteboard;
  [pasteboard clearContents];
  return [pasteboard setString:text forType:NSPasteboardTypeString];
}

}  // namespace

bool MacPasteboard::replaceText(std::string_view text) {
  constexpr std::int64_t patience = NSEC_PER_SEC;
  @autoreleasepool {
    NSString* const string = [[NSString alloc] initWithBytes:text.data()
                                                      length:text.size()
                                                    encoding:NSUTF8StringEncoding];
    if (string == nil) return false;
    if (NSThread.isMainThread) return replaceOnMainThread(string);
    // Both are the block's as well, which may come after this call has given up.
    const auto attempt = std::make_shared<Attempt>();
    const dispatch_semaphore_t done = dispatch_semaphore_create(0);
    dispatch_async(dispatch_get_main_queue(), ^{
      if (attempt->isWanted) attempt->hasReplaced = replaceOnMainThread(string);
      dispatch_semaphore_signal(done);
    });
    dispatch_semaphore_wait(done, dispatch_time(DISPATCH_TIME_NOW, patience));
    attempt->isWanted = false;
    return attempt->hasReplaced;
  }
}

}  // namespace halvercine::platform::macos
