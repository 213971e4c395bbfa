#include "platform/macos/MacUserDefaults.h"

#include "platform/macos/ScopedCF.h"
#include "platform/macos/systemText.h"
#include "platform/macos/systemValues.h"

namespace halvercine::platform::macos {
namespace {

CFStringRef domain() { return CFSTR("com.halvercine.app"); }

bool synchronize() {
  return CFPreferencesSynchronize(domain(), kCFPreferencesCurrentUser, kCFPreferencesAnyHost) != 0;
}

ScopedCF<CFPropertyListRef> stored(CFStringRef key) {
  return ScopedCF<CFPropertyListRef>::adopt(
      CFPreferencesCopyValue(key, domain(), kCFPreferencesCurrentUser, kCFPreferencesAnyHost));
}

/// Null takes the key away.
void put(CFStringRef key, CFPropertyListRef value) {
  CFPreferencesSetValue(key, value, domain(), kCFPreferencesCurrentUser, kCFPreferencesAnyHost);
}

bool change(CFStringRef key, CFPropertyListRef value) {
  synchronize();
  const auto before = stored(key);
  put(key, value);
  if (synchronize()) return true;
  put(key, before.get());
  return false;
}

}  // namespace

std::optional<PropertyValue> MacUserDefaults::value(std::string_view key) {
  @autoreleasepool {
    const auto name = systemText(key);
    if (!name) return std::nullopt;
    synchronize();
    return propertyValue(stored(name.get()).get());
  }
}

bool MacUserDefaults::setValue(std::string_view key, const PropertyValue& value) {
  @autoreleasepool {
    const auto name = systemText(key);
    const auto object = systemValue(value);
    return name && object && change(name.get(), object.get());
  }
}

bool MacUserDefaults::remove(std::string_view key) {
  @autoreleasepool {
    const auto name = systemText(key);
    return !name || change(name.get(), nullptr);
  }
}

}  // namespace halvercine::platform::macos
