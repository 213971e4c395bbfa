#include "platform/macos/systemValues.h"

#include <array>
#include <climits>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "platform/macos/makeSystemValue.h"
#include "platform/macos/readSystemValue.h"
#include "platform/macos/systemText.h"

namespace halvercine::platform::macos {
namespace {

/// A reference of its own type, after its type has been asked for.
template <class Ref>
Ref as(CFTypeRef object) {
  return static_cast<Ref>(object);
}

bool isFileUrl(CFURLRef url) {
  const auto scheme = ScopedCF<CFStringRef>::adopt(CFURLCopyScheme(url));
  return scheme && CFStringCompare(scheme.get(), CFSTR("file"), kCFCompareCaseInsensitive) ==
                       kCFCompareEqualTo;
}

struct CFSource {
  using Object = CFTypeRef;

  static SystemType type(Object object) {
    const auto id = CFGetTypeID(object);
    // A boolean is a type of its own, and not a number that is 0 or 1.
    if (id == CFBooleanGetTypeID()) return SystemType::boolean;
    if (id == CFNumberGetTypeID()) return SystemType::number;
    if (id == CFStringGetTypeID()) return SystemType::text;
    if (id == CFUUIDGetTypeID()) return SystemType::uuid;
    if (id == CFURLGetTypeID()) return SystemType::url;
    if (id == CFDataGetTypeID()) return SystemType::data;
    if (id == CFArrayGetTypeID()) return SystemType::array;
    if (id == CFDictionaryGetTypeID()) return SystemType::dictionary;
    return SystemType::other;
  }

  static bool boolean(Object object) { return CFBooleanGetValue(as<CFBooleanRef>(object)) != 0; }
  static bool isFloating(Object object) {
    return CFNumberIsFloatType(as<CFNumberRef>(object)) != 0;
  }
  static std::optional<std::int64_t> integer(Object object) {
    SInt64 value = 0;
    if (!CFNumberGetValue(as<CFNumberRef>(object), kCFNumberSInt64Type, &value)) return {};
    return value;
  }
  static std::optional<double> floating(Object object) {
    double value = 0;
    if (!CFNumberGetValue(as<CFNumberRef>(object), kCFNumberDoubleType, &value)) return {};
    return value;
  }
  static std::optional<std::string> text(Object object) {
    return utf8Text(as<CFStringRef>(object));
  }
  static Uuid uuid(Object object) {
    const auto bytes = CFUUIDGetUUIDBytes(as<CFUUIDRef>(object));
    Uuid result;
    static_assert(sizeof bytes == sizeof result.bytes);
    std::memcpy(result.bytes.data(), &bytes, sizeof bytes);
    return result;
  }
  static std::optional<std::string> filePath(Object object) {
    const auto url = as<CFURLRef>(object);
    std::array<UInt8, PATH_MAX> path{};
    if (!isFileUrl(url) || !CFURLGetFileSystemRepresentation(url, true, path.data(),
                                                             static_cast<CFIndex>(path.size()))) {
      return std::nullopt;
    }
    return reinterpret_cast<const char*>(path.data());
  }
  static Blob data(Object object) {
    const auto source = as<CFDataRef>(object);
    Blob result;
    result.bytes.resize(static_cast<std::size_t>(CFDataGetLength(source)));
    CFDataGetBytes(source, CFRangeMake(0, CFDataGetLength(source)),
                   reinterpret_cast<UInt8*>(result.bytes.data()));
    return result;
  }
  static std::vector<Object> elements(Object object) {
    const auto array = as<CFArrayRef>(object);
    std::vector<Object> result(static_cast<std::size_t>(CFArrayGetCount(array)));
    CFArrayGetValues(array, CFRangeMake(0, CFArrayGetCount(array)), result.data());
    return result;
  }
  static std::vector<std::pair<Object, Object>> entries(Object object) {
    const auto dictionary = as<CFDictionaryRef>(object);
    const auto count = static_cast<std::size_t>(CFDictionaryGetCount(dictionary));
    std::vector<Object> keys(count);
    std::vector<Object> values(count);
    CFDictionaryGetKeysAndValues(dictionary, keys.data(), values.data());
    std::vector<std::pair<Object, Object>> result;
    result.reserve(count);
    for (std::size_t index = 0; index < count; ++index) {
      result.emplace_back(keys[index], values[index]);
    }
    return result;
  }
};

struct CFMaker {
  using Owner = ScopedCF<CFTypeRef>;

  static Owner boolean(bool flag) { return Owner::retain(flag ? kCFBooleanTrue : kCFBooleanFalse); }
  static Owner integer(std::int64_t number) {
    return Owner::adopt(CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt64Type, &number));
  }
  static Owner floating(double number) {
    return Owner::adopt(CFNumberCreate(kCFAllocatorDefault, kCFNumberDoubleType, &number));
  }
  static Owner text(const std::string& utf8) { return Owner::adopt(systemText(utf8).release()); }
  static Owner data(const Blob& blob) {
    return Owner::adopt(CFDataCreate(kCFAllocatorDefault,
                                     reinterpret_cast<const UInt8*>(blob.bytes.data()),
                                     static_cast<CFIndex>(blob.bytes.size())));
  }
  // Collections with the usual callbacks retain what they are given.
  static Owner array(const std::vector<Owner>& elements) {
    auto array = ScopedCF<CFMutableArrayRef>::adopt(
        CFArrayCreateMutable(kCFAllocatorDefault, 0, &kCFTypeArrayCallBacks));
    for (const auto& element : elements) CFArrayAppendValue(array.get(), element.get());
    return Owner::adopt(array.release());
  }
  static Owner dictionary(const std::vector<std::pair<Owner, Owner>>& entries) {
    auto dictionary = ScopedCF<CFMutableDictionaryRef>::adopt(CFDictionaryCreateMutable(
        kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
    for (const auto& [key, value] : entries) {
      CFDictionarySetValue(dictionary.get(), key.get(), value.get());
    }
    return Owner::adopt(dictionary.release());
  }
};

}  // namespace

std::optional<PropertyValue> propertyValue(CFTypeRef object) {
  return readSystemValue<CFSource>(object);
}

PropertyDictionary propertyDictionary(CFDictionaryRef dictionary) {
  if (dictionary == nullptr) return {};
  return readSystemEntries<CFSource>(dictionary);
}

ScopedCF<CFTypeRef> systemValue(const PropertyValue& value) {
  return makeSystemValue<CFMaker>(value);
}

}  // namespace halvercine::platform::macos
