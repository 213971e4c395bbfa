#include "platform/macos/applicationBundle.h"

#include <array>
#include <libproc.h>
#include <unistd.h>

#include "platform/macos/bundleFolder.h"

namespace halvercine::platform::macos {
namespace {

NSBundle* findBundle() {
  @autoreleasepool {
    std::array<char, PROC_PIDPATHINFO_MAXSIZE> program{};
    const int size = ::proc_pidpath(::getpid(), program.data(), program.size());
    const auto folder = size > 0 ? bundleFolder(program.data()) : std::nullopt;
    if (!folder) return NSBundle.mainBundle;
    NSURL* const url = [NSURL fileURLWithFileSystemRepresentation:folder->c_str()
                                                      isDirectory:YES
                                                    relativeToURL:nil];
    NSBundle* const bundle = [NSBundle bundleWithURL:url];
    return bundle != nil ? bundle : NSBundle.mainBundle;
  }
}

}  // namespace

NSBundle* applicationBundle() {
  static NSBundle* const bundle = findBundle();
  return bundle;
}

}  // namespace halvercine::platform::macos
