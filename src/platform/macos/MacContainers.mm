#include "platform/macos/MacContainers.h"

#import <Foundation/Foundation.h>

#include "base/PrivateFiles.h"

namespace halvercine::platform::macos {
namespace {

std::optional<std::filesystem::path> pathOf(NSURL* url) {
  if (url == nil || !url.fileURL) return std::nullopt;
  const char* const path = url.fileSystemRepresentation;
  if (path == nullptr || *path != '/') return std::nullopt;
  return std::filesystem::path(path);
}

/// The folder of the group, made if need be, once its entries could be read.
std::optional<std::filesystem::path> lookInto(const std::string& group) {
  @autoreleasepool {
    NSString* const identifier = [NSString stringWithUTF8String:group.c_str()];
    if (identifier == nil) return std::nullopt;
    // Outside the sandbox the system names a folder for any group: whether it can be used shows
    // only there.
    auto container = pathOf([NSFileManager.defaultManager
        containerURLForSecurityApplicationGroupIdentifier:identifier]);
    std::error_code error;
    if (!container || base::makePrivateDirectory(*container)) return std::nullopt;
    const std::filesystem::directory_iterator entries(*container, error);
    return error ? std::nullopt : container;
  }
}

}  // namespace

std::optional<std::filesystem::path> MacContainers::groupContainer(const std::string& group) {
  if (!base::isPlainFileName(group)) return std::nullopt;
  {
    const std::lock_guard lock(mutex_);
    const auto found = seen_.find(group);
    std::error_code error;
    if (found != seen_.end() && std::filesystem::is_directory(found->second, error)) {
      return found->second;
    }
  }
  const auto container = looks_(group, [group] { return lookInto(group); }).value_or(std::nullopt);
  if (!container) return std::nullopt;
  const std::lock_guard lock(mutex_);
  seen_.insert_or_assign(group, *container);
  return container;
}

std::optional<std::filesystem::path> MacContainers::applicationSupport() {
  @autoreleasepool {
    return pathOf([NSFileManager.defaultManager URLForDirectory:NSApplicationSupportDirectory
                                                       inDomain:NSUserDomainMask
                                              appropriateForURL:nil
                                                         create:NO
                                                          error:nil]);
  }
}

std::optional<std::filesystem::path> MacContainers::home() {
  @autoreleasepool {
    return pathOf(NSFileManager.defaultManager.homeDirectoryForCurrentUser);
  }
}

std::optional<std::filesystem::path> MacContainers::bundleResource(const std::string& name) {
  if (!base::isPlainFileName(name)) return std::nullopt;
  @autoreleasepool {
    NSString* const file = [NSString stringWithUTF8String:name.c_str()];
    if (file == nil) return std::nullopt;
    auto resource = pathOf([NSBundle.mainBundle URLForResource:file withExtension:nil]);
    std::error_code error;
    if (!resource || !std::filesystem::is_regular_file(*resource, error)) return std::nullopt;
    return resource;
  }
}

}  // namespace halvercine::platform::macos
