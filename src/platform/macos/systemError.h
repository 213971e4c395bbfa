// Errors of Foundation as plain data.
#pragma once

#import <Foundation/Foundation.h>

#include "platform/SystemError.h"

namespace halvercine::platform::macos {

/// What an error says; one without a text, domain and code stands for none.
SystemError systemError(NSError* error);

}  // namespace halvercine::platform::macos
