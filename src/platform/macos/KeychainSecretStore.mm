#include "platform/macos/KeychainSecretStore.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <optional>

#import <Foundation/Foundation.h>
#include <Security/Security.h>
#include <dispatch/dispatch.h>

#include "base/Secret.h"
#include "platform/macos/ScopedCF.h"

namespace halvercine::platform::macos {
namespace {

NSString* stringOf(const std::string& text) {
  return [[NSString alloc] initWithBytes:text.data()
                                  length:text.size()
                                encoding:NSUTF8StringEncoding];
}

/// What items are found by: the service alone without an account. Nil for texts that are not UTF-8.
NSMutableDictionary* queryOf(const std::string& service, const std::string* account) {
  NSString* const serviceName = stringOf(service);
  NSString* const accountName = account == nullptr ? nil : stringOf(*account);
  if (serviceName == nil || (account != nullptr && accountName == nil)) return nil;
  NSMutableDictionary* const query = [NSMutableDictionary dictionary];
  query[(__bridge id)kSecClass] = (__bridge id)kSecClassGenericPassword;
  query[(__bridge id)kSecAttrService] = serviceName;
  if (accountName != nil) query[(__bridge id)kSecAttrAccount] = accountName;
  return query;
}

/// A copy that is wiped when the last who holds it lets it go.
NSData* secretData(std::string_view value) {
  void* const copy = std::malloc(std::max<std::size_t>(value.size(), 1));
  if (copy == nullptr) return nil;
  std::memcpy(copy, value.data(), value.size());
  return [[NSData alloc] initWithBytesNoCopy:copy
                                      length:value.size()
                                 deallocator:^(void* bytes, NSUInteger length) {
                                   base::wipe(bytes, length);
                                   std::free(bytes);
                                 }];
}

/// An item that the user does not let us have is none.
bool isAbsent(OSStatus status) {
  return status == errSecItemNotFound || status == errSecUserCanceled || status == errSecAuthFailed;
}

}  // namespace

/// One exchange with the keychain, on a queue that nobody waits for longer than the limit. What is
/// found is kept until the one who waits has taken it, and wiped.
class KeychainSecretStore::Exchange : public std::enable_shared_from_this<Exchange> {
 public:
  using Call = OSStatus (^)(NSDictionary* query, CFTypeRef* result);

  /// Exchanges of a queue come one after the other: none overtakes one that waits for the user.
  explicit Exchange(dispatch_queue_t queue) : queue_(queue) {}
  Exchange(const Exchange&) = delete;
  Exchange& operator=(const Exchange&) = delete;
  ~Exchange() { dropValue(); }

  /// The call's answer; nothing when there was none in time.
  std::optional<OSStatus> run(NSDictionary* query, Call call) {
    const auto self = shared_from_this();
    dispatch_async(queue_, ^{
      @autoreleasepool {
        CFTypeRef result = nullptr;
        // What nobody hears of must not be done either.
        const OSStatus status = self->isGivenUp() ? errSecNotAvailable : call(query, &result);
        self->finish(status, ScopedCF<CFTypeRef>::adopt(result));
      }
    });
    constexpr std::int64_t limit = SecretStore::limitSeconds * std::int64_t{NSEC_PER_SEC};
    if (dispatch_semaphore_wait(finished_, dispatch_time(DISPATCH_TIME_NOW, limit)) == 0) {
      return status_;
    }
    const std::lock_guard lock(mutex_);
    isGivenUp_ = true;
    dropValue();
    return std::nullopt;
  }

  /// The answer of a call that was not waited for, once it has one.
  std::optional<OSStatus> lateAnswer() {
    const std::lock_guard lock(mutex_);
    return hasEnded_ ? std::optional(status_) : std::nullopt;
  }

  bool isGivenUp() {
    const std::lock_guard lock(mutex_);
    return isGivenUp_;
  }

  /// Hands over what a call that has succeeded in time has found; false when it is no data.
  bool hand(const std::function<void(std::string_view)>& take) {
    const std::lock_guard lock(mutex_);
    if (!value_ || CFGetTypeID(value_.get()) != CFDataGetTypeID()) return false;
    const auto data = static_cast<CFDataRef>(value_.get());
    take({reinterpret_cast<const char*>(CFDataGetBytePtr(data)),
          static_cast<std::size_t>(CFDataGetLength(data))});
    dropValue();
    return true;
  }

 private:
  void finish(OSStatus status, ScopedCF<CFTypeRef> value) {
    {
      const std::lock_guard lock(mutex_);
      status_ = status;
      value_ = std::move(value);
      hasEnded_ = true;
      if (isGivenUp_) dropValue();
    }
    dispatch_semaphore_signal(finished_);
  }

