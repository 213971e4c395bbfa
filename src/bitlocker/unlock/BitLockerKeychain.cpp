#include "bitlocker/unlock/BitLockerKeychain.h"

#include <chrono>
#include <memory>
#include <utility>

#include "base/SecretJson.h"
#include "base/Text.h"
#include "base/either.h"
#include "base/runInBackground.h"

namespace halvercine::bitlocker {
namespace {

// The store ends a little earlier by itself.
constexpr auto limit = std::chrono::seconds(platform::SecretStore::limitSeconds + 5);

using Payload = BitLockerKeychain::Payload;

bool isComplete(const Payload& payload) {
  return !payload.method.empty() && !payload.credential.empty();
}

/// The form that items had before they were JSON.
std::optional<Payload> readLines(std::string_view value) {
  const auto end = value.find('\n');
  if (end == std::string_view::npos || !base::isUtf8(value)) return std::nullopt;
  Payload payload{std::string(value.substr(0, end)), base::Secret(value.substr(end + 1))};
  if (!isComplete(payload)) return std::nullopt;
  return payload;
}

}  // namespace

std::optional<Payload> BitLockerKeychain::read(std::string_view value) {
  auto payload = base::decodeSecretJson<Payload>(value);
  if (payload && isComplete(*payload)) return std::move(*payload);
  return readLines(value);
}

/// Whether the work was done, and in time.
template <class Work>
base::Task<bool> BitLockerKeychain::inBackground(Work work) {
  auto done = co_await base::withTimeout(clock_, limit, base::runInBackground(actor_, work));
  co_return done&&* done;
}

base::Task<void> BitLockerKeychain::save(std::string account, std::string method,
                                         base::Secret credential) {
  const Payload payload{std::move(method), std::move(credential)};
  // Shared: background work is copied on its way.
  const auto value = std::make_shared<const base::Secret>(base::encodeSecretJson(payload));
  const bool isReadable = read(value->reveal()) == payload;
  const auto work = [&store = store_, account, value, isReadable] {
    store.remove(std::string(service), account);
    return isReadable && store.add(std::string(service), account, value->reveal());
  };
  co_await inBackground(work);
}

base::Task<std::optional<Payload>> BitLockerKeychain::load(std::string account) {
  const auto payload = std::make_shared<std::optional<Payload>>();
  const auto work = [&store = store_, account, payload] {
    return store.copyMatching(std::string(service), account,
                              [&](std::string_view value) { *payload = read(value); });
  };
  const bool isLoaded = co_await inBackground(work);
  if (!isLoaded) co_return std::nullopt;
  co_return std::move(*payload);
}

base::Task<void> BitLockerKeychain::remove(std::string account) {
  const auto work = [&store = store_, account] {
    return store.remove(std::string(service), account);
  };
  co_await inBackground(work);
}

base::Task<void> BitLockerKeychain::removeAll() {
  const auto work = [&store = store_] { return store.removeAll(std::string(service)); };
  co_await inBackground(work);
}

}  // namespace halvercine::bitlocker
