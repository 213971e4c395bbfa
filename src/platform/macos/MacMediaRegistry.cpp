#include "platform/macos/MacMediaRegistry.h"

#include <utility>

#include <IOKit/IOBSD.h>
#include <IOKit/IOKitKeys.h>
#include <IOKit/IOKitLib.h>

#include "platform/macos/ScopedCF.h"
#include "platform/macos/systemText.h"
#include "platform/macos/systemValues.h"

namespace halvercine::platform::macos {
namespace {

// <IOKit/storage/IOMedia.h> calls it kIOMediaClass.
constexpr const char* mediaClass = "IOMedia";

class Entry : public RegistryEntry {
 public:
  explicit Entry(ScopedIOObject object) : object_(std::move(object)) {}

  std::string className() const override {
    const auto name = ScopedCF<CFStringRef>::adopt(IOObjectCopyClass(object_.get()));
    return utf8Text(name.get()).value_or("");
  }

  std::optional<std::uint64_t> entryId() const override {
    std::uint64_t id = 0;
    if (IORegistryEntryGetRegistryEntryID(object_.get(), &id) != KERN_SUCCESS) return std::nullopt;
    return id;
  }

  std::optional<PropertyValue> property(std::string_view key) const override {
    const auto name = systemText(key);
    if (!name) return std::nullopt;
    const auto value = ScopedCF<CFTypeRef>::adopt(
        IORegistryEntryCreateCFProperty(object_.get(), name.get(), kCFAllocatorDefault, 0));
    return propertyValue(value.get());
  }

  std::unique_ptr<RegistryEntry> parent() const override {
    ScopedIOObject above;
    if (IORegistryEntryGetParentEntry(object_.get(), kIOServicePlane, above.out()) !=
        KERN_SUCCESS) {
      return nullptr;
    }
    return registryEntry(std::move(above));
  }

 private:
  ScopedIOObject object_;
};

std::vector<std::unique_ptr<RegistryEntry>> entriesOf(io_iterator_t iterator) {
  std::vector<std::unique_ptr<RegistryEntry>> entries;
  while (auto object = ScopedIOObject::adopt(IOIteratorNext(iterator))) {
    entries.push_back(registryEntry(std::move(object)));
  }
  return entries;
}

}  // namespace

std::unique_ptr<RegistryEntry> registryEntry(ScopedIOObject object) {
  if (!object) return nullptr;
  return std::make_unique<Entry>(std::move(object));
}

std::vector<std::unique_ptr<RegistryEntry>> MacMediaRegistry::allMedia() {
  // A registry that changes during the walk ends it early; it is at rest again very soon.
  constexpr int mostWalks = 10;
  ScopedIOObject media;
  // The dictionary is consumed, also by a call that fails.
  if (IOServiceGetMatchingServices(kIOMainPortDefault, IOServiceMatching(mediaClass),
                                   media.out()) != KERN_SUCCESS) {
    return {};
  }
  for (int walk = 1;; ++walk) {
    auto entries = entriesOf(media.get());
    if (IOIteratorIsValid(media.get()) || walk == mostWalks) return entries;
    IOIteratorReset(media.get());
  }
}

std::unique_ptr<RegistryEntry> MacMediaRegistry::media(const std::string& bsdName) {
  if (bsdName.empty()) return nullptr;
  auto object = ScopedIOObject::adopt(IOServiceGetMatchingService(
      kIOMainPortDefault, IOBSDNameMatching(kIOMainPortDefault, 0, bsdName.c_str())));
  // Network interfaces have such names, too.
  if (!object || !IOObjectConformsTo(object.get(), mediaClass)) return nullptr;
  return registryEntry(std::move(object));
}

}  // namespace halvercine::platform::macos
