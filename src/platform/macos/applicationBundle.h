// The bundle that the running program is a part of.
#pragma once

#import <Foundation/Foundation.h>

namespace halvercine::platform::macos {

/// Found from where the program really is: the system's own idea of the main bundle is that of the
/// link that the program was started by. Where the program is in no bundle, its folder's. Any
/// thread.
NSBundle* applicationBundle();

}  // namespace halvercine::platform::macos
