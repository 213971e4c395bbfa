#include "bitlocker/unlock/BitLockerKeychain.h"

#include <chrono>
#include <exception>
#include <memory>
#include <utility>

#include "base/SecretJson.h"
#include "base/Text.h"
#include "base/either.h"
#include "base/runInBackground.h"

namespace halvercine::bitlocker {
namespace {

// For two calls of the store, which end a little earlier by themselves.
constexpr auto limit = std::chrono::seconds(2 * platform::SecretStore::limitSeconds + 5);

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

/// What comes of the work; `failure` when it throws, or is not done in time.
template <class Work, class Result>
base::Task<Result> BitLockerKeychain::inBackground(Work work, Result failure) {
  const auto guarded = [work = std::move(work), failure] {
    try {
      return work();
    } catch (const std::exception&) {
      return failure;
    }
  };
  auto result = co_await base::withTimeout(clock_, limit, base::runInBackground(actor_, guarded));
  co_return result.value_or(failure);
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
  co_await inBackground(work, false);
}

base::Task<std::expected<Payload, BitLockerKeychain::Missing>> BitLockerKeychain::load(
    std::string account) {
  using Lookup = platform::SecretStore::Lookup;
  const auto payload = std::make_shared<std::optional<Payload>>();
  const auto work = [&store = store_, account, payload] {
    return store.copyMatching(std::string(service), account,
                              [&](std::string_view value) { *payload = read(value); });
  };
  const auto lookup = co_await inBackground(work, Lookup::unreadable);
  if (lookup == Lookup::unreadable) co_return std::unexpected(Missing::forNow);
  if (lookup == Lookup::absent || !*payload) co_return std::unexpected(Missing::forGood);
  co_return std::move(**payload);
}

base::Task<void> BitLockerKeychain::remove(std::string account) {
  const auto work = [&store = store_, account] {
    return store.remove(std::string(service), account);
  };
  co_await inBackground(work, false);
}

base::Task<void> BitLockerKeychain::removeAll() {
  const auto work = [&store = store_] { return store.removeAll(std::string(service)); };
  co_await inBackground(work, false);
}

}  // namespace halvercine::bitlocker
