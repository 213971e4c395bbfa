#include "platform/linux/SecretServiceStore.h"

#include <chrono>
#include <condition_variable>
#include <thread>

#include "platform/linux/SecretServiceLibrary.h"

namespace halvercine::platform::gnulinux {
namespace {

/// How items are told from those of other programs; the keyring shows the texts to the user.
const SecretSchema schema = {"com.halvercine.GenericPassword",
                             SECRET_SCHEMA_NONE,
                             {{"service", SECRET_SCHEMA_ATTRIBUTE_STRING},
                              {"account", SECRET_SCHEMA_ATTRIBUTE_STRING},
                              {nullptr, SECRET_SCHEMA_ATTRIBUTE_STRING}},
                             0,
                             nullptr,
                             nullptr,
                             nullptr,
                             nullptr,
                             nullptr,
                             nullptr,
                             nullptr};

}  // namespace

bool SecretServiceStore::Turns::take(std::chrono::steady_clock::time_point deadline) {
  std::unique_lock lock(mutex_);
  if (!released_.wait_until(lock, deadline, [this] { return !isTaken_; })) return false;
  isTaken_ = true;
  return true;
}

void SecretServiceStore::Turns::release() {
  {
    const std::lock_guard lock(mutex_);
    isTaken_ = false;
  }
  released_.notify_one();
}

/// Has its turn, if that comes in time, while it lives.
class SecretServiceStore::Turn {
 public:
  Turn(Turns& turns, std::chrono::steady_clock::time_point deadline)
      : turns_(turns), hasCome_(turns.take(deadline)) {}
  ~Turn() {
    if (hasCome_) turns_.release();
  }
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;

  bool hasCome() const { return hasCome_; }

 private:
  Turns& turns_;
  const bool hasCome_;
};

/// One exchange with the service: alone, and cancelled when it takes too long.
class SecretServiceStore::Call {
 public:
  Call(Turns& turns, std::chrono::milliseconds limit)
      : deadline_(std::chrono::steady_clock::now() + limit),
        turn_(turns, deadline_),
        library_(turn_.hasCome() ? SecretServiceLibrary::get() : nullptr) {
    if (!library_) return;
    cancellable_ = library_->makeCancellable();
    watchdog_ = std::jthread([this](const std::stop_token& stop) { watch(stop); });
    service_ = library_->getService(SECRET_SERVICE_OPEN_SESSION, cancellable_, &error_);
    if (!service_) return;
    // The end of the session is no reason to end this program.
    library_->setExitOnClose(library_->connectionOf(reinterpret_cast<GDBusProxy*>(service_)),
                             FALSE);
  }
  ~Call() {
    if (!library_) return;
    if (error_) library_->freeError(error_);
    if (service_) library_->releaseObject(service_);
    // The next call finds a service that was started anew meanwhile.
    library_->disconnect();
    watchdog_.request_stop();
    watchdog_.join();
    library_->releaseObject(cancellable_);
  }
  Call(const Call&) = delete;
  Call& operator=(const Call&) = delete;

  bool reachesService() const { return service_ != nullptr; }

  /// Whether there is none. A service that keeps silent, for us or for the bus, is there.
  bool findsNoService() const {
    if (!turn_.hasCome() || service_) return false;
    return !library_ || !(isError(library_->ioErrors(), G_IO_ERROR_CANCELLED) ||
                          isError(library_->ioErrors(), G_IO_ERROR_TIMED_OUT) ||
                          isError(library_->busErrors(), G_DBUS_ERROR_NO_REPLY) ||
                          isError(library_->busErrors(), G_DBUS_ERROR_TIMEOUT) ||
                          isError(library_->busErrors(), G_DBUS_ERROR_TIMED_OUT));
  }

  bool store(GHashTable* attributes, const std::string& label, std::string_view value) {
    // The library keeps values in memory that is locked and wiped.
    auto* const copy = library_->makeValue(value.data(), static_cast<gssize>(value.size()),
                                           "application/octet-stream");
    const bool isStored = library_->store(service_, &schema, attributes, SECRET_COLLECTION_DEFAULT,
                                          label.c_str(), copy, cancellable_, &error_) == TRUE;
    library_->releaseValue(copy);
    return isStored;
  }

  /// The value of an item that is found goes to `take`; without one, whether it can be read does
  /// not matter.
  Lookup search(GHashTable* attributes, const std::function<void(std::string_view)>& take) {
    const auto flags = take ? SECRET_SEARCH_LOAD_SECRETS : SECRET_SEARCH_NONE;
    auto* const items =
        library_->search(service_, &schema, attributes, flags, cancellable_, &error_);
    auto result = items || error_ ? Lookup::unreadable : Lookup::absent;
    for (auto* item = items; item; item = item->next) {
      const bool isFound =
          result == Lookup::found || !take || handOver(static_cast<SecretItem*>(item->data), take);
      if (isFound) result = Lookup::found;
      library_->releaseObject(item->data);
    }
    library_->freeList(items);
    return result;
  }

