// Owners of I/O Kit objects: registry entries and iterators.
#pragma once

#include <IOKit/IOKitLib.h>

#include "platform/macos/ScopedRef.h"

namespace halvercine::platform::macos {

struct IOObjectTraits {
  using Element = io_object_t;
  static constexpr Element none() { return IO_OBJECT_NULL; }
  static void retain(Element object) { IOObjectRetain(object); }
  static void release(Element object) { IOObjectRelease(object); }
};

using ScopedIOObject = ScopedRef<IOObjectTraits>;

}  // namespace halvercine::platform::macos
