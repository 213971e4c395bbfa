// Messages as calls of the protocol, to a helper in this process.
#include "platform/macos/sendHelperMessage.h"

#include <limits>
#include <string>
#include <vector>

#import <Foundation/Foundation.h>
#include <gtest/gtest.h>

#if !__has_feature(objc_arc)
#error "needs -fobjc-arc"
#endif

/// Notes what it is called with as text, and answers when it is told to.
@interface NotingHelper : NSObject <NTFSHelperProtocol>
@property NSMutableArray<NSString*>* calls;
@property(copy) dispatch_block_t answer;
@end

@implementation NotingHelper
- (instancetype)init {
  self = [super init];
  _calls = [NSMutableArray array];
  return self;
}
- (void)later:(dispatch_block_t)answer {
  self.answer = answer;
}
- (void)note:(SEL)selector with:(NSArray*)arguments {
  NSString* const name = NSStringFromSelector(selector);
  [self.calls
      addObject:[name stringByAppendingFormat:@" %@", [arguments componentsJoinedByString:@"|"]]];
}
- (void)createBitLockerWithDevicePath:(NSString*)devicePath
                           volumeName:(NSString*)volumeName
                             password:(NSString*)password
                               method:(uint32_t)method
                              mediaID:(uint64_t)mediaID
                             usedOnly:(BOOL)usedOnly
                                reply:(NTFSHelperVerdictReply)reply {
  [self note:_cmd
        with:@[ devicePath, volumeName, password, @(method), @(mediaID), usedOnly ? @"Y" : @"N" ]];
  [self later:^{
    reply(YES, @"recovery");
  }];
}
- (void)bitLockerCreationProgressWithReply:(NTFSHelperTextReply)reply {
  [self note:_cmd with:@[]];
  [self later:^{
    reply(nil);
  }];
}
- (void)cancelBitLockerCreationWithReply:(NTFSHelperFlagReply)reply {
  [self note:_cmd with:@[]];
  [self later:^{
    reply(YES);
  }];
}
- (void)decryptBitLockerWithDevicePath:(NSString*)devicePath
                              password:(NSString*)password
                               mediaID:(uint64_t)mediaID
                                 reply:(NTFSHelperVerdictReply)reply {
  [self note:_cmd with:@[ devicePath, password, @(mediaID) ]];
  [self later:^{
    reply(NO, @"wrong");
  }];
}
- (void)bitLockerDecryptionProgressWithReply:(NTFSHelperTextReply)reply {
  [self note:_cmd with:@[]];
  [self later:^{
    reply(@"42");
  }];
}
- (void)cancelBitLockerDecryptionWithReply:(NTFSHelperFlagReply)reply {
  [self note:_cmd with:@[]];
  [self later:^{
    reply(NO);
  }];
}
- (void)changeBitLockerPasswordWithDevicePath:(NSString*)devicePath
                                  oldPassword:(NSString*)oldPassword
                                  newPassword:(NSString*)newPassword
                                      mediaID:(uint64_t)mediaID
                                        reply:(NTFSHelperVerdictReply)reply {
  [self note:_cmd with:@[ devicePath, oldPassword, newPassword, @(mediaID) ]];
  [self later:^{
    reply(YES, nil);
  }];
}
- (void)reformatNTFSWithDevicePath:(NSString*)devicePath
                        volumeName:(NSString*)volumeName
                           mediaID:(uint64_t)mediaID
                      expectedGUID:(NSString*)expectedGUID
                         requestID:(NSString*)requestID
                             reply:(NTFSHelperVerdictReply)reply {
  [self note:_cmd with:@[ devicePath, volumeName, @(mediaID), expectedGUID, requestID ]];
  [self later:^{
    reply(YES, nil);
  }];
}
- (void)reformatNTFSProgressWithRequestID:(NSString*)requestID reply:(NTFSHelperTextReply)reply {
  [self note:_cmd with:@[ requestID ]];
  [self later:^{
    reply(@"");
  }];
}
- (void)probeDeviceOpenWithDevicePath:(NSString*)devicePath reply:(NTFSHelperErrnoReply)reply {
  [self note:_cmd with:@[ devicePath ]];
  [self later:^{
    reply(-1);
  }];
}
- (void)formattingAvailableWithReply:(NTFSHelperFlagReply)reply {
  [self note:_cmd with:@[]];
  [self later:^{
    reply(YES);
  }];
}
- (void)repairAuthorizationWithReply:(NTFSHelperVerdictReply)reply {
  [self note:_cmd with:@[]];
  [self later:^{
    reply(YES, nil);
  }];
}
- (void)installFsPackageWithSourcePlistPath:(NSString*)sourcePlistPath
                                      reply:(NTFSHelperVerdictReply)reply {
  [self note:_cmd with:@[ sourcePlistPath ]];
  [self later:^{
    reply(YES, nil);
  }];
}
- (void)deregisterFSKitModules:(NSArray<NSString*>*)moduleIdentifiers
                         reply:(NTFSHelperVerdictReply)reply {
  [self note:_cmd with:moduleIdentifiers];
  [self later:^{
    reply(YES, nil);
  }];
}
- (void)prepareForUninstallWithReply:(NTFSHelperVerdictReply)reply {
  [self note:_cmd with:@[]];
  [self later:^{
    reply(YES, nil);
  }];
}
- (void)removeLegacyInstallWithReply:(NTFSHelperVerdictReply)reply {
  [self note:_cmd with:@[]];
  [self later:^{
    reply(YES, nil);
  }];
}
- (void)removeFsPackageWithReply:(NTFSHelperVerdictReply)reply {
  [self note:_cmd with:@[]];
  [self later:^{
    reply(YES, nil);
  }];
}
@end

