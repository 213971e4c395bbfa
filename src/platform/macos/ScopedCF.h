// Owners of Core Foundation objects; those of Disk Arbitration are such objects as well.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include "platform/macos/ScopedRef.h"

namespace halvercine::platform::macos {

template <class Ref>
struct CFTraits {
  using Element = Ref;
  static constexpr Ref none() { return nullptr; }
  static void retain(Ref object) { CFRetain(object); }
  static void release(Ref object) { CFRelease(object); }
};

/// Unlike `CFRetain` and `CFRelease` themselves it takes NULL for what it is: nothing.
template <class Ref>
using ScopedCF = ScopedRef<CFTraits<Ref>>;

}  // namespace halvercine::platform::macos
