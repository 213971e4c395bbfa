#include "platform/macos/sendHelperMessage.h"

#include <utility>
#include <variant>

#include "base/Secret.h"
#include "platform/macos/systemText.h"

namespace halvercine::platform::macos {
namespace {

using Replied = std::function<void(const HelperReply&)>;

// What Foundation makes of a text, here and for its way to the helper, cannot be wiped.
NSString* stringOf(std::string_view text) {
  return [[NSString alloc] initWithBytes:text.data()
                                  length:text.size()
                                encoding:NSUTF8StringEncoding];
}

/// The argument as an object; nil when a text is not UTF-8.
id objectOf(const HelperArgument& argument) {
  struct Visitor {
    id operator()(std::string_view text) const { return stringOf(text); }
    id operator()(std::uint32_t number) const { return @(number); }
    id operator()(std::uint64_t number) const { return @(number); }
    id operator()(bool flag) const { return @(flag); }
    id operator()(std::span<const std::string> texts) const {
      NSMutableArray<NSString*>* const strings = [NSMutableArray arrayWithCapacity:texts.size()];
      for (const auto& text : texts) {
        NSString* const string = stringOf(text);
        if (string == nil) return nil;
        [strings addObject:string];
      }
      return strings;
    }
  };
  return std::visit(Visitor{}, argument);
}

NSArray* objectsOf(std::span<const HelperArgument> arguments) {
  NSMutableArray* const objects = [NSMutableArray arrayWithCapacity:arguments.size()];
  for (const auto& argument : arguments) {
    const id object = objectOf(argument);
    if (object == nil) return nil;
    [objects addObject:object];
  }
  return objects;
}

/// Hands a text over for the time of one call.
template <class Make>
void replyWithText(const Replied& replied, NSString* string, Make make) {
  auto text = utf8Text((__bridge CFStringRef)string);
  replied(make(text ? std::optional<std::string_view>(*text) : std::nullopt));
  if (text) base::wipe(*text);
}

// The blocks keep copies of `replied`, which the functions take by value for that: of a reference a
// block would keep the reference. The connection lets go of the blocks when it has ended.

NTFSHelperVerdictReply verdictReply(Replied replied) {
  return ^(BOOL ok, NSString* message) {
    replyWithText(replied, message, [ok](std::optional<std::string_view> text) {
      return HelperVerdict{ok != NO, text};
    });
  };
}

NTFSHelperTextReply textReply(Replied replied) {
  return ^(NSString* string) {
    replyWithText(replied, string,
                  [](std::optional<std::string_view> text) { return HelperText{text}; });
  };
}

NTFSHelperFlagReply flagReply(Replied replied) {
  return ^(BOOL flag) {
    replied(flag != NO);
  };
}

NTFSHelperErrnoReply errnoReply(Replied replied) {
  return ^(int32_t error) {
    replied(error);
  };
}

void call(id<NTFSHelperProtocol> helper, HelperSelector selector, NSArray* arguments,
          const Replied& replied) {
  switch (selector) {
    case HelperSelector::createBitLocker:
      return [helper createBitLockerWithDevicePath:arguments[0]
                                        volumeName:arguments[1]
                                          password:arguments[2]
                                            method:[arguments[3] unsignedIntValue]
                                           mediaID:[arguments[4] unsignedLongLongValue]
                                          usedOnly:[arguments[5] boolValue]
                                             reply:verdictReply(replied)];
    case HelperSelector::bitLockerCreationProgress:
      return [helper bitLockerCreationProgressWithReply:textReply(replied)];
    case HelperSelector::cancelBitLockerCreation:
      return [helper cancelBitLockerCreationWithReply:flagReply(replied)];
    case HelperSelector::decryptBitLocker:
      return [helper decryptBitLockerWithDevicePath:arguments[0]
                                           password:arguments[1]
                                            mediaID:[arguments[2] unsignedLongLongValue]
                                              reply:verdictReply(replied)];
    case HelperSelector::bitLockerDecryptionProgress:
      return [helper bitLockerDecryptionProgressWithReply:textReply(replied)];
    case HelperSelector::cancelBitLockerDecryption:
      return [helper cancelBitLockerDecryptionWithReply:flagReply(replied)];
    case HelperSelector::changeBitLockerPassword:
      return [helper changeBitLockerPasswordWithDevicePath:arguments[0]
                                               oldPassword:arguments[1]
                                               newPassword:arguments[2]
                                                   mediaID:[arguments[3] unsignedLongLongValue]
                                                     reply:verdictReply(replied)];
    case HelperSelector::reformatNTFS:
      return [helper reformatNTFSWithDevicePath:arguments[0]
                                     volumeName:arguments[1]
                                        mediaID:[arguments[2] unsignedLongLongValue]
                                   expectedGUID:arguments[3]
                                      requestID:arguments[4]
                                          reply:verdictReply(replied)];
    case HelperSelector::reformatNTFSProgress:
      return [helper reformatNTFSProgressWithRequestID:arguments[0] reply:textReply(replied)];
    case HelperSelector::probeDeviceOpen:
      return [helper probeDeviceOpenWithDevicePath:arguments[0] reply:errnoReply(replied)];
    case HelperSelector::formattingAvailable:
      return [helper formattingAvailableWithReply:flagReply(replied)];
    case HelperSelector::repairAuthorization:
      return [helper repairAuthorizationWithReply:verdictReply(replied)];
    case HelperSelector::installFsPackage:
      return [helper installFsPackageWithSourcePlistPath:arguments[0] reply:verdictReply(replied)];
    case HelperSelector::deregisterFSKitModules:
      return [helper deregisterFSKitModules:arguments[0] reply:verdictReply(replied)];
    case HelperSelector::prepareForUninstall:
      return [helper prepareForUninstallWithReply:verdictReply(replied)];
    case HelperSelector::removeLegacyInstall:
      return [helper removeLegacyInstallWithReply:verdictReply(replied)];
    case HelperSelector::removeFsPackage:
      return [helper removeFsPackageWithReply:verdictReply(replied)];
  }
}

}  // namespace

bool sendHelperMessage(id<NTFSHelperProtocol> helper, const HelperMessage& message,
                       std::function<void(const HelperReply&)> replied) {
  @autoreleasepool {
    NSArray* const arguments = objectsOf(message.arguments);
    if (arguments == nil) return false;
    call(helper, message.selector, arguments, replied);
    return true;
  }
}

}  // namespace halvercine::platform::macos