  /// The keychain has made the bytes for us, and nobody else has them.
  void dropValue() {
    if (value_ && CFGetTypeID(value_.get()) == CFDataGetTypeID()) {
      const auto data = static_cast<CFDataRef>(value_.get());
      base::wipe(const_cast<UInt8*>(CFDataGetBytePtr(data)),
                 static_cast<std::size_t>(CFDataGetLength(data)));
    }
    value_.reset();
  }

  const dispatch_queue_t queue_;
  std::mutex mutex_;
  OSStatus status_ = errSecSuccess;
  ScopedCF<CFTypeRef> value_;
  bool hasEnded_ = false;
  bool isGivenUp_ = false;
  const dispatch_semaphore_t finished_ = dispatch_semaphore_create(0);
};

KeychainSecretStore::KeychainSecretStore()
    : queue_(dispatch_queue_create_with_target(
          "com.halvercine.app.keychain", DISPATCH_QUEUE_SERIAL,
          dispatch_get_global_queue(QOS_CLASS_USER_INITIATED, 0))) {}

KeychainSecretStore::~KeychainSecretStore() = default;

bool KeychainSecretStore::deleteItems(const std::string& service, const std::string* account) {
  // The login keychain deletes one item at a call, other keychains all that match.
  constexpr int mostItems = 10'000;
  NSDictionary* const query = queryOf(service, account);
  if (query == nil) return false;
  const auto exchange = std::make_shared<Exchange>(queue_);
  const auto deleteAll = ^(NSDictionary* wanted, CFTypeRef*) {
    OSStatus first = errSecItemNotFound;
    for (int item = 0; item < mostItems && !exchange->isGivenUp(); ++item) {
      const OSStatus status = SecItemDelete((__bridge CFDictionaryRef)wanted);
      if (item == 0) first = status;
      if (status == errSecItemNotFound) break;
      if (status != errSecSuccess) return status;
    }
    return first;
  };
  return exchange->run(query, deleteAll) == errSecSuccess;
}

bool KeychainSecretStore::add(const std::string& service, const std::string& account,
                              std::string_view value) {
  @autoreleasepool {
    NSMutableDictionary* const item = queryOf(service, &account);
    if (item == nil) return false;
    NSData* const data = secretData(value);
    if (data == nil) return false;
    item[(__bridge id)kSecValueData] = data;
    item[(__bridge id)kSecAttrAccessible] = (__bridge id)kSecAttrAccessibleAfterFirstUnlock;
    const auto addItem = ^(NSDictionary* added, CFTypeRef*) {
      return SecItemAdd((__bridge CFDictionaryRef)added, nullptr);
    };
    return std::make_shared<Exchange>(queue_)->run(item, addItem) == errSecSuccess;
  }
}

/// What a question for the item has come to that was put earlier, and perhaps still is before the
/// user: a second one would be put beside it, and what the user has refused is not asked for again.
std::optional<SecretStore::Lookup> KeychainSecretStore::earlierAnswer(const Item& item) {
  const std::lock_guard lock(mutex_);
  const auto asked = unanswered_.find(item);
  if (asked == unanswered_.end()) return std::nullopt;
  const auto answer = asked->second->lateAnswer();
  if (!answer) return Lookup::unreadable;
  unanswered_.erase(asked);
  return isAbsent(*answer) ? std::optional(Lookup::absent) : std::nullopt;
}

SecretStore::Lookup KeychainSecretStore::copyMatching(
    const std::string& service, const std::string& account,
    const std::function<void(std::string_view value)>& take) {
  @autoreleasepool {
    NSMutableDictionary* const query = queryOf(service, &account);
    if (query == nil) return Lookup::absent;
    query[(__bridge id)kSecReturnData] = @YES;
    query[(__bridge id)kSecMatchLimit] = (__bridge id)kSecMatchLimitOne;
    const std::pair item(service, account);
    if (const auto answer = earlierAnswer(item)) return *answer;
    const auto exchange = std::make_shared<Exchange>(queue_);
    const auto copy = ^(NSDictionary* wanted, CFTypeRef* result) {
      return SecItemCopyMatching((__bridge CFDictionaryRef)wanted, result);
    };
    const auto status = exchange->run(query, copy);
    if (!status) {
      const std::lock_guard lock(mutex_);
      unanswered_[item] = exchange;
      return Lookup::unreadable;
    }
    if (*status == errSecSuccess) return exchange->hand(take) ? Lookup::found : Lookup::absent;
    return isAbsent(*status) ? Lookup::absent : Lookup::unreadable;
  }
}

bool KeychainSecretStore::remove(const std::string& service, const std::string& account) {
  @autoreleasepool {
    return deleteItems(service, &account);
  }
}

bool KeychainSecretStore::removeAll(const std::string& service) {
  @autoreleasepool {
    return deleteItems(service, nullptr);
  }
}

}  // namespace halvercine::platform::macos
