// Core Foundation's own objects as values, and their owners' counts.
#include <string>

#include <gtest/gtest.h>

#include "platform/macos/ScopedCF.h"
#include "platform/macos/systemText.h"
#include "platform/macos/systemValues.h"

namespace halvercine::platform::macos {
namespace {

template <class Ref>
ScopedCF<CFTypeRef> own(Ref object) {
  return ScopedCF<CFTypeRef>::adopt(object);
}

ScopedCF<CFTypeRef> url(const char* text) {
  return own(CFURLCreateWithString(kCFAllocatorDefault, systemText(text).get(), nullptr));
}

template <class Number>
ScopedCF<CFTypeRef> number(CFNumberType type, Number value) {
  return own(CFNumberCreate(kCFAllocatorDefault, type, &value));
}

std::optional<PropertyValue> read(const ScopedCF<CFTypeRef>& object) {
  return propertyValue(object.get());
}

TEST(SystemObjects, AreTypedValues) {
  EXPECT_EQ(propertyValue(nullptr), std::nullopt);
  EXPECT_EQ(propertyValue(kCFBooleanTrue), PropertyValue(true));
  EXPECT_EQ(propertyValue(kCFNull), std::nullopt);
  EXPECT_EQ(read(number(kCFNumberSInt8Type, SInt8{1})), PropertyValue(1));
  EXPECT_EQ(read(number(kCFNumberSInt64Type, SInt64{1} << 62)),
            PropertyValue(std::int64_t{1} << 62));
  EXPECT_EQ(read(number(kCFNumberDoubleType, 1.0)), PropertyValue(1.0));
  EXPECT_EQ(read(own(CFUUIDCreateFromString(kCFAllocatorDefault,
                                            CFSTR("00010203-0405-0607-0809-0A0B0C0D0E0F")))),
            PropertyValue(Uuid{{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}}));
  EXPECT_EQ(read(own(CFDateCreate(kCFAllocatorDefault, 0))), std::nullopt);
}

TEST(SystemObjects, UrlsOfFilesArePaths) {
  EXPECT_EQ(read(url("file:///Volumes/My%20Disk/")), PropertyValue(FileUrl{"/Volumes/My Disk"}));
  EXPECT_EQ(read(url("file://localhost/")), PropertyValue(FileUrl{"/"}));
  EXPECT_EQ(read(url("ntfs://disk4s1/")), std::nullopt);
}

TEST(SystemObjects, TextsStayAsTheyAre) {
  for (const std::string text : {"", "Mu\xCC\x88ll", "M\xC3\xBCll", "\xF0\x9F\x8E\xB5"}) {
    EXPECT_EQ(utf8Text(systemText(text).get()), text);
  }
  const std::string withZero("a\0b", 3);
  EXPECT_EQ(utf8Text(systemText(withZero).get()), withZero);
  EXPECT_FALSE(systemText("\xFF"));
  EXPECT_EQ(utf8Text(nullptr), std::nullopt);
  const UniChar half = 0xD83C;
  const auto broken = own(CFStringCreateWithCharacters(kCFAllocatorDefault, &half, 1));
  EXPECT_TRUE(utf8Text(static_cast<CFStringRef>(broken.get())));
}

TEST(SystemObjects, AreCountedOnce) {
  const PropertyValue value = PropertyDictionary{
      {"flag", true}, {"list", PropertyArray{1, 2.5, "a", Blob{{std::byte{1}}}}}};
  const auto object = systemValue(value);
  ASSERT_TRUE(object);
  EXPECT_EQ(CFGetRetainCount(object.get()), 1);
  const auto dictionary = static_cast<CFDictionaryRef>(object.get());
  const auto* const list = CFDictionaryGetValue(dictionary, CFSTR("list"));
  EXPECT_EQ(CFGetRetainCount(list), 1) << "the dictionary's alone";
  EXPECT_EQ(read(object), value);
  EXPECT_EQ(propertyDictionary(dictionary), *value.as<PropertyDictionary>());
  EXPECT_EQ(CFGetRetainCount(list), 1) << "reading takes nothing along";
}

}  // namespace
}  // namespace halvercine::platform::macos
