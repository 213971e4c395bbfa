#include "platform/macos/systemText.h"

namespace halvercine::platform::macos {

std::optional<std::string> utf8Text(CFStringRef text) {
  if (text == nullptr) return std::nullopt;
  const auto whole = CFRangeMake(0, CFStringGetLength(text));
  constexpr UInt8 instead = '?';
  CFIndex size = 0;
  if (CFStringGetBytes(text, whole, kCFStringEncodingUTF8, instead, false, nullptr, 0, &size) !=
      whole.length) {
    return std::nullopt;
  }
  std::string result(static_cast<std::size_t>(size), '\0');
  CFStringGetBytes(text, whole, kCFStringEncodingUTF8, instead, false,
                   reinterpret_cast<UInt8*>(result.data()), size, nullptr);
  return result;
}

ScopedCF<CFStringRef> systemText(std::string_view utf8) {
  return ScopedCF<CFStringRef>::adopt(
      CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(utf8.data()),
                              static_cast<CFIndex>(utf8.size()), kCFStringEncodingUTF8, false));
}

}  // namespace halvercine::platform::macos
