// What the privileged helper answers, as both programs declare it.
#pragma once

#import <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

/// Success, and a text: why not, or what came of it.
typedef void (^NTFSHelperVerdictReply)(BOOL ok, NSString* _Nullable message);
typedef void (^NTFSHelperTextReply)(NSString* _Nullable text);
typedef void (^NTFSHelperFlagReply)(BOOL flag);
typedef void (^NTFSHelperErrnoReply)(int32_t error);

/// Names, order and types are on the wire: a change here is one of the helper as well. Each reply
/// block is called once.
@protocol NTFSHelperProtocol

- (void)createBitLockerWithDevicePath:(NSString*)devicePath
                           volumeName:(NSString*)volumeName
                             password:(NSString*)password
                               method:(uint32_t)method
                              mediaID:(uint64_t)mediaID
                             usedOnly:(BOOL)usedOnly
                                reply:(NTFSHelperVerdictReply)reply;
- (void)bitLockerCreationProgressWithReply:(NTFSHelperTextReply)reply;
- (void)cancelBitLockerCreationWithReply:(NTFSHelperFlagReply)reply;

- (void)decryptBitLockerWithDevicePath:(NSString*)devicePath
                              password:(NSString*)password
                               mediaID:(uint64_t)mediaID
                                 reply:(NTFSHelperVerdictReply)reply;
- (void)bitLockerDecryptionProgressWithReply:(NTFSHelperTextReply)reply;
- (void)cancelBitLockerDecryptionWithReply:(NTFSHelperFlagReply)reply;

- (void)changeBitLockerPasswordWithDevicePath:(NSString*)devicePath
                                  oldPassword:(NSString*)oldPassword
                                  newPassword:(NSString*)newPassword
                                      mediaID:(uint64_t)mediaID
                                        reply:(NTFSHelperVerdictReply)reply;

- (void)reformatNTFSWithDevicePath:(NSString*)devicePath
                        volumeName:(NSString*)volumeName
                           mediaID:(uint64_t)mediaID
                      expectedGUID:(NSString*)expectedGUID
                         requestID:(NSString*)requestID
                             reply:(NTFSHelperVerdictReply)reply;
- (void)reformatNTFSProgressWithRequestID:(NSString*)requestID reply:(NTFSHelperTextReply)reply;

/// 0 when the device opens for writing, else the error number.
- (void)probeDeviceOpenWithDevicePath:(NSString*)devicePath reply:(NTFSHelperErrnoReply)reply;
- (void)formattingAvailableWithReply:(NTFSHelperFlagReply)reply;
- (void)repairAuthorizationWithReply:(NTFSHelperVerdictReply)reply;
- (void)installFsPackageWithSourcePlistPath:(NSString*)sourcePlistPath
                                      reply:(NTFSHelperVerdictReply)reply;
- (void)deregisterFSKitModules:(NSArray<NSString*>*)moduleIdentifiers
                         reply:(NTFSHelperVerdictReply)reply;
- (void)prepareForUninstallWithReply:(NTFSHelperVerdictReply)reply;
- (void)removeLegacyInstallWithReply:(NTFSHelperVerdictReply)reply;
- (void)removeFsPackageWithReply:(NTFSHelperVerdictReply)reply;

@end

NS_ASSUME_NONNULL_END
