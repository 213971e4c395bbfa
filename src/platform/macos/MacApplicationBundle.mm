#include "platform/macos/MacApplicationBundle.h"

#import <Foundation/Foundation.h>

#include "platform/macos/systemText.h"
#include "platform/posix/inspectFile.h"

namespace halvercine::platform::macos {

std::optional<std::filesystem::path> MacApplicationBundle::path() {
  @autoreleasepool {
    NSBundle* const bundle = NSBundle.mainBundle;
    if (bundle.bundleIdentifier == nil) return std::nullopt;  // a folder, and no bundle
    std::error_code error;
    auto path = std::filesystem::canonical(bundle.bundleURL.fileSystemRepresentation, error);
    if (error) return std::nullopt;
    return path;
  }
}

std::optional<std::string> MacApplicationBundle::info(std::string_view key) {
  const auto name = systemText(key);
  if (!name) return std::nullopt;
  @autoreleasepool {
    const id value = NSBundle.mainBundle.infoDictionary[(__bridge NSString*)name.get()];
    if (![value isKindOfClass:NSString.class]) return std::nullopt;
    return utf8Text((__bridge CFStringRef)value);
  }
}

std::expected<FileFacts, std::error_code> MacApplicationBundle::inspect(
    const std::filesystem::path& path) {
  return posix::inspectFile(path);
}

}  // namespace halvercine::platform::macos
