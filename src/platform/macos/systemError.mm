#include "platform/macos/systemError.h"

#include "platform/macos/systemText.h"

namespace halvercine::platform::macos {
namespace {

std::string text(NSString* string) { return utf8Text((__bridge CFStringRef)string).value_or(""); }

}  // namespace

SystemError systemError(NSError* error) {
  return {text(error.localizedDescription), text(error.domain), error.code};
}

}  // namespace halvercine::platform::macos
