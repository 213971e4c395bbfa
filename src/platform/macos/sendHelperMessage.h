// Messages to the helper as calls of its protocol.
#pragma once

#include <functional>

#include "platform/HelperTransport.h"
#include "platform/macos/NTFSHelperProtocol.h"

namespace halvercine::platform::macos {

/// Calls the method of a message. `replied` is called by its reply block, with texts that are wiped
/// afterwards as far as they are ours. False when a text of the message is not UTF-8: then nothing
/// is sent.
bool sendHelperMessage(id<NTFSHelperProtocol> helper, const HelperMessage& message,
                       std::function<void(const HelperReply&)> replied);

}  // namespace halvercine::platform::macos