  /// The items of a locked keyring count as none, so the user is asked to unlock it, if there are
  /// any in it.
  bool clear(GHashTable* attributes) {
    constexpr auto flags = static_cast<SecretSearchFlags>(SECRET_SEARCH_ALL | SECRET_SEARCH_UNLOCK);
    auto* const items =
        library_->search(service_, &schema, attributes, flags, cancellable_, &error_);
    for (auto* item = items; item; item = item->next) library_->releaseObject(item->data);
    library_->freeList(items);
    if (!items) return false;
    return library_->clear(service_, &schema, attributes, cancellable_, &error_) == TRUE;
  }

  const SecretServiceLibrary& libsecret() const { return *library_; }

 private:
  bool isError(GQuark domain, int code) const {
    return error_ && library_->errorMatches(error_, domain, code) == TRUE;
  }

  bool handOver(SecretItem* item, const std::function<void(std::string_view)>& take) const {
    auto* const value = library_->itemSecret(item);
    if (!value) return false;
    gsize size = 0;
    const char* const bytes = library_->valueBytes(value, &size);
    take({bytes, size});
    library_->releaseValue(value);
    return true;
  }

  void watch(const std::stop_token& stop) {
    std::mutex mutex;
    std::unique_lock lock(mutex);
    std::condition_variable_any ended;
    if (!ended.wait_until(lock, stop, deadline_, [] { return false; }) && !stop.stop_requested()) {
      library_->cancel(cancellable_);
    }
  }

  const std::chrono::steady_clock::time_point deadline_;
  Turn turn_;
  const SecretServiceLibrary* library_;
  GCancellable* cancellable_ = nullptr;
  GError* error_ = nullptr;
  SecretService* service_ = nullptr;
  std::jthread watchdog_;
};

namespace {

/// The attributes that an item is found by. The texts outlive them.
class Attributes {
 public:
  Attributes(const SecretServiceLibrary& library, const std::string& service,
             const std::string* account)
      : library_(library), table_(library.makeTable(library.hashText, library.equalTexts)) {
    add("service", service);
    if (account) add("account", *account);
  }
  ~Attributes() { library_.releaseTable(table_); }
  Attributes(const Attributes&) = delete;
  Attributes& operator=(const Attributes&) = delete;

  GHashTable* get() const { return table_; }

 private:
  void add(const char* name, const std::string& value) {
    library_.insert(table_, const_cast<char*>(name), const_cast<char*>(value.c_str()));
  }

  const SecretServiceLibrary& library_;
  GHashTable* table_;
};

}  // namespace

SecretServiceStore::SecretServiceStore(std::chrono::milliseconds limit) : limit_(limit) {}
SecretServiceStore::~SecretServiceStore() = default;

bool SecretServiceStore::add(const std::string& service, const std::string& account,
                             std::string_view value) {
  return addIfThere(service, account, value).value_or(false);
}

std::optional<bool> SecretServiceStore::addIfThere(const std::string& service,
                                                   const std::string& account,
                                                   std::string_view value) {
  Call call(turns_, limit_);
  if (call.findsNoService()) return std::nullopt;
  if (!call.reachesService()) return false;
  const Attributes attributes(call.libsecret(), service, &account);
  if (call.search(attributes.get(), nullptr) != Lookup::absent) return false;
  return call.store(attributes.get(), service + " " + account, value);
}

SecretStore::Lookup SecretServiceStore::copyMatching(
    const std::string& service, const std::string& account,
    const std::function<void(std::string_view value)>& take) {
  Call call(turns_, limit_);
  if (call.findsNoService()) return Lookup::absent;
  if (!call.reachesService()) return Lookup::unreadable;
  const Attributes attributes(call.libsecret(), service, &account);
  return call.search(attributes.get(), take);
}

bool SecretServiceStore::remove(const std::string& service, const std::string& account) {
  return clear(service, account);
}

bool SecretServiceStore::removeAll(const std::string& service) { return clear(service, {}); }

bool SecretServiceStore::clear(const std::string& service,
                               const std::optional<std::string>& account) {
  Call call(turns_, limit_);
  if (!call.reachesService()) return false;
  const Attributes attributes(call.libsecret(), service, account ? &*account : nullptr);
  return call.clear(attributes.get());
}

}  // namespace halvercine::platform::gnulinux