namespace halvercine::platform::macos {
namespace {

std::string spelled(const std::optional<std::string_view>& text) {
  return text ? "'" + std::string(*text) + "'" : "nil";
}

std::string spelled(const HelperReply& reply) {
  struct Visitor {
    std::string operator()(const HelperVerdict& verdict) const {
      return (verdict.ok ? "ok " : "failed ") + spelled(verdict.message);
    }
    std::string operator()(const HelperText& text) const { return spelled(text.text); }
    std::string operator()(bool flag) const { return flag ? "true" : "false"; }
    std::string operator()(std::int32_t error) const { return std::to_string(error); }
  };
  return std::visit(Visitor{}, reply);
}

struct Case {
  HelperSelector selector;
  std::vector<HelperArgument> arguments;
  const char* call;
  const char* reply;
};

TEST(SendHelperMessage, CallsTheMethodOfEachMessageWithItsArguments) {
  constexpr std::uint64_t id = std::numeric_limits<std::uint64_t>::max();
  constexpr std::uint32_t method = std::numeric_limits<std::uint32_t>::max();
  const std::vector<std::string> modules = {"one", "two"};
  using Text = std::string_view;
  const std::vector<Case> cases = {
      {HelperSelector::createBitLocker,
       {Text("/dev/d"), Text("n"), Text("p\xC3\xBC"), method, id, true},
       "createBitLockerWithDevicePath:volumeName:password:method:mediaID:usedOnly:reply: "
       "/dev/d|n|p\xC3\xBC|4294967295|18446744073709551615|Y",
       "ok 'recovery'"},
      {HelperSelector::bitLockerCreationProgress,
       {},
       "bitLockerCreationProgressWithReply: ",
       "nil"},
      {HelperSelector::cancelBitLockerCreation, {}, "cancelBitLockerCreationWithReply: ", "true"},
      {HelperSelector::decryptBitLocker,
       {Text("/dev/d"), Text(""), id},
       "decryptBitLockerWithDevicePath:password:mediaID:reply: /dev/d||18446744073709551615",
       "failed 'wrong'"},
      {HelperSelector::bitLockerDecryptionProgress,
       {},
       "bitLockerDecryptionProgressWithReply: ",
       "'42'"},
      {HelperSelector::cancelBitLockerDecryption,
       {},
       "cancelBitLockerDecryptionWithReply: ",
       "false"},
      {HelperSelector::changeBitLockerPassword,
       {Text("/dev/d"), Text("o"), Text("n"), id},
       "changeBitLockerPasswordWithDevicePath:oldPassword:newPassword:mediaID:reply: "
       "/dev/d|o|n|18446744073709551615",
       "ok nil"},
      {HelperSelector::reformatNTFS,
       {Text("/dev/d"), Text("n"), id, Text("g"), Text("r")},
       "reformatNTFSWithDevicePath:volumeName:mediaID:expectedGUID:requestID:reply: "
       "/dev/d|n|18446744073709551615|g|r",
       "ok nil"},
      {HelperSelector::reformatNTFSProgress,
       {Text("r")},
       "reformatNTFSProgressWithRequestID:reply: r",
       "''"},
      {HelperSelector::probeDeviceOpen,
       {Text("/dev/d")},
       "probeDeviceOpenWithDevicePath:reply: /dev/d",
       "-1"},
      {HelperSelector::formattingAvailable, {}, "formattingAvailableWithReply: ", "true"},
      {HelperSelector::repairAuthorization, {}, "repairAuthorizationWithReply: ", "ok nil"},
      {HelperSelector::installFsPackage,
       {Text("/p")},
       "installFsPackageWithSourcePlistPath:reply: /p",
       "ok nil"},
      {HelperSelector::deregisterFSKitModules,
       {std::span<const std::string>(modules)},
       "deregisterFSKitModules:reply: one|two",
       "ok nil"},
      {HelperSelector::prepareForUninstall, {}, "prepareForUninstallWithReply: ", "ok nil"},
      {HelperSelector::removeLegacyInstall, {}, "removeLegacyInstallWithReply: ", "ok nil"},
      {HelperSelector::removeFsPackage, {}, "removeFsPackageWithReply: ", "ok nil"},
  };
  for (const auto& [selector, arguments, call, reply] : cases) {
    NotingHelper* const helper = [[NotingHelper alloc] init];
    std::string replied;
    EXPECT_TRUE(sendHelperMessage(helper, {selector, arguments},
                                  [&replied](const auto& answer) { replied = spelled(answer); }));
    EXPECT_EQ(replied, "");
    helper.answer();
    EXPECT_STREQ(helper.calls.lastObject.UTF8String, call);
    EXPECT_EQ(replied, reply) << call;
  }
}

TEST(SendHelperMessage, SendsNothingWhenATextIsNone) {
  NotingHelper* const helper = [[NotingHelper alloc] init];
  const std::vector<std::string> modules = {"one", "\xFF"};
  for (const auto& [selector, argument] :
       {std::pair<HelperSelector, HelperArgument>{HelperSelector::probeDeviceOpen, "\xFF"},
        {HelperSelector::deregisterFSKitModules, std::span<const std::string>(modules)}}) {
    EXPECT_FALSE(sendHelperMessage(helper, {selector, {&argument, 1}}, [](const auto&) {}));
  }
  EXPECT_EQ(helper.calls.count, 0u);
}

}  // namespace
}  // namespace halvercine::platform::macos
