// What the keychain may hold for a volume: today's items and older ones. Whatever is read must be
// written and read again unchanged.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "base/SecretJson.h"
#include "bitlocker/unlock/BitLockerKeychain.h"
#include "require.h"

using namespace halvercine;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view value(reinterpret_cast<const char*>(data), size);
  const auto payload = bitlocker::BitLockerKeychain::read(value);
  if (!payload) return 0;
  fuzz::require(!payload->method.empty() && !payload->credential.empty(), "something is missing");
  const auto written = base::encodeSecretJson(*payload);
  fuzz::require(bitlocker::BitLockerKeychain::read(written.reveal()) == payload,
                "it is read as something else");
  return 0;
}
